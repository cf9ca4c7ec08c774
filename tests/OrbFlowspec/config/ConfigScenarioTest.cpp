// Whole-stack scenarios of the translation side under simulated time: VRFs, interfaces and
// rules in, policy-maps, class-maps, bindings and statuses out.
#include <gtest/gtest.h>

#include "OrbFlowspec/config/FlowspecConfigSm.h"
#include "platform/trace/CaptureSink.h"
#include "tests/OrbFlowspec/support/StackHarness.h"

namespace {

using Flowspec::ActionFieldSet;
using OrbFlowspecTest::StackHarness;

// Counts the policy-map versions that a VRF's policy switches to.
class RebuildCounter : public PolicyMap::PolicyMapConfig::Reactor {
 public:
  using PolicyMap::PolicyMapConfig::Reactor::Reactor;
  void handleCurrCfg() override {
    if (notifier()->currCfg()) {
      ++rebuilds;
    }
  }
  int rebuilds = 0;
};

class ConfigScenario : public ::testing::Test {
 protected:
  void SetUp() override {
    stack.vrfIs(5, "red");
    stack.intfIs("Ethernet1", "red");
    stack.intfIs("Ethernet2", "blue");
    stack.enabledIntfIs("Ethernet1", Flowspec::IpVersion::ipv4);
  }

  Cog::Ptr<PolicyMap::PolicyMapTypeConfig const> pmapType() const {
    return stack.root->policyMapConfig()->pmapType("Flowspec");
  }
  Cog::Ptr<PolicyMap::PolicyMapConfig const> policy(std::string const& name) const {
    return pmapType()->pmap(name);
  }
  Cog::Ptr<OrbFlowspec::FlowspecConfigSm const> configSm() const {
    return stack.root->flowspecConfigSm();
  }

