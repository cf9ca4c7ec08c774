// One VRF's status state machine over records the test writes as the programming machinery
// would: class states, interface installed states and unsupported qualifiers in, rule statuses
// out. An independent model of the precedence (qualifier, then class, then family) judges
// random sequences.
#include <gtest/gtest.h>

#include <random>

#include "OrbFlowspec/status/FlowspecStatusSm.h"
#include "platform/cog/Assert.h"
#include "platform/cog/Errors.h"
#include "platform/trace/CaptureSink.h"

namespace {

using Flowspec::MatchCompType;
using PolicyMap::ClassMapMatchOption;
using PolicyMap::ClassState;
using PolicyMap::InstalledState;
using Status = Flowspec::HwRuleProgrammingStatus;

class VrfStatus : public ::testing::Test {
 protected:
  void SetUp() override {
    for (auto const* text : {"ipv4 dst 10.0.0.0/8 dport =80", "ipv4 proto =6", "ipv6 dport =443"}) {
      Flowspec::FlowspecKey key;
      key.copyInStringValue(text);
      auto const rule = vrfRuleConfig->ruleIs(key);
      if (key.af() == Nwk::AddressFamily::ipv4 && key.destinationPrefix().isEmpty()) {
        rule->matchSetIs(Flowspec::MatchComponent(MatchCompType::ipProtocol));
      } else {
        if (!key.destinationPrefix().isEmpty()) {
          rule->matchSetIs(Flowspec::MatchComponent(MatchCompType::destinationPrefix));
        }
        rule->matchSetIs(Flowspec::MatchComponent(MatchCompType::destinationPort));
      }
      vrfRuleStatus->ruleStatusIs(key);
      keys.push_back(key);
    }
    sm = OrbFlowspec::flowspecVrfStatusSmFactory(pmapStatus, vrfRuleStatus, vrfRuleConfig, status,
                                                 scheduler);
  }

  std::string state(std::size_t rule) {
    scheduler->runUntilIdle();
    auto const ruleStatus = vrfRuleStatus->ruleStatus(keys[rule]);
    return std::to_string(static_cast<unsigned>(ruleStatus->statusCode())) + " " +
           ruleStatus->errorReason();
  }
  void classStateIs(std::size_t rule, ClassState state) {
    pmapStatus->cmapIs(keys[rule].stringValue())->classStateIs(state);
  }
  void installedIs(std::string const& intf, ClassMapMatchOption option, InstalledState state) {
    pmapStatus->intfStatusIs(Nwk::IntfId(intf))
        ->installedIs(option, PolicyMap::InstalledStatus{state, "bank full"});
  }
  void unsupportedIs(Nwk::AddressFamily af, std::vector<MatchCompType> const& types) {
    Flowspec::UnsupportedQual qual;
    for (auto const type : types) {
      qual.qualIs(type, "q");
    }
    if (qual.empty()) {
      status->unsupportedQualDel(af);
    } else {
      status->unsupportedQualIs(af, qual);
    }
  }

