// The counter update over the whole stack: a request is served once, after every flowspec
// policy has answered, with the packets the hardware counted.
#include <gtest/gtest.h>

#include <algorithm>

#include "OrbFlowspec/config/FlowspecConfigSm.h"
#include "platform/cog/Assert.h"
#include "platform/trace/CaptureSink.h"
#include "tests/OrbFlowspec/support/StackHarness.h"

namespace {

using OrbFlowspecTest::StackHarness;

class CounterUpdate : public ::testing::Test {
 protected:
  void SetUp() override {
    stack.vrfIs(5, "red");
    stack.vrfIs(6, "blue");
    stack.intfIs("Ethernet1", "red");
    stack.intfIs("Ethernet2", "blue");
    stack.enabledIntfAllIs(true);
  }

  // Sends `count` TCP packets to port `dport` in on `intf`.
  void inject(std::string const& intf, std::uint16_t dport, int count) {
    Pbr::Packet packet;
    packet.src = *Nwk::IpGenAddr::parse("192.0.2.1");
    packet.dst = *Nwk::IpGenAddr::parse("198.51.100.1");
    packet.dport = dport;
    for (int i = 0; i < count; ++i) {
      ASSERT_TRUE(stack.hardware->classify(Nwk::IntfId(intf), packet).matched);
    }
  }
  std::uint64_t packets(Vrf::VrfIdMap::VrfId vrfId, std::string const& match) const {
    Flowspec::FlowspecKey key;
    key.copyInStringValue(match);
    return stack.status->vrfRuleStatus(vrfId)->ruleStatus(key)->packetCount();
  }
  void request() { stack.cliConfig->counterUpdateRequestTimeIs(Cog::System::currentTime()); }
  long count(std::string const& message) const {
    auto const messages = capture->messages("FlowspecConfigSmCounters");
    return std::count(messages.begin(), messages.end(), message);
  }

  StackHarness stack;
  Trace::ScopedTextLevel level{"FlowspecConfigSmCounters", 4};
  Trace::ScopedCapture capture;
};

TEST_F(CounterUpdate, WithoutPoliciesTheRequestIsServedAtOnce) {
  stack.vrfDel(5);
  stack.vrfDel(6);
  stack.start();
  stack.runFor(3.0);
  capture.sink().clear();
  request();
  EXPECT_EQ(count("Counter update begins."), 1);
  EXPECT_EQ(count("Counter update complete."), 1);
  EXPECT_EQ(stack.status->counterUpdateTime(), stack.cliConfig->counterUpdateRequestTime());
}

TEST_F(CounterUpdate, ServedOnceAfterEveryPolicyAnsweredWithTheCountedPackets) {
  stack.start();
  stack.ruleIs(5, "ipv4 dport =80");
  stack.ruleIs(6, "ipv4 dport =80");
  stack.ruleIs(6, "ipv4 dport =22");
  stack.settle();
  inject("Ethernet1", 80, 3);
  inject("Ethernet2", 80, 5);
  inject("Ethernet2", 22, 1);
  capture.sink().clear();
  request();
  auto const& configSm = *stack.root->flowspecConfigSm();
  EXPECT_EQ(configSm.counterUpdatePendings(), 2u);
  EXPECT_EQ(count("Counter update begins."), 0);
  EXPECT_EQ(packets(5, "ipv4 dport =80"), 0u);  // nothing is written before both answered
  stack.settle();
  EXPECT_EQ(configSm.counterUpdatePendings(), 0u);
  EXPECT_EQ(count("Counter update begins."), 1);
  EXPECT_EQ(packets(5, "ipv4 dport =80"), 3u);
  EXPECT_EQ(packets(6, "ipv4 dport =80"), 5u);
  EXPECT_EQ(packets(6, "ipv4 dport =22"), 1u);
  EXPECT_GE(stack.status->counterUpdateTime(), stack.cliConfig->counterUpdateRequestTime());

  // An earlier request than the last stamped update changes nothing.
  inject("Ethernet1", 80, 4);
  stack.runFor(1.0);
  capture.sink().clear();
  stack.cliConfig->counterUpdateRequestTimeIs(stack.status->counterUpdateTime() / 2);
  stack.settle();
  EXPECT_EQ(count("Request already handled."), 1);
  EXPECT_EQ(count("Counter update begins."), 0);
  EXPECT_EQ(packets(5, "ipv4 dport =80"), 3u);

  // A later one counts the new packets, also at the very time of the last answer.
  request();
  stack.settle();
  EXPECT_EQ(packets(5, "ipv4 dport =80"), 7u);
}

TEST_F(CounterUpdate, PolicyRemovedWhilePendingDoesNotBlockThePass) {
  stack.start();
  stack.ruleIs(5, "ipv4 dport =80");
  stack.ruleIs(6, "ipv4 dport =80");
  stack.settle();
  inject("Ethernet1", 80, 2);
  request();
  stack.ruleDel(6, "ipv4 dport =80");  // VRF 6 loses its last rule, and its policy
  stack.settle();
  EXPECT_EQ(stack.root->flowspecConfigSm()->counterUpdatePendings(), 0u);
  EXPECT_EQ(packets(5, "ipv4 dport =80"), 2u);
  EXPECT_TRUE(capture->contains("CounterUpdateReq or pmapStatus is not found for blue"));
}

TEST(CounterUpdateStatusCode, ProgressMapsToRuleStatus) {
  using Progress = PolicyMap::OperationProgress;
  using Status = Flowspec::HwRuleProgrammingStatus;
  auto const from = &OrbFlowspec::FlowspecConfigSm::ruleStatusCodeFrom;
  EXPECT_EQ(from(Progress::notStarted), Status::hwStatusNotInstalled);
  EXPECT_EQ(from(Progress::inProgress), Status::hwStatusNotInstalled);
  EXPECT_EQ(from(Progress::succeeded), Status::hwStatusInstalled);
  EXPECT_EQ(from(Progress::failed), Status::hwStatusFailed);
  try {
    from(static_cast<Progress>(5));
    FAIL() << "no assertion";
  } catch (Cog::AssertionError const& error) {
    EXPECT_STREQ(error.what(), "false && \"Unexpected reach of control\"");
  }
}

}  // namespace