  StackHarness stack;
};

TEST_F(ConfigScenario, VrfWithRulesButNoNameGetsStatusOnlyUntilNamed) {
  stack.start();
  stack.ruleIs(9, "ipv4 dport =80");
  stack.settle();
  EXPECT_TRUE(stack.status->vrfRuleStatus(9));
  EXPECT_FALSE(configSm()->flowspecVrfConfigSm("green"));
  EXPECT_TRUE(pmapType()->pmap().empty());

  stack.vrfIs(9, "green");
  stack.settle();
  ASSERT_TRUE(policy("green"));
  ASSERT_TRUE(policy("green")->currCfg());
  EXPECT_EQ(policy("green")->currCfg()->classPrio(1), "ipv4 dport =80");
}

TEST_F(ConfigScenario, RenameCleansUpUnderOldNameAndRebuildsUnderNew) {
  stack.start();
  stack.ruleIs(5, "ipv4 dport =80");
  stack.settle();
  ASSERT_TRUE(policy("red"));
  Trace::ScopedTextLevel level("FlowspecConfigSm", 9);
  Trace::ScopedCapture capture;
  stack.vrfIs(5, "blue");
  stack.settle();
  EXPECT_TRUE(capture->contains("Cleanup old VRF red"));
  EXPECT_FALSE(policy("red"));
  EXPECT_FALSE(pmapType()->pmapInput("red"));
  ASSERT_TRUE(policy("blue"));
  EXPECT_EQ(policy("blue")->currCfg()->classPrio().size(), 1u);
  EXPECT_EQ(configSm()->vrfIdToNameCache(5), "blue");
}

TEST_F(ConfigScenario, RemovingTheLastRuleRemovesStatusStateMachineAndPolicy) {
  stack.start();
  stack.ruleIs(5, "ipv4 dport =80");
  stack.settle();
  ASSERT_TRUE(configSm()->flowspecVrfConfigSm("red"));
  stack.ruleDel(5, "ipv4 dport =80");
  stack.settle();
  EXPECT_FALSE(stack.status->vrfRuleStatus(5));
  EXPECT_FALSE(configSm()->flowspecVrfConfigSm("red"));
  EXPECT_FALSE(policy("red"));
  EXPECT_FALSE(stack.root->policyMapConfig()->cmapType("Flowspec")->cmap("ipv4 dport =80"));
}

TEST_F(ConfigScenario, InterfacesAreBoundToTheirVrfPolicyWhenEnabled) {
  stack.start();
  stack.settle();
  auto const intfConfig = stack.root->intfConfig();
  EXPECT_EQ(intfConfig->intf(Nwk::IntfId("Ethernet1")), "red");
  EXPECT_FALSE(intfConfig->intf().contains(Nwk::IntfId("Ethernet2")));

  stack.enabledIntfAllIs(true);
  stack.settle();
  EXPECT_EQ(intfConfig->intf(Nwk::IntfId("Ethernet2")), "blue");

  stack.intfIs("Ethernet1", "blue");  // moved to another VRF
  stack.settle();
  EXPECT_EQ(intfConfig->intf(Nwk::IntfId("Ethernet1")), "blue");

  stack.enabledIntfAllIs(false);
  stack.enabledIntfIs("Ethernet1", Flowspec::IpVersion::none);  // counts as not listed
  stack.settle();
  EXPECT_TRUE(intfConfig->intf().empty());

  stack.enabledIntfIs("Ethernet1", Flowspec::IpVersion::ipv6);
  stack.intfDel("Ethernet1");
  stack.settle();
  EXPECT_TRUE(intfConfig->intf().empty());
}

TEST_F(ConfigScenario, BurstIsRebuiltOnceAfterQuietPeriod) {
  stack.start();
  stack.ruleIs(5, "ipv4 dport =1");
  stack.settle();
  RebuildCounter counter(policy("red"));
  for (int port = 100; port < 150; ++port) {
    stack.ruleIs(5, "ipv4 dport =" + std::to_string(port));
  }
  stack.runUntilIdle();
  EXPECT_EQ(counter.rebuilds, 0);
  stack.runFor(0.049);
  EXPECT_EQ(counter.rebuilds, 0);
  stack.runFor(0.002);
  EXPECT_EQ(counter.rebuilds, 1);
  EXPECT_EQ(policy("red")->currCfg()->classPrio().size(), 51u);
  stack.settle();
  EXPECT_EQ(counter.rebuilds, 1);
}

TEST_F(ConfigScenario, SteadyStreamIsRebuiltByTheStarvationTimer) {
  stack.start();
  stack.ruleIs(5, "ipv4 dport =1");
  stack.settle();
  RebuildCounter counter(policy("red"));
  // A change every 0.04 s keeps restarting the 0.05 s policy timer.
  for (int step = 0; step < 1490; ++step) {
    stack.ruleIs(5, "ipv4 dport =" + std::to_string(1000 + step));
    stack.runFor(0.04);
  }
  EXPECT_EQ(counter.rebuilds, 0);  // 59.6 s into the stream
  for (int step = 0; step < 20; ++step) {
    stack.ruleIs(5, "ipv4 sport =" + std::to_string(1000 + step));
    stack.runFor(0.04);
  }
  EXPECT_EQ(counter.rebuilds, 1);  // at 60 s after the first drain
}

TEST_F(ConfigScenario, VrfWithOnlyInfeasibleRulesGetsAnEmptyPolicy) {
  stack.start();
  Trace::ScopedTextLevel level("FlowspecVrfConfigSm", 6);
  Trace::ScopedCapture capture;
  stack.ruleIs(5, "ipv4 dport <0");
  stack.settle();
  ASSERT_TRUE(policy("red"));
  ASSERT_TRUE(policy("red")->currCfg());
  EXPECT_TRUE(policy("red")->currCfg()->classPrio().empty());
  EXPECT_TRUE(capture->contains("Assigned 0 class priorities"));
}

TEST_F(ConfigScenario, ClassPrioritiesStartPerFamily) {
  stack.start();
  stack.ruleIs(5, "ipv6 dport =80");
  stack.ruleIs(5, "ipv6 dport =81");
  stack.settle();
  auto const current = policy("red")->currCfg();
  EXPECT_EQ(current->classPrio(0x80000000u), "ipv6 dport =80");
  EXPECT_EQ(current->classPrio(0x80000001u), "ipv6 dport =81");
  stack.ruleIs(5, "ipv4 dport =80");
  stack.settle();
  EXPECT_EQ(policy("red")->currCfg()->classPrio(1), "ipv4 dport =80");
}

TEST_F(ConfigScenario, RedirectVrfCreatedAfterItsRule) {
  stack.start();
  Flowspec::TrafficRedirect redirect;
  redirect.vrfId = 7;
  stack.ruleIs(5, "ipv4 dport =80", 1, ActionFieldSet(ActionFieldSet::kRedirect), redirect);
  stack.settle();
  auto classAction = policy("red")->currCfg()->classAction("ipv4 dport =80");
  ASSERT_TRUE(classAction);
  EXPECT_EQ(classAction->policyActions(), 0u);

  Trace::ScopedTextLevel level("FlowspecRedirectVrfIds", 9);
  Trace::ScopedCapture capture;
  stack.vrfIs(7, "scrubbing");
  stack.settle();
  EXPECT_TRUE(capture->contains("Evaulate flowspec rules with redirectVrfId 7"));
  classAction = policy("red")->currCfg()->classAction("ipv4 dport =80");
  ASSERT_EQ(classAction->policyActions(), 1u);
  auto const action = classAction->policyAction(PolicyMap::ActionType::actionPbrForward);
  auto const forward = Cog::ptrDynamicCast<Pbr::PbrFwdAction const>(action);
  ASSERT_TRUE(forward);
  EXPECT_EQ(forward->vrfName().value(), "scrubbing");
  EXPECT_TRUE(forward->nexthop().contains(Nwk::IpGenAddr::zero(Nwk::AddressFamily::ipv4)));
}

TEST_F(ConfigScenario, ActionsFollowTheRule) {
  stack.start();
  Flowspec::Rule rule;
  Flowspec::FlowspecKey key;
  key.copyInStringValue("ipv4 proto =17");
  rule.key = Flowspec::FlowspecTidalKey(5, key);
  rule.actionFieldSet = ActionFieldSet(ActionFieldSet::kPermit | ActionFieldSet::kDeny |
                                       ActionFieldSet::kPolice | ActionFieldSet::kDscp);
  rule.trafficRateLimit = 1000.0f;
  rule.trafficMarkingDscp = Nwk::IpTos(63);
  stack.ruleIs(rule);
  stack.settle();
  auto classAction = policy("red")->currCfg()->classAction("ipv4 proto =17");
  ASSERT_EQ(classAction->policyActions(), 4u);
  auto const police = Cog::ptrDynamicCast<PolicyMap::PoliceAction const>(
      classAction->policyAction(PolicyMap::ActionType::actionPolice));
  ASSERT_TRUE(police);
  EXPECT_EQ(police->rate().rate, 8000u);
  EXPECT_EQ(police->rate().burst, 0u);

  // An unchanged rebuild attaches the same objects; a cleared police bit removes the police.
  auto const permit = classAction->policyAction(PolicyMap::ActionType::actionPermit);
  rule.actionFieldSet =
      ActionFieldSet(ActionFieldSet::kPermit | ActionFieldSet::kDeny | ActionFieldSet::kDscp);
  rule.trafficMarkingDscp = Nwk::IpTos(64);
  stack.ruleIs(rule);
  stack.settle();
  classAction = policy("red")->currCfg()->classAction("ipv4 proto =17");
  EXPECT_EQ(classAction->policyAction(PolicyMap::ActionType::actionPermit), permit);
  EXPECT_FALSE(classAction->policyAction(PolicyMap::ActionType::actionPolice));
  EXPECT_FALSE(classAction->policyAction(PolicyMap::ActionType::actionSetDscp));
  EXPECT_EQ(classAction->policyActions(), 2u);
}

TEST_F(ConfigScenario, RestartReconcilesStateLeftByAnEarlierInstance) {
  stack.start();
  stack.ruleIs(5, "ipv4 dport =80");
  stack.ruleIs(6, "ipv4 dport =81");
  stack.vrfIs(6, "green");
  stack.settle();
  stack.stop();
  // While no instance runs: one VRF loses its rules, and a rule status without a rule remains.
  stack.ruleDel(6, "ipv4 dport =81");
  Flowspec::FlowspecKey stale;
  stale.copyInStringValue("ipv4 dport =9999");
  stack.status->vrfRuleStatus(5)->ruleStatusIs(stale);
  stack.start();
  stack.settle();

  StackHarness fresh;
  fresh.vrfIs(5, "red");
  fresh.vrfIs(6, "green");
  fresh.intfIs("Ethernet1", "red");
  fresh.intfIs("Ethernet2", "blue");
  fresh.enabledIntfIs("Ethernet1", Flowspec::IpVersion::ipv4);
  fresh.ruleIs(5, "ipv4 dport =80");
  fresh.start();
  fresh.settle();
  EXPECT_EQ(stack.outputs(), fresh.outputs());
  EXPECT_FALSE(stack.status->vrfRuleStatus(6));
}

TEST_F(ConfigScenario, ConfigRootRestartDropsBindingsThatNoLongerApply) {
  stack.start();
  stack.settle();
  auto const intfConfig = stack.root->intfConfig();
  // Bindings an earlier configuration root left: an interface that is gone, one that is no
  // longer enabled, one that moved to another VRF, and one that is still right.
  stack.intfIs("Ethernet3", "red");
  stack.intfIs("Ethernet4", "red");
  stack.enabledIntfIs("Ethernet4", Flowspec::IpVersion::ipv4AndIpv6);
  stack.root->flowspecConfigSmDel();
  intfConfig->intfIs(Nwk::IntfId("Ethernet9"), "red");
  intfConfig->intfIs(Nwk::IntfId("Ethernet3"), "red");
  intfConfig->intfIs(Nwk::IntfId("Ethernet2"), "red");
  intfConfig->intfIs(Nwk::IntfId("Ethernet4"), "red");
  stack.intfIs("Ethernet4", "blue");

  auto const& mounts = *stack.records.mounts;
  stack.root->flowspecConfigSmIs({mounts.flowspecConfig(), mounts.l3StatusDir(),
                                  mounts.vrfIdStatus(), mounts.flowspecCliConfig(),
                                  stack.root->pbrStatus(), intfConfig,
                                  stack.root->policyMapConfig()->pmapType("Flowspec"),
                                  stack.root->policyMapConfig()->cmapType("Flowspec"),
                                  mounts.flowspecStatus(), stack.scheduler});
  stack.settle();
  EXPECT_EQ(intfConfig->intf().size(), 2u);
  EXPECT_EQ(intfConfig->intf(Nwk::IntfId("Ethernet1")), "red");
  EXPECT_EQ(intfConfig->intf(Nwk::IntfId("Ethernet4")), "blue");
}

TEST_F(ConfigScenario, ActionContainersFollowTheRulesAcrossRebuildsAndRestarts) {
  auto const containers = [&] {
    Kiln::DumpContext dump;
    configSm()->dumpState(&dump, 0);
    for (auto const& line : dump.lines()) {
      if (line.find("classActionContainers: #") != std::string::npos) {
        return line.substr(line.find('#') + 1);
      }
    }
    return std::string("none");
  };
  stack.start();
  stack.ruleIs(5, "ipv4 dport =80");
  stack.ruleIs(5, "ipv4 dport =81", 2, ActionFieldSet(ActionFieldSet::kDeny));
  stack.settle();
  EXPECT_EQ(containers(), "2");
  auto const deny = policy("red")
                        ->currCfg()
                        ->classAction("ipv4 dport =81")
                        ->policyAction(PolicyMap::ActionType::actionDeny);
  stack.ruleDel(5, "ipv4 dport =81");
  stack.settle();
  EXPECT_EQ(containers(), "1");

  stack.stop();
  stack.ruleIs(5, "ipv4 dport =81", 2, ActionFieldSet(ActionFieldSet::kDeny));
  stack.start();
  stack.settle();
  EXPECT_EQ(containers(), "2");
  EXPECT_EQ(policy("red")->subconfig().size(), 1u);
  auto const again = policy("red")
                         ->currCfg()
                         ->classAction("ipv4 dport =81")
                         ->policyAction(PolicyMap::ActionType::actionDeny);
  ASSERT_TRUE(again);
  EXPECT_NE(again, deny);
}

TEST_F(ConfigScenario, RedirectAddressChangeBuildsANewActionAndLeavesTheLiveOneAlone) {
  stack.vrfIs(7, "scrubbing");
  stack.start();
  Flowspec::TrafficRedirect redirect;
  redirect.vrfId = 7;
  redirect.address = *Nwk::IpGenAddr::parse("10.0.0.1");
  stack.ruleIs(5, "ipv4 dport =80", 1, ActionFieldSet(ActionFieldSet::kRedirect), redirect);
  stack.settle();
  auto const before = policy("red")->currCfg();
  auto const old = Cog::ptrDynamicCast<Pbr::PbrFwdAction const>(
      before->classAction("ipv4 dport =80")->policyAction(PolicyMap::ActionType::actionPbrForward));
  ASSERT_TRUE(old);

  redirect.address = *Nwk::IpGenAddr::parse("10.0.0.2");
  stack.ruleIs(5, "ipv4 dport =80", 1, ActionFieldSet(ActionFieldSet::kRedirect), redirect);
  stack.runUntilIdle();
  // Until the rebuild the version in use still forwards to the old next hop only.
  EXPECT_EQ(policy("red")->currCfg(), before);
  EXPECT_EQ(old->nexthop().size(), 1u);
  EXPECT_TRUE(old->nexthop().contains(*Nwk::IpGenAddr::parse("10.0.0.1")));
  stack.runFor(0.05);
  auto const now = Cog::ptrDynamicCast<Pbr::PbrFwdAction const>(
      policy("red")
          ->currCfg()
          ->classAction("ipv4 dport =80")
          ->policyAction(PolicyMap::ActionType::actionPbrForward));
  ASSERT_TRUE(now);
  EXPECT_NE(now->id(), old->id());
  EXPECT_EQ(now->nexthop().size(), 1u);
  EXPECT_TRUE(now->nexthop().contains(*Nwk::IpGenAddr::parse("10.0.0.2")));
  EXPECT_TRUE(old->nexthop().contains(*Nwk::IpGenAddr::parse("10.0.0.1")));
  EXPECT_EQ(old->nexthop().size(), 1u);
}

TEST_F(ConfigScenario, RateLimitReannouncedAsDropIsDroppedAfterTheDebounce) {
  stack.start();
  Flowspec::Rule rule;
  Flowspec::FlowspecKey key;
  key.copyInStringValue("ipv4 proto =17");
  rule.key = Flowspec::FlowspecTidalKey(5, key);
  rule.actionFieldSet = ActionFieldSet(ActionFieldSet::kPolice);
  rule.trafficRateLimit = 1000.0f;
  stack.ruleIs(rule);
  stack.settle();
  auto const police = [&] {
    auto const action = policy("red")
                            ->currCfg()
                            ->classAction("ipv4 proto =17")
                            ->policyAction(PolicyMap::ActionType::actionPolice);
    auto const p = Cog::ptrDynamicCast<PolicyMap::PoliceAction const>(action);
    return p ? p->rate().rate : 0u;
  };
  ASSERT_EQ(police(), 8000u);

  rule.trafficRateLimit = 0.0f;  // the routing process's "discard": rate 0
  stack.ruleIs(rule);
  stack.runFor(0.0499);
  EXPECT_EQ(police(), 8000u);
  stack.runFor(0.0001);
  EXPECT_EQ(police(), 0u);
}

TEST_F(ConfigScenario, RuleAboveTheEntryLimitIsRefusedAndTheOthersInstalled) {
  stack.start();
  stack.ruleIs(5, "ipv4 icmp-type >=0 icmp-code >=0 dscp >=0");
  stack.ruleIs(5, "ipv4 dport =80");
  stack.settle();
  EXPECT_TRUE(stack.root->policyMapConfig()->cmapType("Flowspec")->cmap("ipv4 dport =80"));
  Flowspec::FlowspecKey huge;
  huge.copyInStringValue("ipv4 icmp-type >=0 icmp-code >=0 dscp >=0");
  auto const status = stack.status->vrfRuleStatus(5)->ruleStatus(huge);
  ASSERT_TRUE(status);
  EXPECT_EQ(status->errorReason(), "unsupported match - too many ACL entries (4194304 > 4096)");
  EXPECT_EQ(policy("red")->currCfg()->classPrio().size(), 2u);

  stack.root->flowspecConfigSm()->aclEntryLimitIs(1);  // what is built stays
  stack.settle();
  EXPECT_TRUE(stack.root->policyMapConfig()->cmapType("Flowspec")->cmap("ipv4 dport =80"));
}

TEST_F(ConfigScenario, PerVrfStateMachineNeedsEveryInput) {
  stack.start();
  auto const& mounts = *stack.records.mounts;
  try {
    OrbFlowspec::flowspecVrfConfigSmFactory(
        "red", mounts.flowspecConfig()->vrfRuleConfigIs(9), nullptr,
        stack.root->policyMapConfig()->cmapType("Flowspec"),
        Cog::make<PolicyMap::PolicyMapConfig>("red", PolicyMap::mapTypeFlowspec),
        mounts.vrfIdStatus(), stack.scheduler);
    FAIL() << "made without its rule status";
  } catch (Cog::NullArgumentError const& error) {
    EXPECT_STREQ(error.what(), "Null vrfRuleStatus not allowed");
  }
}

TEST_F(ConfigScenario, VrfNamedAfterItsOnlyRuleWasFoundInfeasibleGetsAnEmptyPolicy) {
  stack.start();
  stack.ruleIs(8, "ipv4 dport <0");
  stack.settle();
  stack.vrfIs(8, "green");
  stack.settle();

  StackHarness fresh;
  fresh.vrfIs(5, "red");
  fresh.vrfIs(8, "green");
  fresh.intfIs("Ethernet1", "red");
  fresh.intfIs("Ethernet2", "blue");
  fresh.enabledIntfIs("Ethernet1", Flowspec::IpVersion::ipv4);
  fresh.ruleIs(8, "ipv4 dport <0");
  fresh.start();
  fresh.settle();
  EXPECT_EQ(stack.outputs(), fresh.outputs());
  ASSERT_TRUE(policy("green"));
  EXPECT_TRUE(policy("green")->currCfg());
}

}  // namespace