  Cog::Ptr<Kiln::TaskScheduler> scheduler = Kiln::simulatedTaskSchedulerFactory();
  Cog::Ptr<PolicyMap::PolicyMapStatus> pmapStatus = Cog::make<PolicyMap::PolicyMapStatus>("red");
  Cog::Ptr<Flowspec::VrfRuleStatus> vrfRuleStatus = Cog::make<Flowspec::VrfRuleStatus>(5);
  Cog::Ptr<Flowspec::VrfRuleConfig> vrfRuleConfig = Cog::make<Flowspec::VrfRuleConfig>(5);
  Cog::Ptr<Flowspec::Status> status = Cog::make<Flowspec::Status>();
  std::vector<Flowspec::FlowspecKey> keys;
  Cog::Ptr<OrbFlowspec::FlowspecVrfStatusSm> sm;
};

TEST_F(VrfStatus, ClassStateFirstThenTheFamilyAggregate) {
  EXPECT_EQ(state(0), "0 not installed");
  installedIs("Ethernet1", ClassMapMatchOption::matchIpAccessGroup, InstalledState::installed);
  EXPECT_EQ(state(0), "1 ");               // no class-map: every IPv4 interface succeeded
  EXPECT_EQ(state(2), "0 not installed");  // IPv6 has no interface record
  installedIs("Ethernet2", ClassMapMatchOption::matchIpAccessGroup, InstalledState::failed);
  EXPECT_EQ(state(0), "2 partially installed");
  classStateIs(0, ClassState::classStateFailed);
  EXPECT_EQ(state(0), "6 failed");
  classStateIs(0, ClassState::classStatePartial);
  EXPECT_EQ(state(0), "2 partially installed");
  classStateIs(0, ClassState::classStatePending);  // pending says nothing: the family speaks
  EXPECT_EQ(state(0), "2 partially installed");
  installedIs("Ethernet1", ClassMapMatchOption::matchIpAccessGroup, InstalledState::failed);
  EXPECT_EQ(state(0), "6 failed");
  // The last interfaces go: back to nothing.
  pmapStatus->intfStatusDel(Nwk::IntfId("Ethernet1"));
  pmapStatus->intfStatusDel(Nwk::IntfId("Ethernet2"));
  EXPECT_EQ(state(0), "0 not installed");
  EXPECT_TRUE(sm->intfInstalled().empty());
  EXPECT_TRUE(vrfRuleStatus->intfError().empty());
  EXPECT_TRUE(vrfRuleStatus->activeIntfPerAf().empty());
  // A class-map that goes re-evaluates its rule.
  classStateIs(1, ClassState::classStateInstalled);
  EXPECT_EQ(state(1), "1 ");
  pmapStatus->cmapDel(keys[1].stringValue());
  EXPECT_EQ(state(1), "0 not installed");
}

TEST_F(VrfStatus, UnsupportedMatchIsNeverOverwritten) {
  auto const ruleStatus = vrfRuleStatus->ruleStatusIs(keys[0]);
  ruleStatus->statusCodeIs(Status::hwStatusUnsupportedMatch);
  ruleStatus->errorReasonIs("unsupported match - port");
  classStateIs(0, ClassState::classStateInstalled);
  unsupportedIs(Nwk::AddressFamily::ipv4, {MatchCompType::destinationPort});
  EXPECT_EQ(state(0), "3 unsupported match - port");
}

TEST_F(VrfStatus, InterfaceRecordsMirrorTheInstalledStates) {
  installedIs("Ethernet1", ClassMapMatchOption::matchIpAccessGroup, InstalledState::failed);
  installedIs("Ethernet1", ClassMapMatchOption::matchIpv6AccessGroup, InstalledState::installed);
  scheduler->runUntilIdle();
  Flowspec::IntfErrorKey const v4(Nwk::IntfId("Ethernet1"), Nwk::AddressFamily::ipv4);
  EXPECT_EQ(vrfRuleStatus->intfError(v4), "bank full");
  EXPECT_FALSE(vrfRuleStatus->activeIntfPerAf(Nwk::AddressFamily::ipv4));
  EXPECT_TRUE(
      vrfRuleStatus->activeIntfPerAf(Nwk::AddressFamily::ipv6)->intf(Nwk::IntfId("Ethernet1")));
  installedIs("Ethernet1", ClassMapMatchOption::matchIpAccessGroup, InstalledState::installed);
  EXPECT_FALSE(vrfRuleStatus->intfError().contains(v4));
  EXPECT_TRUE(
      vrfRuleStatus->activeIntfPerAf(Nwk::AddressFamily::ipv4)->intf(Nwk::IntfId("Ethernet1")));
  EXPECT_EQ(state(0), "1 ");

  Trace::ScopedTextLevel level("FlowspecVrfStatusSmIntf", 2);
  Trace::ScopedCapture capture;
  pmapStatus->intfStatusIs(Nwk::IntfId("Ethernet1"))
      ->installedIs(static_cast<ClassMapMatchOption>(7), {InstalledState::failed, "x"});
  EXPECT_TRUE(capture->contains("Unexpected match option 7 for Ethernet1"));
  EXPECT_EQ(vrfRuleStatus->intfError().size(), 0u);

  // The state machine's clean-up takes its interface records away, rule statuses stay.
  sm->doCleanup();
  EXPECT_TRUE(vrfRuleStatus->activeIntfPerAf().empty());
  EXPECT_EQ(vrfRuleStatus->ruleStatus().size(), 3u);
}

TEST_F(VrfStatus, BurstOfChangesEvaluatesEachRuleOnce) {
  scheduler->runUntilIdle();
  Trace::ScopedTextLevel level("FlowspecVrfStatusSm", 7);
  Trace::ScopedCapture capture;
  for (auto const state : {ClassState::classStatePending, ClassState::classStateInstalled,
                           ClassState::classStatePartial, ClassState::classStateInstalled}) {
    classStateIs(0, state);
  }
  installedIs("Ethernet1", ClassMapMatchOption::matchIpAccessGroup, InstalledState::installed);
  EXPECT_EQ(state(0), "1 ");
  int evaluations = 0;
  for (auto const& message : capture->messages("FlowspecVrfStatusSm")) {
    evaluations += message.rfind(keys[0].stringValue() + ", statusCode: ", 0) == 0;
  }
  EXPECT_EQ(evaluations, 1);
}

TEST(VrfStatusClassStates, UnexpectedClassStatesAreAssertions) {
  try {
    OrbFlowspec::FlowspecVrfStatusSm::ruleStatusFor(ClassState::classStateRemoved);
    FAIL() << "no assertion";
  } catch (Cog::AssertionError const& error) {
    EXPECT_STREQ(error.what(), "false && \"unexpected state\"");
  }
  EXPECT_THROW(OrbFlowspec::FlowspecVrfStatusSm::ruleStatusFor(static_cast<ClassState>(9)),
               Cog::AssertionError);
}

// Random class states, interface states and unsupported qualifiers against a model of the
// precedence written from the rules, not from the code.
TEST_F(VrfStatus, RandomSequencesAgreeWithTheModel) {
  std::mt19937 rng(7);
  std::vector<std::string> const intfs = {"Ethernet1", "Ethernet2"};
  for (int step = 0; step < 400; ++step) {
    switch (rng() % 5) {
      case 0:
        classStateIs(rng() % 3, static_cast<ClassState>(rng() % 5));
        break;
      case 4: {
        // A class-map that appears while its rule has no status.
        std::size_t const rule = rng() % 3;
        vrfRuleStatus->ruleStatusDel(keys[rule]);
        pmapStatus->cmapDel(keys[rule].stringValue());
        classStateIs(rule, static_cast<ClassState>(rng() % 5));
        vrfRuleStatus->ruleStatusIs(keys[rule]);
        break;
      }
      case 1:
        pmapStatus->cmapDel(keys[rng() % 3].stringValue());
        break;
      case 2:
        installedIs(intfs[rng() % 2], static_cast<ClassMapMatchOption>(rng() % 2),
                    static_cast<InstalledState>(rng() % 3));
        break;
      default:
        unsupportedIs(rng() % 2 ? Nwk::AddressFamily::ipv4 : Nwk::AddressFamily::ipv6,
                      rng() % 2 ? std::vector<MatchCompType>{}
                                : std::vector<MatchCompType>{MatchCompType::destinationPort});
    }
    if (rng() % 3) {
      continue;
    }
    scheduler->runUntilIdle();
    for (std::size_t rule = 0; rule < keys.size(); ++rule) {
      auto const& key = keys[rule];
      std::string expected;
      if (status->unsupportedQual(key.af()).qual(MatchCompType::destinationPort) &&
          vrfRuleConfig->rule(key)->matchSet().contains(MatchCompType::destinationPort)) {
        expected = "4 unsupported qualifier - destination port";
      } else {
        unsigned code = 0;
        if (auto const cmap = pmapStatus->cmap(key.stringValue())) {
          unsigned const codes[] = {0, 0, 1, 2, 6};
          code = codes[static_cast<unsigned>(cmap->classState())];
        }
        if (code == 0) {
          int ok = 0;
          int failed = 0;
          auto const option = key.af() == Nwk::AddressFamily::ipv4
                                  ? ClassMapMatchOption::matchIpAccessGroup
                                  : ClassMapMatchOption::matchIpv6AccessGroup;
          for (auto const& [intf, record] : pmapStatus->intfStatus()) {
            auto const* installed = record->installed().find(option);
            ok += installed && installed->state == InstalledState::installed;
            failed += installed && installed->state == InstalledState::failed;
          }
          code = ok + failed == 0 ? 0 : failed == 0 ? 1 : ok == 0 ? 6 : 2;
        }
        char const* const texts[] = {"not installed", "", "partially installed", "", "", "",
                                     "failed"};
        expected = std::to_string(code) + " " + texts[code];
      }
      ASSERT_EQ(state(rule), expected) << "step " << step << " rule " << key;
    }
  }
}

}  // namespace

