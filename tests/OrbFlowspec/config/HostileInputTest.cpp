// Raw rules are untrusted: random table content never trips an assertion anywhere in the
// stack, and the well-formed rules among it are still translated.
#include <gtest/gtest.h>

#include <random>

#include "platform/trace/CaptureSink.h"
#include "tests/OrbFlowspec/support/StackHarness.h"

namespace {

using OrbFlowspecTest::StackHarness;

Flowspec::Rule randomRawRule(std::mt19937& rng) {
  std::vector<std::uint32_t> words(rng() % 7);
  for (auto& word : words) {
    // Mostly real component types, sometimes anything; any operator byte; any 20-bit value.
    std::uint32_t const type = rng() % 8 ? 3 + rng() % 11 : rng() % 16;
    word = type << 28 | (rng() & 0xFF) << 20 | (rng() % 4 ? rng() % 300 : rng() & 0xFFFFF);
  }
  std::uint8_t const af = static_cast<std::uint8_t>(rng() % 8 ? 1 + rng() % 2 : rng() % 4);
  Nwk::IpGenPrefix dst;
  if (rng() % 2) {
    dst = rng() % 2 ? Nwk::IpGenPrefix(Nwk::IpGenAddr::ipv4(static_cast<std::uint32_t>(rng())),
                                       static_cast<std::uint8_t>(rng() % 33))
                    : *Nwk::IpGenPrefix::parse("2001:db8::/32");
  }
  Flowspec::Rule rule;
  rule.key = Flowspec::FlowspecTidalKey(1 + rng() % 3, af, dst, {}, words.data(), words.size());
  rule.ruleId = rng();
  rule.actionFieldSet = Flowspec::ActionFieldSet(static_cast<std::uint8_t>(rng() & 0x7F));
  rule.trafficRateLimit = static_cast<float>(static_cast<std::int32_t>(rng())) / 3.0f;
  rule.trafficMarkingDscp = Nwk::IpTos(static_cast<std::uint8_t>(rng()));
  rule.trafficRedirect.vrfId = rng() % 5;
  return rule;
}

TEST(HostileInput, RandomRawRulesNeverTakeTheStackDown) {
  Trace::ScopedCapture capture;  // the refusals are traced at level 0
  for (unsigned seed = 1; seed <= 3; ++seed) {
    std::mt19937 rng(seed);
    StackHarness stack;
    stack.vrfIs(1, "red");
    stack.vrfIs(2, std::string(101, 'x'));  // a name longer than VRF names may be
    stack.vrfIs(3, "blue");
    stack.start();
    for (int i = 0; i < 600; ++i) {
      stack.ruleIs(randomRawRule(rng));
      if (i % 100 == 0) {
        stack.runFor(0.1);
      }
    }
    stack.ruleIs(3, "ipv4 dport =80");
    ASSERT_NO_THROW(stack.settle());
    auto const policy = stack.root->policyMapConfig()->pmapType("Flowspec")->pmap("blue");
    ASSERT_TRUE(policy);
    bool found = false;
    for (auto const& [prio, className] : policy->currCfg()->classPrio()) {
      found = found || className == "ipv4 dport =80";
    }
    EXPECT_TRUE(found);
  }
}

}  // namespace
