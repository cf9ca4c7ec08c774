#include <gtest/gtest.h>

#include "OrbFlowspec/root/FlowspecSm.h"
#include "agent/MountedRecords.h"
#include "platform/kiln/TaskScheduler.h"

namespace {

class FlowspecSmTest : public ::testing::Test {
 protected:
  Cog::Ptr<OrbFlowspec::FlowspecSm> create() {
    return OrbFlowspec::flowspecSmFactory(records.mounts,
                                          Cog::make<PolicyMap::PolicyMapAclHelper>(), scheduler,
                                          scheduler->timerWheel(), records.ocsd);
  }

  Cog::Ptr<Kiln::TaskScheduler> scheduler = Kiln::simulatedTaskSchedulerFactory();
  Agent::MountedRecords records;
};

TEST_F(FlowspecSmTest, ConstructionBuildsTheFlowspecPolicyMapTree) {
  EXPECT_FALSE(records.status->flowspecSupported());
  auto const root = create();
  EXPECT_TRUE(root->initialized());
  EXPECT_TRUE(records.status->flowspecSupported());
  auto const pmapType = root->policyMapConfig()->pmapType("Flowspec");
  ASSERT_TRUE(pmapType);
  EXPECT_EQ(pmapType->mapType(), PolicyMap::mapTypeFlowspec);
  EXPECT_EQ(root->policyMapConfig()->cmapType("Flowspec")->type(), PolicyMap::mapTypeFlowspec);
  EXPECT_EQ(root->intfConfig()->type(), PolicyMap::mapTypeFlowspec);
  EXPECT_EQ(root->pbrStatus()->type(), PolicyMap::mapTypeFlowspec);
  EXPECT_EQ(root->pmapStatusReq()->name(), "Flowspec");
  EXPECT_EQ(root->policyMapConfig()->name(), "policyMapConfig");
}

TEST_F(FlowspecSmTest, DumpStartsAtTheIndent) {
  auto const root = create();
  Kiln::DumpContext flat;
  root->dumpState(&flat, 0);
  ASSERT_FALSE(flat.lines().empty());
  EXPECT_EQ(flat.lines()[0], "FlowspecSm");
  EXPECT_EQ(flat.lines()[1], "  PolicyMapConfig policyMapConfig");
  Kiln::DumpContext indented;
  root->dumpState(&indented, 4);
  EXPECT_EQ(indented.lines()[0], "    FlowspecSm");
}

}  // namespace