namespace {

// The status root over records: a child exactly while name, policy status, rule status and
// rules all exist for a VRF id.
TEST(StatusRoot, ChildFollowsAllFourInputs) {
  auto const scheduler = Kiln::simulatedTaskSchedulerFactory();
  auto const pmapTypeStatus = Cog::make<PolicyMap::PolicyMapTypeStatus>("Flowspec");
  auto const status = Cog::make<Flowspec::Status>();
  auto const vrfIds = Cog::make<Vrf::VrfIdMap::Status>();
  auto const config = Cog::make<Flowspec::Config>();
  config->vrfRuleConfigIs(5);
  status->vrfRuleStatusIs(5);
  auto const root =
      OrbFlowspec::flowspecStatusSmFactory(pmapTypeStatus, status, vrfIds, config, scheduler);
  auto const child = [&root] { return root->flowspecVrfStatusSm(5); };
  EXPECT_FALSE(child());
  vrfIds->vrfEntryIs(5, "red");
  EXPECT_FALSE(child());  // no policy status yet
  pmapTypeStatus->pmapStatusIs("red");
  ASSERT_TRUE(child());
  EXPECT_EQ(child()->vrfName(), "red");

  Trace::ScopedTextLevel level("FlowspecStatusSm", 7);
  Trace::ScopedCapture capture;
  pmapTypeStatus->pmapStatusIs("orphan");  // no VRF of that name
  EXPECT_TRUE(capture->contains("Deleting FlowspecVrfStatusSm for 16777215"));
  EXPECT_TRUE(child());

  // Renamed: the child goes with the old name and comes back once the new policy status does.
  vrfIds->vrfEntryIs(5, "blue");
  EXPECT_FALSE(child());
  pmapTypeStatus->pmapStatusIs("blue");
  ASSERT_TRUE(child());
  EXPECT_EQ(child()->vrfName(), "blue");
  pmapTypeStatus->pmapStatusDel("red");  // the old policy's status goes late: no effect
  EXPECT_TRUE(child());

  vrfIds->vrfEntryDel(5);
  EXPECT_FALSE(child());
  vrfIds->vrfEntryIs(5, "blue");
  EXPECT_TRUE(child());
  config->vrfRuleConfigDel(5);
  EXPECT_FALSE(child());
  config->vrfRuleConfigIs(5);
  EXPECT_TRUE(child());
  status->vrfRuleStatusDel(5);
  EXPECT_FALSE(child());

  try {
    root->flowspecVrfStatusSmIs(pmapTypeStatus->pmapStatus("blue"), nullptr,
                                config->vrfRuleConfig(5), status, scheduler);
    FAIL() << "no error";
  } catch (Cog::NullArgumentError const& error) {
    EXPECT_STREQ(error.what(), "Null vrfRuleStatus not allowed");
  }
}

}  // namespace
