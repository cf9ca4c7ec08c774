#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <unordered_set>

#include "models/flowspec/FlowspecTidalKey.h"
#include "tests/models/flowspec/KeyGenerator.h"

namespace {

using Flowspec::FlowspecKey;

FlowspecKey key(std::string const& text) {
  FlowspecKey k;
  k.copyInStringValue(text);
  return k;
}

TEST(FlowspecKeyText, CanonicalFormsRoundTrip) {
  for (char const* text : {
           "ipv4",
           "ipv6",
           "ipv4 dst 10.0.0.0/8 src 192.0.2.0/24",
           "ipv4 proto =6 dport >=1024&<=2048|=80",
           "ipv4 tcp-flags =syn&!ack",
           "ipv4 tcp-flags syn+ack|!=fin+ns",
           "ipv4 frag isf|!df",
           "ipv6 dst 2001:db8::/32 flow-label =1048575",
           "ipv4 dport !=0 len <1500",
           "ipv4 dport &=80",
           "ipv4 dport #0x81:80|=81",
           "ipv4 type14 #0x81:5",
       }) {
    EXPECT_EQ(key(text).stringValue(), text);
  }
  EXPECT_EQ(key("ipv4 proto =tcp").stringValue(), "ipv4 proto =6");
  EXPECT_EQ(key("  ipv4   dport  =80 ").stringValue(), "ipv4 dport =80");
}

TEST(FlowspecKeyText, EncodesCanonicalOperatorBytes) {
  auto const k = key("ipv4 dport >=1024&<=2048|=80");
  ASSERT_EQ(k.opValCount(), 3u);
  EXPECT_EQ(k.opVals()[0].op, 0x13);  // 2 octets, gt+eq
  EXPECT_EQ(k.opVals()[1].op, 0x55);  // AND, 2 octets, lt+eq
  EXPECT_EQ(k.opVals()[2].op, 0x81);  // end, 1 octet, eq
  auto const result = k.getOptVal(Flowspec::MatchOpValIndex(1));
  EXPECT_EQ(result.value, 2048u);
  EXPECT_EQ(result.nextIndex.value(), 2);
  EXPECT_EQ(k.getOptVal(Flowspec::MatchOpValIndex(2)).nextIndex.value(), 0);
  EXPECT_EQ(k.getOptVal(Flowspec::MatchOpValIndex(3)).matchCompType, Flowspec::MatchCompType::none);
}

TEST(FlowspecKeyText, ErrorsNameThePosition) {
  struct Case {
    char const* text;
    char const* error;
  } const cases[] = {
      {"", "position 0: expected ipv4 or ipv6"},
      {"ipv5", "position 0: expected ipv4 or ipv6"},
      {"ipv4 dport >>80", "position 12: expected a value, not '>80'"},
      {"ipv4 dport", "position 10: expected an operator after 'dport'"},
      {"ipv4 flavour =1", "position 5: unknown component 'flavour'"},
      {"ipv4 dst 2001:db8::/32", "position 9: the prefix is not of the key's address family"},
      {"ipv4 dport =80 =81", "position 15: unknown component '=81'"},
      {"ipv4 dport =2000000", "position 12: value above 1048575"},
      {"ipv4 dport #0x41:80", "position 11: the AND bit of the operator disagrees with the separator"},
      {"ipv4 tcp-flags =syn+bogus", "position 16: expected a value, not 'syn+bogus'"},
  };
  for (auto const& c : cases) {
    std::string error;
    EXPECT_FALSE(FlowspecKey::parse(c.text, &error)) << c.text;
    EXPECT_EQ(error, c.error) << c.text;
  }
  FlowspecKey k;
  EXPECT_THROW(k.copyInStringValue("ipv4 dport"), Flowspec::KeyParseError);
}

TEST(FlowspecKeyText, RandomKeysRoundTripAndAgreeWithHashAndEquality) {
  FlowspecTest::KeyGenerator gen(42);
  std::unordered_set<std::string> texts;
  std::set<FlowspecKey> keys;
  for (int i = 0; i < 5000; ++i) {
    FlowspecKey const k = gen.next();
    std::string const text = k.stringValue();
    FlowspecKey const back = key(text);
    ASSERT_EQ(back, k) << text;
    ASSERT_EQ(back.hash(), k.hash());
    ASSERT_EQ(back.stringValue(), text);
    texts.insert(text);
    keys.insert(k);
  }
  EXPECT_EQ(texts.size(), keys.size());  // equal text <=> equal key
}

TEST(FlowspecKeyLimits, IndexAndValueBounds) {
  FlowspecKey k;
  for (int i = 0; i < 2048; ++i) {
    k.opValAppend(Flowspec::MatchCompType::destinationPort, 0x01, 80);
  }
  try {
    k.opValAppend(Flowspec::MatchCompType::destinationPort, 0x01, 80);
    FAIL();
  } catch (Cog::RangeError const& e) {
    EXPECT_STREQ(e.what(),
                 "MatchOpValIndex::value < MatchOpValIndex::min or > MatchOpValIndex::max not allowed");
  }
  EXPECT_THROW(Flowspec::MatchOpValIndex(-1), Cog::RangeError);
  EXPECT_NO_THROW(Flowspec::MatchOpValIndex(2047));
  EXPECT_THROW(Flowspec::MatchOpValIndex(2048), Cog::RangeError);
  EXPECT_THROW(k.opValAppend(Flowspec::MatchCompType::flowLabel, 0x01, 0x100000), Cog::RangeError);
  EXPECT_THROW(FlowspecKey(Nwk::AddressFamily::none), Cog::RangeError);
}

// RFC 8955 section 5.1: the rule a router applies first comes first.
TEST(FlowspecKeyPrecedence, FollowsTheRfc) {
  auto before = [](char const* a, char const* b) {
    return key(a) < key(b) && !(key(b) < key(a));
  };
  // A lower component type at the same position first.
  EXPECT_TRUE(before("ipv4 dst 10.0.0.0/8", "ipv4 src 10.0.0.0/8"));
  EXPECT_TRUE(before("ipv4 dst 10.0.0.0/8 proto =6", "ipv4 dst 10.0.0.0/8 dport =80"));
  // Prefixes: lower address first over the common length; equal: the longer first.
  EXPECT_TRUE(before("ipv4 dst 10.0.0.0/16", "ipv4 dst 10.0.0.0/8"));
  EXPECT_TRUE(before("ipv4 dst 10.1.0.0/16", "ipv4 dst 11.0.0.0/8"));
  EXPECT_TRUE(before("ipv4 dst 10.1.0.0/16", "ipv4 dst 10.0.0.0/8"));  // common /8 equal: longer
  EXPECT_TRUE(before("ipv4 dst 9.0.0.0/8", "ipv4 dst 10.1.0.0/16"));
  // More components first when the common ones are equal.
  EXPECT_TRUE(before("ipv4 dst 10.0.0.0/8 dport =80", "ipv4 dst 10.0.0.0/8"));
  // Other components by encoded bytes: =80 is 0x81 0x50, =443 is 0x91 0x01 0xbb.
  EXPECT_TRUE(before("ipv4 dport =80", "ipv4 dport =443"));
  EXPECT_TRUE(before("ipv4 dport =80", "ipv4 dport =81"));
  // Equal leading bytes: the longer encoding first.
  EXPECT_TRUE(before("ipv4 dport #0x01:80|=81", "ipv4 dport =80"));
  EXPECT_TRUE(before("ipv4 dport =80", "ipv6 dport =80"));
}

TEST(FlowspecKeyPrecedence, IsAStrictWeakOrderThatAgreesWithEquality) {
  FlowspecTest::KeyGenerator gen(7);
  std::vector<FlowspecKey> keys;
  for (int i = 0; i < 300; ++i) {
    keys.push_back(gen.next());
  }
  for (auto const& a : keys) {
    EXPECT_FALSE(a < a);
    for (auto const& b : keys) {
      ASSERT_EQ(a == b, !(a < b) && !(b < a));
      if (a < b) {
        ASSERT_FALSE(b < a);
      }
    }
  }
  std::sort(keys.begin(), keys.end());
  for (std::size_t i = 0; i + 2 < keys.size(); i += 3) {
    if (keys[i] < keys[i + 1] && keys[i + 1] < keys[i + 2]) {
      EXPECT_TRUE(keys[i] < keys[i + 2]);
    }
  }
}

TEST(FlowspecTidalKey, PacksAndRefusesWhatIsNotARuleKey) {
  auto const k = key("ipv6 dst 2001:db8::/32 flow-label =1048575 dport &=80");
  Flowspec::FlowspecTidalKey const tidal(7, k);
  EXPECT_EQ(tidal.vrfId(), 7u);
  EXPECT_EQ(tidal.words()[0], Flowspec::FlowspecTidalKey::pack(Flowspec::MatchCompType::flowLabel,
                                                               0xa1, 0xFFFFF));
  EXPECT_EQ(tidal.getFlowspecKey(), k);
  EXPECT_EQ(tidal.toStrep(), "vrf 7 " + k.stringValue());
  EXPECT_TRUE(Flowspec::FlowspecTidalKey().isEmpty());

  std::uint32_t const words[] = {0x58100050};
  Flowspec::FlowspecTidalKey const badFamily(1, 3, {}, {}, words, 1);
  try {
    badFamily.getFlowspecKey();
    FAIL();
  } catch (Cog::RangeError const& e) {
    EXPECT_STREQ(e.what(), "FlowspecTidalKey::af not ipv4 or ipv6 not allowed");
  }
  EXPECT_EQ(badFamily.toStrep(), "vrf 1 raw af 3 words 58100050");
  Flowspec::FlowspecTidalKey const badPrefix(1, 1, *Nwk::IpGenPrefix::parse("2001:db8::/32"), {},
                                             words, 1);
  EXPECT_THROW(badPrefix.getFlowspecKey(), Cog::RangeError);
}

TEST(FlowspecTidalKey, OversizedWordArrayThrowsTheSizeError) {
  std::vector<std::uint32_t> words(2049, 0x51000050);
  try {
    Flowspec::FlowspecTidalKey(1, 1, {}, {}, words.data(), words.size());
    FAIL();
  } catch (Tidal::PodArraySizeError const& e) {
    std::string const text = e.what();
    EXPECT_EQ(text.rfind("expected size <= 2048, instead got 2049. Buffer is at address: 0x", 0),
              0u)
        << text;
    EXPECT_NE(text.find(" with contents: 0x51000050 0x51000050"), std::string::npos);
    EXPECT_EQ(text.substr(text.size() - 4), " ...");
    EXPECT_STREQ(e.arrayName(), "PodArray");
  }
  EXPECT_NO_THROW(Flowspec::FlowspecTidalKey(1, 1, {}, {}, words.data(), 2048));
}

}  // namespace
