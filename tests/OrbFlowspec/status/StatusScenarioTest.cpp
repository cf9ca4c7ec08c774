// Whole-stack scenarios of status reporting under simulated time, over the hardware model:
// rules, interfaces, bank sizes and unsupported qualifiers in; rule statuses, installed and
// failed interfaces out.
#include <gtest/gtest.h>

#include "platform/cog/Errors.h"
#include "platform/trace/CaptureSink.h"
#include "tests/OrbFlowspec/support/StackHarness.h"

namespace {

using OrbFlowspecTest::StackHarness;
using Status = Flowspec::HwRuleProgrammingStatus;

Flowspec::FlowspecKey keyOf(std::string const& match) {
  Flowspec::FlowspecKey key;
  key.copyInStringValue(match);
  return key;
}

class StatusScenario : public ::testing::Test {
 protected:
  void SetUp() override {
    stack.hardware->lineCardIs("small", 1, 1, 8);
    stack.vrfIs(5, "red");
    stack.intfIs("Ethernet1", "red");
    stack.intfIs("Ethernet2", "red");
    stack.enabledIntfAllIs(true);
  }

  Cog::Ptr<Flowspec::RuleStatus const> rule(std::string const& match,
                                            Vrf::VrfIdMap::VrfId vrfId = 5) const {
    auto const vrf = stack.status->vrfRuleStatus(vrfId);
    return vrf ? vrf->ruleStatus(keyOf(match)) : nullptr;
  }
  // "<code> <reason>" of a rule, "absent" without a status.
  std::string state(std::string const& match, Vrf::VrfIdMap::VrfId vrfId = 5) const {
    auto const status = rule(match, vrfId);
    if (!status) {
      return "absent";
    }
    return std::to_string(static_cast<unsigned>(status->statusCode())) + " " +
           status->errorReason();
  }
  std::string active(Nwk::AddressFamily af, Vrf::VrfIdMap::VrfId vrfId = 5) const {
    auto const coll = stack.status->vrfRuleStatus(vrfId)->activeIntfPerAf(af);
    std::string out;
    if (coll) {
      for (auto const& intf : coll->intf()) {
        out += (out.empty() ? "" : " ") + intf.toStrep();
      }
    }
    return out;
  }
  std::string errors(Vrf::VrfIdMap::VrfId vrfId = 5) const {
    std::string out;
    for (auto const& [key, text] : stack.status->vrfRuleStatus(vrfId)->intfError()) {
      out += (out.empty() ? "" : "; ") + key.toStrep() + ": " + text;
    }
    return out;
  }
  // Places an interface of VRF red on the one-entry card.
  void smallIntfIs(std::string const& intf) {
    stack.hardware->intfIs(Nwk::IntfId(intf), "small");
    stack.intfIs(intf, "red");
  }

