#include <gtest/gtest.h>

#include <cstdio>

#include "feed/HexText.h"
#include "feed/UpdateDecoder.h"
#include "tests/feed/DiagnosticText.h"

namespace {

using Feed::Severity;

// The RFC examples: IPv4 NLRI, and an IPv6 one with its source at offset 0.
constexpr char kPort25[] = "0b0118c00002038106048119";
constexpr char kPortRange[] = "120118c000020218cb00710403 89458b911f90";
constexpr char kFragment[] = "090120c00002010c8005";
constexpr char kV6Proto[] = "0a01200020010db8038106";
constexpr char kV6Offset64[] = "1201200020010db8026840123456789a038106";

std::size_t octets(std::string const& hex) { return Feed::bytesFromHex(hex)->size(); }

std::string hexNumber(std::size_t value, int octets) {
  char text[24];
  std::snprintf(text, sizeof text, "%0*zx", 2 * octets, value);
  return text;
}

std::string attribute(int type, std::string const& value, bool extendedLength = false) {
  return hexNumber(extendedLength ? 0x90 : 0x80, 1) + hexNumber(type, 1) +
         hexNumber(octets(value), extendedLength ? 2 : 1) + value;
}

std::string mpReach(int afi, std::string const& nextHop, std::string const& nlri) {
  return attribute(
      14, hexNumber(afi, 2) + "85" + hexNumber(octets(nextHop), 1) + nextHop + "00" + nlri);
}

std::string mpUnreach(int afi, std::string const& nlri) {
  return attribute(15, hexNumber(afi, 2) + "85" + nlri);
}

std::string update(std::string const& attributes, bool header = true) {
  std::string const body = "0000" + hexNumber(octets(attributes), 2) + attributes;
  return header ? std::string(32, 'f') + hexNumber(19 + octets(body), 2) + "02" + body : body;
}

Feed::UpdateResult decode(std::string const& hex) {
  Feed::RouteTargetResolver resolver;
  resolver.vrfIdIs("65000:100", 7);
  auto const bytes = Feed::bytesFromHex(hex);
  EXPECT_TRUE(bytes) << hex;
  return Feed::UpdateDecoder(3, resolver).decode(bytes.value_or(std::vector<std::uint8_t>{}));
}

std::string texts(Feed::UpdateResult const& result) { return FeedTest::joined(result.diagnostics); }

std::string withdrawals(Feed::UpdateResult const& result) {
  std::string out;
  for (Flowspec::FlowspecTidalKey const& key : result.withdrawals) {
    out += (out.empty() ? "" : "; ") + key.toStrep();
  }
  return out;
}

TEST(UpdateDecoder, AnnouncesRulesWithTheUpdatesActions) {
  // Rate 1000, marking 10, redirect to 65000:100 at the next hop; communities in an attribute
  // with a two-octet length.
  std::string const attributes =
      mpReach(1, "c6336401", std::string(kPort25) + kFragment) +
      attribute(16, "8006fde8447a0000 800900000000000a 8008fde800000064 0800000000000000", true);
  for (bool header : {true, false}) {
    Feed::UpdateResult const result = decode(update(attributes, header));
    EXPECT_EQ(texts(result), "");
    ASSERT_EQ(result.announcements.size(), 2u);
    EXPECT_EQ(result.announcements[0].key.toStrep(),
              "vrf 3 ipv4 dst 192.0.2.0/24 proto =6 port =25");
    EXPECT_EQ(result.announcements[1].key.toStrep(), "vrf 3 ipv4 dst 192.0.2.1/32 frag df+ff");
    Flowspec::Rule const& rule = result.announcements[1];
    EXPECT_EQ(rule.actionFieldSet.toStrep(), "police+redirect+dscp");
    EXPECT_EQ(rule.trafficRateLimit, 1000.0f);
    EXPECT_EQ(rule.trafficMarkingDscp.value(), 10);
    EXPECT_EQ(rule.trafficRedirect.toStrep(), "vrfId 7 nexthop 198.51.100.1");
    EXPECT_TRUE(result.withdrawals.empty());
  }
}

TEST(UpdateDecoder, ARefusedRouteLeavesTheRestOfTheUpdate) {
  Feed::UpdateResult const result = decode(
      update(mpUnreach(1, kPortRange) + mpReach(2, "", std::string(kV6Offset64) + kV6Proto)));
  EXPECT_EQ(result.severity(), Severity::refuseRoute);
  ASSERT_EQ(result.announcements.size(), 1u);
  EXPECT_EQ(result.announcements[0].key.toStrep(), "vrf 3 ipv6 dst 2001:db8::/32 proto =6");
  EXPECT_EQ(result.announcements[0].actionFieldSet.toStrep(), "none");
  EXPECT_EQ(withdrawals(result),
            "vrf 3 ipv4 dst 192.0.2.0/24 src 203.0.113.0/24 port "
            ">=137&<=139|=8080");
}

TEST(UpdateDecoder, AMalformedRouteWithdrawsEveryRouteOfTheUpdate) {
  std::string const malformed = "06058150058151";  // dport twice
  Feed::UpdateResult const result = decode(
      update(mpUnreach(1, kPortRange) + mpReach(1, "", kPort25 + malformed + kFragment), false));
  EXPECT_EQ(result.severity(), Severity::treatAsWithdraw);
  EXPECT_TRUE(result.announcements.empty());
  EXPECT_EQ(texts(result),
            "offset 53: component type 5 repeated; types must be strictly ascending (RFC 8955 "
            "section 4.2)");
  EXPECT_EQ(withdrawals(result),
            "vrf 3 ipv4 dst 192.0.2.0/24 src 203.0.113.0/24 port >=137&<=139|=8080; vrf 3 ipv4 "
            "dst 192.0.2.0/24 proto =6 port =25; vrf 3 ipv4 dst 192.0.2.1/32 frag df+ff");
}

TEST(UpdateDecoder, AnNlriPastItsAttributeEndsTheWalk) {
  Feed::UpdateResult const result =
      decode(update(mpReach(1, "", std::string(kPort25) + "0503810d81"), false));
  EXPECT_EQ(result.severity(), Severity::sessionReset);
  EXPECT_EQ(texts(result),
            "offset 24: NLRI length 5 runs past the data (4 octets left) (RFC 8955 section 4.1)");
  EXPECT_EQ(withdrawals(result), "vrf 3 ipv4 dst 192.0.2.0/24 proto =6 port =25");
}

TEST(UpdateDecoder, MessageAndAttributeFaults) {
  std::string const marker(32, 'f');
  std::string const empty = mpReach(1, "", "");
  struct {
    std::string hex;
    Severity severity;
    char const* text;
  } const cases[] = {
      {marker + "0013", Severity::sessionReset,
       "offset 0: message of 18 octets is shorter than the 19-octet header (RFC 4271 section "
       "4.1)"},
      {marker + "0020020000", Severity::sessionReset,
       "offset 16: message length 32 differs from the 21 octets given (RFC 4271 section 6.1)"},
      {marker + "001304", Severity::sessionReset,
       "offset 18: message type 4 is not UPDATE (2) (RFC 4271 section 4.1)"},
      {"000500", Severity::sessionReset,
       "offset 0: withdrawn routes length 5 runs past the message (1 octet left) (RFC 4271 "
       "section 6.3)"},
      {"0000", Severity::sessionReset,
       "offset 2: total path attribute length missing (RFC 4271 section 4.3)"},
      {"00000003800e05", Severity::sessionReset,
       "offset 4: attribute 14 of 5 octets runs past the path attributes (0 octets left) (RFC "
       "7606 section 4)"},
      {"0000000180", Severity::sessionReset,
       "offset 4: attribute header runs past the path attributes (RFC 7606 section 4)"},
      {update(empty + empty, false), Severity::sessionReset,
       "offset 12: MP_REACH_NLRI appears twice (RFC 7606 section 3)"},
      {update(attribute(14, "0001"), false), Severity::sessionReset,
       "offset 4: MP_REACH_NLRI of 2 octets is too short for its AFI and SAFI (RFC 7606 section "
       "7.11)"},
      {update(attribute(14, "00018505"), false), Severity::sessionReset,
       "offset 10: MP_REACH_NLRI next hop length 5 leaves no room for the reserved octet (RFC "
       "7606 section 7.11)"},
      {update(mpReach(1, "0102030405", kPort25), false), Severity::treatAsWithdraw,
       "offset 10: MP_REACH_NLRI next hop of 5 octets is no address (RFC 7606 section 7.11)"},
      {update(mpReach(1, "", kPort25) + attribute(16, "80060000447a00"), false),
       Severity::treatAsWithdraw,
       "offset 24: EXTENDED_COMMUNITIES of 7 octets is not a non-zero multiple of 8 (RFC 7606 "
       "section 7.14)"},
      {update(attribute(25, "000c"), false), Severity::treatAsWithdraw,
       "offset 4: IPV6_ADDRESS_SPECIFIC_EXTENDED_COMMUNITY of 2 octets is not a non-zero "
       "multiple of 20 (RFC 7606 section 7.15)"},
      {update(attribute(16, "8006000000000000") + attribute(16, "0000000000000000"), false),
       Severity::note, "offset 15: second EXTENDED_COMMUNITIES discarded (RFC 7606 section 3)"},
      // Not flowspec: unicast routes, another SAFI.
      {update(attribute(14, "000101 04c0000201 00 18c00002") + attribute(15, "00018600"), false) +
           "18c00002",
       Severity::note, ""},
  };
  for (auto const& c : cases) {
    Feed::UpdateResult const result = decode(c.hex);
    EXPECT_EQ(texts(result), c.text) << c.hex;
    EXPECT_EQ(result.severity(), c.severity) << c.hex;
  }
}

// Every octet of a good UPDATE set to telling values, and every truncation: whatever comes out
// is keys that survive their text round trip.
TEST(UpdateDecoder, AnyOctetsDecodeSafely) {
  auto const good = Feed::bytesFromHex(
      update(mpUnreach(2, kV6Proto) + mpReach(1, "c6336401", std::string(kPort25) + kPortRange) +
             attribute(16, "8006fde8447a0000 8008fde800000064")));
  for (std::size_t i = 0; i < good->size(); ++i) {
    for (std::uint8_t value : {0x00, 0x01, 0x7f, 0x80, 0xf0, 0xff}) {
      std::vector<std::uint8_t> bytes = *good;
      bytes[i] = value;
      for (auto const& span : {std::span(bytes), std::span(bytes).first(i)}) {
        Feed::RouteTargetResolver const resolver;
        Feed::UpdateResult const result = Feed::UpdateDecoder(3, resolver).decode(span);
        std::vector<Flowspec::FlowspecTidalKey> keys = result.withdrawals;
        for (Flowspec::Rule const& rule : result.announcements) {
          keys.push_back(rule.key);
        }
        for (Flowspec::FlowspecTidalKey const& key : keys) {
          Flowspec::FlowspecKey const decoded = key.getFlowspecKey();
          EXPECT_EQ(Flowspec::FlowspecKey::parse(decoded.stringValue(), nullptr), decoded);
        }
      }
    }
  }
}

}  // namespace
