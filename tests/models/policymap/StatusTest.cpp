// The status side, the ACL data-plane status tree and the mounted inputs.
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "models/aclstatus/StatusDp.h"
#include "models/mounted/MountedInputs.h"
#include "models/policymap/PolicyMapGlobalData.h"
#include "models/policymap/PolicyMapTypeStatus.h"

namespace {

using PolicyMap::ClassMapMatchOption;

TEST(PolicyMapTypeStatus, PolicyLookupIsByExactName) {
  auto const typeStatus = Cog::make<PolicyMap::PolicyMapTypeStatus>("Flowspec");
  typeStatus->typeIs(PolicyMap::mapTypeFlowspec);
  auto const red = typeStatus->pmapStatusIs("red");
  EXPECT_EQ(red->name(), "red");
  EXPECT_EQ(typeStatus->pmapStatus("red"), red);
  EXPECT_EQ(typeStatus->pmapStatus("Red"), nullptr);
  EXPECT_EQ(typeStatus->pmapStatus("red "), nullptr);
  EXPECT_EQ(typeStatus->pmapStatus("re"), nullptr);
}

TEST(PolicyMapStatus, ClassAndInterfaceStatusAsWritten) {
  auto const status = Cog::make<PolicyMap::PolicyMapStatus>("red");
  status->versionIs(Kiln::UniqueId(1, 2));
  status->counterUpdateTimeIs(30.0);
  auto const cmap = status->cmapIs("c1");
  EXPECT_EQ(cmap->classState(), PolicyMap::ClassState::classStateUnknown);
  EXPECT_EQ(cmap->packetCount(), 0u);
  EXPECT_FALSE(cmap->version().valid());
  cmap->classStateIs(PolicyMap::ClassState::classStateInstalled);
  cmap->packetCountIs(18446744073709551615ull);
  cmap->versionIs(Kiln::UniqueId(1, 2));
  EXPECT_EQ(status->cmap("c1")->packetCount(), 18446744073709551615ull);

  auto const intf = status->intfStatusIs(Nwk::IntfId("Ethernet1"));
  intf->installedIs(ClassMapMatchOption::matchIpv6AccessGroup,
                    {PolicyMap::InstalledState::failed, "out of TCAM"});
  intf->installedIs(ClassMapMatchOption::matchIpAccessGroup,
                    {PolicyMap::InstalledState::installed, ""});
  EXPECT_EQ(intf->intfId(), Nwk::IntfId("Ethernet1"));
  EXPECT_EQ(intf->installed(ClassMapMatchOption::matchIpv6AccessGroup).errorText, "out of TCAM");
  ASSERT_TRUE(intf->installed().firstKey());
  EXPECT_EQ(*intf->installed().firstKey(), ClassMapMatchOption::matchIpAccessGroup);
}

TEST(AclStatusDp, QualifierNamesReachableFromFeatureDown) {
  auto const statusDp = Cog::make<Acl::StatusDp>("aclStatusDp");
  auto const flowspec = statusDp->featureUnsupportedComponentIs(Acl::aclFeatureFlowspec);
  for (char const* linecard : {"Linecard3", "Linecard4"}) {
    auto const v6 = flowspec->linecardIs(linecard)->aclTypeIs(Acl::aclTypeIpv6);
    v6->unsupportedComponentIs("c1")->qualifierIs("q1", "l4-src-port");
    v6->unsupportedComponentIs("c1")->qualifierIs("q2", "ip-length");
  }
  flowspec->linecardIs("Linecard4")
      ->aclTypeIs(Acl::aclTypeIpv6)
      ->unsupportedComponentIs("c2")
      ->qualifierIs("q1", "flow-label");

  std::set<std::string> names;
  auto const feature = statusDp->featureUnsupportedComponent(Acl::aclFeatureFlowspec);
  ASSERT_TRUE(feature);
  EXPECT_EQ(feature->feature(), Acl::aclFeatureFlowspec);
  for (auto const& [linecardName, linecard] : feature->linecard()) {
    EXPECT_EQ(linecard->name(), linecardName);
    EXPECT_FALSE(linecard->aclType(Acl::aclTypeIpv4));
    for (auto const& [componentName, component] :
         linecard->aclType(Acl::aclTypeIpv6)->unsupportedComponent()) {
      for (auto const& [key, qualifier] : component->qualifier()) {
        names.insert(qualifier);
      }
    }
  }
  EXPECT_EQ(names, (std::set<std::string>{"flow-label", "ip-length", "l4-src-port"}));
}

}  // namespace