  StackHarness stack;
};

TEST_F(StatusScenario, RuleIsInstalledOnceEveryBoundInterfaceHasIt) {
  stack.start();
  stack.ruleIs(5, "ipv4 dport =80");
  stack.ruleIs(5, "ipv6 dport =443");
  stack.runUntilIdle();
  // Programming takes simulated time: nothing is installed before the hardware answers.
  EXPECT_EQ(state("ipv4 dport =80"), "0 not installed");
  stack.settle();
  EXPECT_EQ(state("ipv4 dport =80"), "1 ");
  EXPECT_EQ(state("ipv6 dport =443"), "1 ");
  EXPECT_EQ(active(Nwk::AddressFamily::ipv4), "Ethernet1 Ethernet2");
  EXPECT_EQ(active(Nwk::AddressFamily::ipv6), "Ethernet1 Ethernet2");
  EXPECT_EQ(errors(), "");
}

TEST_F(StatusScenario, FullBankGivesPartialOrFailedWithTheReason) {
  smallIntfIs("Ethernet3");
  stack.start();
  stack.ruleIs(5, "ipv4 dport =80");
  stack.ruleIs(5, "ipv4 dport =81");
  stack.settle();
  // The first class takes the small card's only entry; the second fits on the big card only.
  EXPECT_EQ(state("ipv4 dport =80"), "1 ");
  EXPECT_EQ(state("ipv4 dport =81"), "2 partially installed");
  EXPECT_EQ(active(Nwk::AddressFamily::ipv4), "Ethernet1 Ethernet2");
  EXPECT_NE(errors().find("Ethernet3,ipv4: "), std::string::npos) << errors();

  // With only the small card bound, the second class is installed nowhere.
  stack.intfDel("Ethernet1");
  stack.intfDel("Ethernet2");
  stack.settle();
  EXPECT_EQ(state("ipv4 dport =80"), "1 ");
  EXPECT_EQ(state("ipv4 dport =81"), "6 failed");
  EXPECT_EQ(active(Nwk::AddressFamily::ipv4), "");
}

TEST_F(StatusScenario, InterfacesFollowTheHardwareAsTheyFailRecoverAndGo) {
  smallIntfIs("Ethernet3");
  stack.start();
  stack.ruleIs(5, "ipv4 dport =80");
  stack.settle();
  EXPECT_EQ(active(Nwk::AddressFamily::ipv4), "Ethernet1 Ethernet2 Ethernet3");

  // A second rule overflows the small card: that interface fails, with the hardware's reason.
  stack.ruleIs(5, "ipv4 dport =81");
  stack.settle();
  EXPECT_EQ(active(Nwk::AddressFamily::ipv4), "Ethernet1 Ethernet2");
  std::string const failure = errors();
  EXPECT_EQ(failure.rfind("Ethernet3,ipv4: ", 0), 0u) << failure;
  EXPECT_GT(failure.size(), std::string("Ethernet3,ipv4: ").size());

  // The overflowing rule goes: the interface recovers, its error goes with it.
  stack.ruleDel(5, "ipv4 dport =81");
  stack.settle();
  EXPECT_EQ(active(Nwk::AddressFamily::ipv4), "Ethernet1 Ethernet2 Ethernet3");
  EXPECT_EQ(errors(), "");

  // Interfaces that go leave no trace; the last one empties the family.
  stack.intfDel("Ethernet3");
  stack.intfDel("Ethernet2");
  stack.settle();
  EXPECT_EQ(active(Nwk::AddressFamily::ipv4), "Ethernet1");
  stack.intfDel("Ethernet1");
  stack.settle();
  EXPECT_FALSE(stack.status->vrfRuleStatus(5)->activeIntfPerAf(Nwk::AddressFamily::ipv4));
  EXPECT_EQ(errors(), "");
}

TEST_F(StatusScenario, UnsupportedQualifierMarksTheLowestComponentOfItsFamilyOnly) {
  stack.start();
  stack.ruleIs(5, "ipv4 dst 10.0.0.0/8 dport =80");
  stack.ruleIs(5, "ipv4 proto =6");
  stack.ruleIs(5, "ipv6 dst 2001:db8::/32 dport =443");
  stack.settle();
  ASSERT_EQ(state("ipv4 dst 10.0.0.0/8 dport =80"), "1 ");

  stack.hardware->unsupportedQualifierIs(StackHarness::kLineCard, Acl::aclTypeIpv4,
                                         Pbr::qualL4DstPort);
  stack.settle();
  EXPECT_EQ(state("ipv4 dst 10.0.0.0/8 dport =80"), "4 unsupported qualifier - destination port");
  EXPECT_EQ(state("ipv4 proto =6"), "1 ");
  EXPECT_EQ(state("ipv6 dst 2001:db8::/32 dport =443"), "1 ");

  // A second, lower component is named instead.
  stack.hardware->unsupportedQualifierIs(StackHarness::kLineCard, Acl::aclTypeIpv4, Pbr::qualDstIp);
  stack.settle();
  EXPECT_EQ(state("ipv4 dst 10.0.0.0/8 dport =80"), "4 unsupported qualifier - destination prefix");

  // Supported again: the hardware's own state shows through once more.
  stack.hardware->unsupportedQualifierIs(StackHarness::kLineCard, Acl::aclTypeIpv4, Pbr::qualDstIp,
                                         false);
  stack.hardware->unsupportedQualifierIs(StackHarness::kLineCard, Acl::aclTypeIpv4,
                                         Pbr::qualL4DstPort, false);
  stack.ruleIs(5, "ipv4 dport =8080");  // a new version, programmed with every qualifier
  stack.settle();
  EXPECT_EQ(state("ipv4 dst 10.0.0.0/8 dport =80"), "1 ");
  EXPECT_TRUE(stack.status->unsupportedQual().empty());
}

TEST_F(StatusScenario, UnsupportedSourcePortCoversIcmp) {
  stack.start();
  stack.ruleIs(5, "ipv4 icmp-type =8");
  stack.ruleIs(5, "ipv4 proto =1 icmp-code =0");
  stack.settle();
  stack.hardware->unsupportedQualifierIs(StackHarness::kLineCard, Acl::aclTypeIpv4,
                                         Pbr::qualL4SrcPort);
  stack.settle();
  EXPECT_EQ(state("ipv4 icmp-type =8"), "4 unsupported qualifier - ICMP type");
  EXPECT_EQ(state("ipv4 proto =1 icmp-code =0"), "4 unsupported qualifier - ICMP code");
}

TEST_F(StatusScenario, RuleRefusedByTranslationKeepsItsStatus) {
  stack.start();
  std::string const huge = "ipv4 icmp-type >=0 icmp-code >=0 dscp >=0";
  stack.ruleIs(5, huge);
  stack.settle();
  std::string const refused = state(huge);
  EXPECT_EQ(refused.rfind("3 unsupported match - ", 0), 0u) << refused;
  // Nothing the status side hears overwrites it: interfaces, qualifiers, other rules.
  stack.hardware->unsupportedQualifierIs(StackHarness::kLineCard, Acl::aclTypeIpv4,
                                         Pbr::qualTrafficClass);
  stack.intfDel("Ethernet2");
  stack.ruleIs(5, "ipv4 dport =80");
  stack.settle();
  EXPECT_EQ(state(huge), refused);
}

TEST_F(StatusScenario, StatusMachinePerVrfNeedsNamePolicyStatusAndRules) {
  stack.start();
  stack.ruleIs(9, "ipv4 dport =80");
  stack.settle();
  auto const& statusSm = *stack.root->flowspecStatusSm();
  EXPECT_FALSE(statusSm.flowspecVrfStatusSm(9));  // no name, so no policy
  EXPECT_EQ(state("ipv4 dport =80", 9), "absent");

  stack.vrfIs(9, "green");
  stack.intfIs("Ethernet9", "green");
  stack.settle();
  ASSERT_TRUE(statusSm.flowspecVrfStatusSm(9));
  EXPECT_EQ(statusSm.flowspecVrfStatusSm(9)->vrfName(), "green");
  EXPECT_EQ(state("ipv4 dport =80", 9), "1 ");

  // The name goes: the child goes and takes its interface records with it.
  stack.vrfDel(9);
  stack.runUntilIdle();
  EXPECT_FALSE(statusSm.flowspecVrfStatusSm(9));
  auto const vrf = stack.status->vrfRuleStatus(9);
  ASSERT_TRUE(vrf);
  EXPECT_TRUE(vrf->activeIntfPerAf().empty());
  EXPECT_TRUE(vrf->intfError().empty());

  // The rules go: so does the rule status.
  stack.vrfIs(9, "green");
  stack.settle();
  ASSERT_TRUE(statusSm.flowspecVrfStatusSm(9));
  stack.ruleDel(9, "ipv4 dport =80");
  stack.settle();
  EXPECT_FALSE(statusSm.flowspecVrfStatusSm(9));
  EXPECT_FALSE(stack.status->vrfRuleStatus(9));
}

// Renaming a VRF moves its policy: the child is rebuilt under the new name without the
// framework's reinstantiation error (which a dispatch would trace at level 0).
TEST_F(StatusScenario, RenameBothWaysRebuildsTheStatusWithoutReinstantiation) {
  stack.intfIs("Ethernet3", "blue");
  stack.start();
  stack.ruleIs(5, "ipv4 dport =80");
  stack.ruleIs(5, "ipv6 dport =443");
  stack.settle();
  ASSERT_EQ(active(Nwk::AddressFamily::ipv4), "Ethernet1 Ethernet2");
  Trace::ScopedCapture capture;
  for (std::string const name : {"blue", "red", "blue"}) {
    SCOPED_TRACE(name);
    stack.vrfIs(5, name);
    stack.settle();
    auto const child = stack.root->flowspecStatusSm()->flowspecVrfStatusSm(5);
    ASSERT_TRUE(child);
    EXPECT_EQ(child->vrfName(), name);
    EXPECT_EQ(state("ipv4 dport =80"), "1 ");
    EXPECT_EQ(state("ipv6 dport =443"), "1 ");
    EXPECT_EQ(active(Nwk::AddressFamily::ipv4),
              name == "blue" ? "Ethernet3" : "Ethernet1 Ethernet2");
  }
  for (auto const& line : capture->lines()) {
    EXPECT_NE(line.level, 0) << line.handle << ": " << line.message;
  }
}

TEST_F(StatusScenario, RestartRebuildsTheSameStatus) {
  smallIntfIs("Ethernet3");
  stack.start();
  stack.ruleIs(5, "ipv4 dport =80");
  stack.ruleIs(5, "ipv4 dport =81");
  stack.hardware->unsupportedQualifierIs(StackHarness::kLineCard, Acl::aclTypeIpv6,
                                         Pbr::qualIpLength);
  stack.settle();
  std::string const before = stack.outputs();
  stack.stop();
  stack.start();
  stack.settle();
  EXPECT_EQ(stack.outputs(), before);
}

TEST_F(StatusScenario, RuleStatusTracesNameTheRuleAndItsOutcome) {
  Trace::ScopedTextLevel level("FlowspecVrfStatusSm", 7);
  Trace::ScopedTextLevel intfLevel("FlowspecVrfStatusSmIntf", 4);
  Trace::ScopedCapture capture;
  stack.start();
  stack.ruleIs(5, "ipv4 dport =80");
  stack.settle();
  EXPECT_TRUE(capture->contains("vrfName red ruleKey ipv4 dport =80"));
  EXPECT_TRUE(capture->contains("ipv4 dport =80, statusCode: 1, errorReason: "));
  EXPECT_TRUE(capture->contains("Recording active interface Ethernet1 for ipv4"));
  EXPECT_TRUE(capture->contains("Status code for all ipv4 rules is 1"));
  EXPECT_TRUE(capture->contains("Creating ClassMapStatusSm for ipv4 dport =80"));
}

}  // namespace
