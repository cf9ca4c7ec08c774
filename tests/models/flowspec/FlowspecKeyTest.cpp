#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "models/flowspec/FlowspecKey.h"
#include "tests/models/flowspec/KeyGenerator.h"

namespace {

using Flowspec::FlowspecKey;
using Flowspec::MatchCompType;
using Flowspec::MatchOpValIndex;

FlowspecKey key(std::string const& text) {
  FlowspecKey k;
  k.copyInStringValue(text);
  return k;
}

std::string rangeErrorText(auto&& action) {
  try {
    action();
  } catch (Cog::RangeError const& e) {
    return e.what();
  }
  return "no error";
}

// ---- Text form ----

TEST(FlowspecKeyText, CanonicalFormsRoundTrip) {
  for (char const* text : {
           "ipv4",
           "ipv6",
           "ipv4 dst 10.0.0.0/8 src 192.0.2.0/24",
           "ipv4 dst 10.0.0.0/8 proto =6 dport >=1024&<=2048|=80 tcp-flags =syn&!ack",
           "ipv4 tcp-flags syn+ack|!=fin+ns",
           "ipv4 tcp-flags =0x200",  // no name for the bit: hexadecimal
           "ipv4 frag isf|!df",
           "ipv6 dst 2001:db8::/32 flow-label =1048575",
           "ipv4 dport !=0 len <1500",
           "ipv4 dport &=80",           // AND bit on the first pair
           "ipv4 dport #0x81:80|=81",   // an end bit before the last pair
           "ipv4 dport #0x31:80",       // 8 octets
           "ipv4 dport #0x80:80",       // no operator bits
           "ipv4 dport #0x89:80",       // a reserved bit
           "ipv4 tcp-flags #0x85:syn",  // a reserved bitmask bit: raw, flags by name
           "ipv4 type0 #0x81:5 type1 #0x81:6 type2 #0x81:7 type14 #0x81:8 type15 #0x81:9",
           // Out of order, as a routing process could publish it: marked raw, runs kept apart.
           "ipv4 raw dport =80 sport =1 dport =2",
           "ipv4 raw dst 10.0.0.0/8 type1 #0x81:6",
       }) {
    EXPECT_EQ(key(text).stringValue(), text);
  }
}

TEST(FlowspecKeyText, AcceptsProtocolNamesAndBlanksButPrintsCanonically) {
  EXPECT_EQ(key("ipv4 proto =tcp|=udp|=icmp|=gre|=esp|=ah|=sctp").stringValue(),
            "ipv4 proto =6|=17|=1|=47|=50|=51|=132");
  EXPECT_EQ(key("ipv6 proto =icmpv6").stringValue(), "ipv6 proto =58");
  EXPECT_EQ(key("  ipv4   dport  =80 ").stringValue(), "ipv4 dport =80");
  // Two runs of one type written apart but adjacent in the list are one run of the key.
  EXPECT_EQ(key("ipv4 raw dport =80 sport =1 dport =443 dport =8").stringValue(),
            "ipv4 raw dport =80 sport =1 dport #0x91:443|=8");
}

TEST(FlowspecKeyText, CompactPairsImplyTheCanonicalOperatorByte) {
  auto const k = key("ipv4 raw dport >=1024&<=2048|=80 flow-label =70000 tcp-flags !=syn");
  std::vector<Flowspec::OpVal> const expected = {
      {MatchCompType::destinationPort, 0x13, 1024},  // 2 octets, gt+eq
      {MatchCompType::destinationPort, 0x55, 2048},  // AND, 2 octets, lt+eq
      {MatchCompType::destinationPort, 0x81, 80},    // end, 1 octet, eq
      {MatchCompType::flowLabel, 0xa1, 70000},       // end, 4 octets
      {MatchCompType::tcpFlags, 0x83, 0x02},         // end, NOT, MATCH
  };
  EXPECT_EQ(std::vector<Flowspec::OpVal>(k.opVals().begin(), k.opVals().end()), expected);
  EXPECT_EQ(Flowspec::canonicalOpByte(0x01, 0xFF, false), 0x01);
  EXPECT_EQ(Flowspec::canonicalOpByte(0x01, 0x100, false), 0x11);
  EXPECT_EQ(Flowspec::canonicalOpByte(0x41, 0xFFFF, true), 0xd1);
  EXPECT_EQ(Flowspec::canonicalOpByte(0x01, 0x10000, false), 0x21);
}

TEST(FlowspecKeyText, ErrorsNameThePosition) {
  struct Case {
    char const* text;
    char const* error;
  } const cases[] = {
      {"", "position 0: expected ipv4 or ipv6"},
      {"ipv5", "position 0: expected ipv4 or ipv6"},
      {"ipv4dport =80", "position 0: expected ipv4 or ipv6"},
      {"ipv4 dport", "position 10: expected an operator after 'dport'"},
      {"ipv4 dport =80&", "position 15: expected an operator after 'dport'"},
      {"ipv4 dport >>80", "position 12: expected a value, not '>80'"},
      {"ipv4 dport 80", "position 11: expected an operator (=, <, >, <=, >=, !=)"},
      {"ipv4 dport =80;", "position 12: expected a value, not '80;'"},
      {"ipv4 dport =0x50", "position 12: expected a value, not '0x50'"},  // decimal only
      {"ipv4 dport =2000000", "position 12: value above 1048575"},
      {"ipv4 proto =tcpx", "position 12: expected a value, not 'tcpx'"},
      {"ipv4 flavour =1", "position 5: unknown component 'flavour'"},
      {"ipv4 type5 #0x81:80", "position 5: type 5 is written 'dport'"},
      {"ipv4 type014 #0x81:80", "position 5: unknown component 'type014'"},
      {"ipv4 type16 #0x81:80", "position 5: unknown component 'type16'"},
      {"ipv4 type14 =5", "position 12: a component without a name takes raw pairs '#0xHH:value'"},
      {"ipv4 dst", "position 8: expected a prefix after 'dst'"},
      {"ipv4 dst 10.0.0.0/33", "position 9: expected a prefix after 'dst'"},
      {"ipv4 dst 2001:db8::/32", "position 9: the prefix is not of the key's address family"},
      {"ipv4 src 10.0.0.0/8 src 11.0.0.0/8", "position 20: a second source prefix"},
      {"ipv4 dport =80 =81", "position 15: unknown component '=81'"},
      // RFC 8955 wants each component once, in ascending type; "raw" alone opts out.
      {"ipv4 dport =80 dport =443",
       "position 15: 'dport' repeats a component or follows a later one (each component once, in "
       "ascending type)"},
      {"ipv4 dport =80 sport =1 dport =443",
       "position 24: 'dport' repeats a component or follows a later one (each component once, in "
       "ascending type)"},
      {"ipv4 src 10.0.0.0/8 dst 11.0.0.0/8",
       "position 20: 'dst' repeats a component or follows a later one (each component once, in "
       "ascending type)"},
      {"ipv4 raw dport =80 sport =1",
       "position 5: 'raw' marks a key whose components are out of order, and these are not"},
      {"ipv4 dport #0x41:80",
       "position 11: the AND bit of the operator disagrees with the separator"},
      {"ipv4 dport =1|#0xc1:80",
       "position 14: the AND bit of the operator disagrees with the separator"},
      {"ipv4 dport #0x:80", "position 11: expected '#0xHH:' with the operator byte in hexadecimal"},
      {"ipv4 tcp-flags =syn+bogus", "position 16: expected a value, not 'syn+bogus'"},
      {"ipv4 tcp-flags =syn+", "position 16: expected a value, not 'syn+'"},
      {"ipv4 tcp-flags =2", "position 16: expected a value, not '2'"},  // flags or hex only
      {"ipv4 frag =ns", "position 11: expected a value, not 'ns'"},
  };
  for (auto const& c : cases) {
    std::string error;
    EXPECT_FALSE(FlowspecKey::parse(c.text, &error)) << c.text;
    EXPECT_EQ(error, c.error) << c.text;
  }
}

TEST(FlowspecKeyText, FailedCopyInThrowsAndLeavesTheKey) {
  FlowspecKey k = key("ipv6 dport =80");
  try {
    k.copyInStringValue("ipv4 dport");
    FAIL();
  } catch (Flowspec::KeyParseError const& e) {
    EXPECT_STREQ(e.what(), "position 10: expected an operator after 'dport'");
  }
  EXPECT_EQ(k.stringValue(), "ipv6 dport =80");
  EXPECT_FALSE(FlowspecKey::parse("ipv4 dport", nullptr));  // no error text wanted
}

TEST(FlowspecKeyText, TheTextHoldsAtMost2048Pairs) {
  std::string text = "ipv4 dport =1";
  for (int i = 1; i < 2048; ++i) {
    text += "|=1";
  }
  EXPECT_EQ(key(text).opValCount(), 2048u);
  std::size_t const position = text.size() + 1;
  text += "|=1";
  std::string error;
  EXPECT_FALSE(FlowspecKey::parse(text, &error));
  EXPECT_EQ(error, "position " + std::to_string(position) + ": more than 2048 pairs");
}

TEST(FlowspecKeyText, RandomKeysRoundTripAndAgreeWithHashAndEquality) {
  for (bool narrow : {false, true}) {
    FlowspecTest::KeyGenerator gen(42, narrow);
    std::map<std::string, FlowspecKey> byText;
    std::unordered_set<FlowspecKey> keys;
    for (int i = 0; i < 4000; ++i) {
      FlowspecKey const k = gen.next();
      std::string const text = k.stringValue();
      FlowspecKey const back = key(text);
      ASSERT_EQ(back, k) << text;
      ASSERT_EQ(back.hash(), k.hash()) << text;
      ASSERT_EQ(back.stringValue(), text);
      Trace::Encoder traced;  // as the trace ring keeps it
      k.traceEncode(traced);
      Trace::Decoder reading(traced.bytes());
      ASSERT_EQ(FlowspecKey::traceDecode(reading), k) << text;
      auto const [it, inserted] = byText.emplace(text, k);
      ASSERT_TRUE(inserted || it->second == k) << text;  // equal text => equal key
      keys.insert(k);
    }
    EXPECT_EQ(byText.size(), keys.size());  // and different keys => different texts
    if (narrow) {
      EXPECT_LT(keys.size(), 4000u);  // the narrow pools do repeat keys
    }
  }
}

TEST(FlowspecKeyCopies, ChangingACopyLeavesTheOriginalAndItsHash) {
  FlowspecKey const original = key("ipv4 dst 10.0.0.0/8 dport =80");
  std::size_t const hash = original.hash();  // kept with the shared content from here on
  char const* const text = original.sharedStringValue().c_str();
  FlowspecKey copy = original;
  EXPECT_EQ(copy.sharedStringValue().c_str(), text);  // one text for all copies
  copy.opValAppend(MatchCompType::packetLength, 0x81, 64);
  copy.sourcePrefixIs(*Nwk::IpGenPrefix::parse("10.1.0.0/16"));
  EXPECT_EQ(original.stringValue(), "ipv4 dst 10.0.0.0/8 dport =80");
  EXPECT_EQ(original.hash(), hash);
  EXPECT_EQ(copy.stringValue(), "ipv4 dst 10.0.0.0/8 src 10.1.0.0/16 dport =80 len =64");
  EXPECT_EQ(copy.hash(), key(copy.stringValue()).hash());
  EXPECT_EQ(copy.sharedStringValue(), copy.stringValue());
  FlowspecKey moved = std::move(copy);
  copy = original;  // a moved-from key takes a new value
  EXPECT_EQ(copy, original);
  EXPECT_NE(moved, original);
  // A key of the same rule made apart takes the original's text, and only a text of its own.
  FlowspecKey const apart = key("ipv4 dst 10.0.0.0/8 dport =80");
  apart.sharedStringValueIs(moved.sharedStringValue());
  EXPECT_NE(apart.sharedStringValue().c_str(), moved.sharedStringValue().c_str());
  apart.sharedStringValueIs(original.sharedStringValue());
  EXPECT_EQ(apart.sharedStringValue().c_str(), text);
}

// ---- Limits and access ----

TEST(FlowspecKeyLimits, RangeErrorsAndTheirTexts) {
  EXPECT_EQ(rangeErrorText([] { FlowspecKey k(Nwk::AddressFamily::none); }),
            "FlowspecKey::af not ipv4 or ipv6 not allowed");
  FlowspecKey k(Nwk::AddressFamily::ipv6);
  EXPECT_EQ(rangeErrorText([&] { k.destinationPrefixIs(*Nwk::IpGenPrefix::parse("10.0.0.0/8")); }),
            "FlowspecKey::prefix address family differs from the key's not allowed");
  EXPECT_EQ(rangeErrorText([&] { k.sourcePrefixIs(*Nwk::IpGenPrefix::parse("10.0.0.0/8")); }),
            "FlowspecKey::prefix address family differs from the key's not allowed");
  EXPECT_EQ(rangeErrorText([&] { k.opValAppend(MatchCompType::flowLabel, 0x81, 0x100000); }),
            "FlowspecKey::value > 0xFFFFF not allowed");
  EXPECT_EQ(rangeErrorText([&] { k.opValAppend(static_cast<MatchCompType>(16), 0x81, 1); }),
            "FlowspecKey::matchCompType > 15 not allowed");
  EXPECT_EQ(k, FlowspecKey(Nwk::AddressFamily::ipv6));  // nothing taken
  k.opValAppend(MatchCompType::flowLabel, 0xa1, 0xFFFFF);
  k.destinationPrefixIs(Nwk::IpGenPrefix());  // the empty prefix: no component
  EXPECT_EQ(k.stringValue(), "ipv6 flow-label =1048575");
  FlowspecKey const defaults;
  EXPECT_EQ(defaults.af(), Nwk::AddressFamily::ipv4);
  EXPECT_EQ(defaults.stringValue(), "ipv4");
}

TEST(FlowspecKeyLimits, HoldsExactly2048Pairs) {
  FlowspecKey k;
  for (int i = 0; i < 2048; ++i) {
    k.opValAppend(MatchCompType::destinationPort, 0x01, static_cast<std::uint32_t>(i));
  }
  EXPECT_EQ(rangeErrorText([&] { k.opValAppend(MatchCompType::destinationPort, 0x01, 80); }),
            "MatchOpValIndex::value < MatchOpValIndex::min or > MatchOpValIndex::max not allowed");
  EXPECT_EQ(k.opValCount(), 2048u);
  auto const last = k.getOptVal(MatchOpValIndex(2047));
  EXPECT_EQ(last.value, 2047u);
  EXPECT_EQ(last.nextIndex, MatchOpValIndex(0));
}

TEST(FlowspecKeyLimits, MatchOpValIndexBounds) {
  std::string const text =
      "MatchOpValIndex::value < MatchOpValIndex::min or > MatchOpValIndex::max not allowed";
  EXPECT_EQ(rangeErrorText([] { MatchOpValIndex(-1); }), text);
  EXPECT_EQ(rangeErrorText([] { MatchOpValIndex(2048); }), text);
  EXPECT_EQ(rangeErrorText([] { MatchOpValIndex(-65536); }), text);  // not wrapped to 0
  EXPECT_EQ(MatchOpValIndex(0).value(), MatchOpValIndex::min);
  MatchOpValIndex index(2046);
  EXPECT_EQ((index++).value(), 2046);
  EXPECT_EQ(index.value(), 2047);
  EXPECT_EQ(index.value(), MatchOpValIndex::max);
  EXPECT_EQ(rangeErrorText([&] { ++index; }), text);
  EXPECT_EQ(index.value(), 2047);
  EXPECT_LT(MatchOpValIndex(3), MatchOpValIndex(4));
}

TEST(FlowspecKeyLimits, GetOptValWalksTheList) {
  auto const k = key("ipv4 proto =6 dport >=1024&<=2048");
  auto const first = k.getOptVal(MatchOpValIndex(0));
  EXPECT_EQ(first.toStrep(), "{type 3, op 0x81, value 6, next 1}");
  EXPECT_EQ(k.getOptVal(first.nextIndex).toStrep(), "{type 5, op 0x13, value 1024, next 2}");
  EXPECT_EQ(k.getOptVal(MatchOpValIndex(2)).toStrep(), "{type 5, op 0xd5, value 2048, next 0}");
  auto const none = k.getOptVal(MatchOpValIndex(3));
  EXPECT_EQ(none.matchCompType, MatchCompType::none);
  EXPECT_EQ(none.op, 0);
  EXPECT_EQ(none.value, 0u);
  EXPECT_EQ(none.nextIndex.value(), 0);
}

TEST(FlowspecKeyHash, MixesEveryPartIntoTheLowBits) {
  // Keys that differ in one small value only must still spread over buckets.
  std::vector<int> buckets(1024);
  for (std::uint32_t v = 0; v < 4096; ++v) {
    FlowspecKey k;
    k.opValAppend(MatchCompType::destinationPort, 0x91, v);
    ++buckets[k.hash() % buckets.size()];
  }
  EXPECT_LE(*std::max_element(buckets.begin(), buckets.end()), 16);
  // Each part of the identity changes the hash.
  auto const base = key("ipv4 dst 10.0.0.0/8 src 11.0.0.0/8 dport =80");
  for (char const* other : {"ipv6 dport =80", "ipv4 dst 10.0.0.0/9 src 11.0.0.0/8 dport =80",
                            "ipv4 dst 10.0.0.0/8 src 11.0.0.0/16 dport =80",
                            "ipv4 dst 10.0.0.0/8 src 11.0.0.0/8 dport =81",
                            "ipv4 dst 10.0.0.0/8 src 11.0.0.0/8 sport =80",
                            "ipv4 dst 11.0.0.0/8 src 10.0.0.0/8 dport =80"}) {
    EXPECT_NE(key(other).hash(), base.hash()) << other;
  }
  EXPECT_NE(key("ipv4").hash(), key("ipv6").hash());
  FlowspecTest::KeyGenerator gen(3);
  std::unordered_map<std::size_t, FlowspecKey> byHash;
  for (int i = 0; i < 5000; ++i) {
    FlowspecKey const k = gen.next();
    auto const [it, inserted] = byHash.emplace(k.hash(), k);
    ASSERT_TRUE(inserted || it->second == k) << "collision: " << k << " and " << it->second;
  }
}

// ---- Precedence ----

// RFC 8955 section 5.1: the rule a router applies first comes first.
TEST(FlowspecKeyPrecedence, FollowsTheRfc) {
  auto before = [](char const* a, char const* b) { return key(a) < key(b) && !(key(b) < key(a)); };
  // A lower component type at the same position first.
  EXPECT_TRUE(before("ipv4 dst 10.0.0.0/8", "ipv4 src 10.0.0.0/8"));
  EXPECT_TRUE(before("ipv4 dst 192.0.2.0/24", "ipv4 src 10.0.0.0/8"));
  EXPECT_TRUE(before("ipv4 dst 10.0.0.0/8 proto =6", "ipv4 dst 10.0.0.0/8 dport =80"));
  EXPECT_TRUE(before("ipv4 dport =80", "ipv4"));  // out of components: infinitely high type
  // Prefixes: lower address first over the common length; equal: the longer first.
  EXPECT_TRUE(before("ipv4 dst 10.0.0.0/16", "ipv4 dst 10.0.0.0/8"));
  EXPECT_TRUE(before("ipv4 dst 10.1.0.0/16", "ipv4 dst 10.0.0.0/8"));  // common /8 equal
  EXPECT_TRUE(before("ipv4 dst 10.1.0.0/16", "ipv4 dst 11.0.0.0/8"));
  EXPECT_TRUE(before("ipv4 dst 9.0.0.0/8", "ipv4 dst 10.1.0.0/16"));
  EXPECT_TRUE(before("ipv4 dst 10.0.0.0/15", "ipv4 dst 10.2.0.0/15"));  // differ in a partial byte
  EXPECT_TRUE(before("ipv4 dst 10.0.0.0/9", "ipv4 dst 10.0.0.0/8"));
  EXPECT_TRUE(before("ipv6 dst 2001:db8::/33", "ipv6 dst 2001:db8:8000::/33"));
  EXPECT_TRUE(before("ipv4 dst 0.0.0.0/1", "ipv4 dst 0.0.0.0/0"));
  // More components first when the common ones are equal.
  EXPECT_TRUE(before("ipv4 dst 10.0.0.0/8 dport =80", "ipv4 dst 10.0.0.0/8"));
  // Other components by encoded bytes: =80 is 0x81 0x50, =443 is 0x91 0x01 0xbb.
  EXPECT_TRUE(before("ipv4 dport =80", "ipv4 dport =443"));
  EXPECT_TRUE(before("ipv4 dport =80", "ipv4 dport =81"));
  EXPECT_TRUE(before("ipv4 dport =80", "ipv4 dport >80"));  // operator 0x81 before 0x82
  // Equal leading bytes: the longer encoding first (0x01 0x50 0x81 0x51 against 0x01 0x50).
  EXPECT_TRUE(before("ipv4 dport #0x01:80|=81", "ipv4 dport #0x01:80"));
  // Values big-endian in the octets the length bits give, cut to the low octets.
  EXPECT_TRUE(before("ipv4 dport #0x91:255", "ipv4 dport =256"));     // 0x00 0xff before 0x01 0x00
  EXPECT_TRUE(before("ipv4 dport #0xb1:80", "ipv4 dport #0xb1:81"));  // 8 octets
  EXPECT_TRUE(before("ipv4 dport #0x81:256", "ipv4 dport =1"));       // 256 in one octet is 0x00
  // The family first.
  EXPECT_TRUE(before("ipv4 dport =80", "ipv6 dport =80"));
  EXPECT_TRUE(before("ipv4", "ipv6 dst 2001:db8::/32"));
}

// Each key as the RFC sees it, built independently of the library: a list of components, each
// a type and a sequence (bits of a prefix, or the encoded bytes of a run of pairs).
struct ModelComponent {
  unsigned type;
  bool prefix;
  std::vector<int> symbols;
};

std::vector<ModelComponent> model(FlowspecKey const& k) {
  std::vector<ModelComponent> out;
  auto addPrefix = [&out](unsigned type, Nwk::IpGenPrefix const& p) {
    if (p.isEmpty()) {
      return;
    }
    ModelComponent c{type, true, {}};
    for (unsigned bit = 0; bit < p.len(); ++bit) {
      c.symbols.push_back((p.addr().bytes()[bit / 8] >> (7 - bit % 8)) & 1);
    }
    out.push_back(c);
  };
  addPrefix(1, k.destinationPrefix());
  addPrefix(2, k.sourcePrefix());
  for (std::size_t i = 0; i < k.opValCount(); ++i) {
    auto const pair = k.getOptVal(MatchOpValIndex(static_cast<long>(i)));
    auto const type = static_cast<unsigned>(pair.matchCompType);
    if (i == 0 || out.back().prefix || out.back().type != type) {
      out.push_back(ModelComponent{type, false, {}});
    }
    auto& bytes = out.back().symbols;
    bytes.push_back(pair.op);
    int const length = 1 << ((pair.op >> 4) & 3);
    for (int octet = length - 1; octet >= 0; --octet) {
      bytes.push_back(octet < 4 ? static_cast<int>((pair.value >> (8 * octet)) & 0xFF) : 0);
    }
  }
  return out;
}

// Lower first; a sequence that is a proper beginning of the other comes after it.
int compareSymbols(std::vector<int> const& a, std::vector<int> const& b) {
  auto const [x, y] = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
  if (x != a.end() && y != b.end()) {
    return *x < *y ? -1 : 1;
  }
  return a.size() == b.size() ? 0 : a.size() > b.size() ? -1 : 1;
}

int modelPrecedence(FlowspecKey const& a, std::vector<ModelComponent> const& ma,
                    FlowspecKey const& b, std::vector<ModelComponent> const& mb) {
  if (a.af() != b.af()) {
    return a.af() < b.af() ? -1 : 1;
  }
  for (std::size_t i = 0;; ++i) {
    if (i == ma.size() || i == mb.size()) {
      return ma.size() == mb.size() ? 0 : i == ma.size() ? 1 : -1;
    }
    if (ma[i].type != mb[i].type) {
      return ma[i].type < mb[i].type ? -1 : 1;
    }
    if (ma[i].prefix != mb[i].prefix) {
      return ma[i].prefix ? -1 : 1;  // a raw pair run of a prefix type after the prefix
    }
    if (int const cmp = compareSymbols(ma[i].symbols, mb[i].symbols)) {
      return cmp;
    }
  }
}

// A key with the same encoding but other values: each value gains a bit above the octets its
// operator gives it, where it fits.
FlowspecKey twin(FlowspecKey const& k) {
  FlowspecKey out(k.af());
  out.destinationPrefixIs(k.destinationPrefix());
  out.sourcePrefixIs(k.sourcePrefix());
  for (auto const& pair : k.opVals()) {
    unsigned const octets = 1u << ((pair.op >> 4) & 3);
    std::uint32_t value = pair.value;
    if (octets < 4 && (value | (1u << (8 * octets))) <= FlowspecKey::kMaxValue) {
      value |= 1u << (8 * octets);
    }
    out.opValAppend(pair.type, pair.op, value);
  }
  return out;
}

TEST(FlowspecKeyPrecedence, AgreesWithAnIndependentModel) {
  for (bool narrow : {false, true}) {
    FlowspecTest::KeyGenerator gen(11, narrow);
    std::vector<std::pair<FlowspecKey, std::vector<ModelComponent>>> keys;
    for (int i = 0; i < 400; ++i) {
      FlowspecKey const k = gen.next();
      keys.emplace_back(k, model(k));
      if (i % 4 == 0) {
        keys.emplace_back(twin(k), model(twin(k)));
      }
    }
    int ties = 0;
    for (auto const& [a, ma] : keys) {
      for (auto const& [b, mb] : keys) {
        int const expected = modelPrecedence(a, ma, b, mb);
        if (expected != 0) {
          ASSERT_EQ(a < b, expected < 0) << a << " vs " << b;
        } else {
          ties += a != b;
        }
      }
    }
    EXPECT_GT(ties, 0);  // the tie-break is exercised
  }
}

TEST(FlowspecKeyPrecedence, OddEncodingsThatTieAreOrderedByContent) {
  // 0x00:256 and 0x00:0 encode the same two bytes (the value cut to one octet).
  auto const a = key("ipv4 dport #0x00:0");
  auto const b = key("ipv4 dport #0x00:256");
  EXPECT_EQ(modelPrecedence(a, model(a), b, model(b)), 0);
  EXPECT_NE(a, b);
  EXPECT_NE(a < b, b < a);
}

TEST(FlowspecKeyPrecedence, IsAStrictWeakOrderThatAgreesWithEquality) {
  FlowspecTest::KeyGenerator gen(7, true);
  std::vector<FlowspecKey> keys;
  for (int i = 0; i < 100; ++i) {
    keys.push_back(gen.next());
    if (i % 3 == 0) {
      keys.push_back(twin(keys.back()));
    }
  }
  for (auto const& a : keys) {
    ASSERT_FALSE(a < a);
    for (auto const& b : keys) {
      ASSERT_EQ(a == b, !(a < b) && !(b < a)) << a << " vs " << b;
      ASSERT_FALSE(a < b && b < a);
      for (auto const& c : keys) {
        if (a < b && b < c) {
          ASSERT_TRUE(a < c) << a << " < " << b << " < " << c;
        }
      }
    }
  }
}

}  // namespace
