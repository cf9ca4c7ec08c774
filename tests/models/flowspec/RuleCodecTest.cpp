#include <gtest/gtest.h>

#include <random>

#include "models/flowspec/RuleCodec.h"
#include "tests/models/flowspec/KeyGenerator.h"

namespace {

using Entry = Tidal::SharedEntry<Flowspec::FlowspecTidalKey, Flowspec::Rule, Flowspec::RuleCodec>;

Flowspec::Rule randomRule(FlowspecTest::KeyGenerator& keys, std::mt19937& rng) {
  Flowspec::Rule rule;
  rule.key = Flowspec::FlowspecTidalKey(rng() % 5, keys.next());
  rule.ruleId = rng();
  rule.actionFieldSet = Flowspec::ActionFieldSet(static_cast<std::uint8_t>(rng()));
  rule.trafficRateLimit = static_cast<float>(rng() % 100000) / 4.0f;
  rule.trafficAction = Flowspec::TrafficAction(static_cast<std::uint8_t>(rng() % 4));
  rule.trafficRedirect.vrfId = rng() % 7;
  if (rng() % 2) {
    rule.trafficRedirect.address = Nwk::IpGenAddr::ipv4(rng());
  }
  rule.trafficMarkingDscp = Nwk::IpTos(static_cast<std::uint8_t>(rng() % 64));
  return rule;
}

// Every rule survives the round trip, and no cut of its octets decodes: a shorter entry is never
// mistaken for another one.
TEST(RuleCodec, RoundTripsAndRefusesEveryTruncation) {
  FlowspecTest::KeyGenerator keys(5);
  std::mt19937 rng(5);
  std::vector<std::uint8_t> octets;
  for (int i = 0; i < 300; ++i) {
    Flowspec::Rule const rule = randomRule(keys, rng);
    Entry::encode(rule.key, rule, octets);
    auto const decoded = Entry::decode(octets);
    ASSERT_TRUE(decoded);
    EXPECT_EQ(decoded->first, rule.key);
    EXPECT_EQ(decoded->second, rule);
    for (std::size_t cut = 0; cut < octets.size(); ++cut) {
      EXPECT_FALSE(Entry::decode(std::span(octets.data(), cut))) << cut;
    }
    octets.push_back(0);
    EXPECT_FALSE(Entry::decode(octets));
  }
}

// Octets that encoding never writes are refused, whatever else the entry holds.
TEST(RuleCodec, RefusesWhatEncodingCannotProduce) {
  Flowspec::Rule rule;
  rule.key = Flowspec::FlowspecTidalKey(
      1, *Flowspec::FlowspecKey::parse("ipv4 dst 10.0.0.0/8 dport =80", nullptr));
  std::vector<std::uint8_t> octets;
  Entry::encode(rule.key, rule, octets);
  ASSERT_TRUE(Entry::decode(octets));
  // Offsets: key length 0..3, VRF 4..7, family 8, destination family 9, address 10..25,
  // length 26.
  auto refused = [&](std::size_t offset, std::uint8_t value) {
    std::vector<std::uint8_t> bad = octets;
    bad[offset] = value;
    return !Entry::decode(bad);
  };
  EXPECT_TRUE(refused(9, 3));     // no such family
  EXPECT_TRUE(refused(26, 33));   // longer than IPv4
  EXPECT_TRUE(refused(11, 1));    // host bits under /8
  EXPECT_TRUE(refused(14, 1));    // an octet IPv4 does not use
  EXPECT_TRUE(refused(0, 0xff));  // key length past the entry
  std::vector<std::uint8_t> manyWords = octets;
  std::size_t const countOffset = 4 + 4 + 1 + 2 * 18;
  manyWords[countOffset + 1] = 0x08;  // 2049 words and more claimed
  manyWords[countOffset] = 0x01;
  EXPECT_FALSE(Entry::decode(manyWords));
  EXPECT_FALSE(refused(8, 7));  // a family that is no rule is still a key; digestion refuses it
}

}  // namespace
