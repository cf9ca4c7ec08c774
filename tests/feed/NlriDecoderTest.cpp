#include <gtest/gtest.h>

#include "feed/HexText.h"
#include "feed/NlriDecoder.h"
#include "tests/feed/DiagnosticText.h"

namespace {

using Feed::Severity;

Feed::NlriResult decode(Nwk::AddressFamily af, std::string const& hex) {
  auto const bytes = Feed::bytesFromHex(hex);
  EXPECT_TRUE(bytes) << hex;
  return Feed::NlriDecoder(af).decode(bytes.value_or(std::vector<std::uint8_t>{}));
}

std::string texts(Feed::NlriResult const& result) { return FeedTest::joined(result.diagnostics); }

constexpr auto kV4 = Nwk::AddressFamily::ipv4;
constexpr auto kV6 = Nwk::AddressFamily::ipv6;

TEST(NlriDecoder, RfcExamplesDecodeToTheirRules) {
  struct {
    Nwk::AddressFamily af;
    char const* hex;
    char const* rule;
  } const cases[] = {
      {kV4, "0b 0118c00002 038106 048119", "ipv4 dst 192.0.2.0/24 proto =6 port =25"},
      {kV4, "12 0118c00002 0218cb0071 040389458b911f90",
       "ipv4 dst 192.0.2.0/24 src 203.0.113.0/24 port >=137&<=139|=8080"},
      {kV4, "09 0120c0000201 0c8005", "ipv4 dst 192.0.2.1/32 frag df+ff"},
      // The IPv6 example with its source pattern moved to offset 0 (104 bits from the start).
      {kV6, "1a 01200020010db8 026800 0000000000000000123456789a 038106",
       "ipv6 dst 2001:db8::/32 src ::1234:5678:9a00:0/104 proto =6"},
  };
  for (auto const& c : cases) {
    Feed::NlriResult const result = decode(c.af, c.hex);
    ASSERT_TRUE(result.key) << c.hex << ": " << texts(result);
    EXPECT_EQ(result.key->stringValue(), c.rule);
    EXPECT_EQ(result.length, Feed::bytesFromHex(c.hex)->size());
    EXPECT_TRUE(result.diagnostics.empty()) << texts(result);
  }
  // The IPv6 example as the RFC gives it: its source pattern starts at bit 64.
  Feed::NlriResult const offset = decode(kV6, "12 01200020010db8 02684012345678 9a 038106");
  EXPECT_FALSE(offset.key);
  EXPECT_EQ(texts(offset),
            "offset 10: source prefix offset 64 cannot be installed: a rule matches a prefix "
            "from its first bit");
  EXPECT_EQ(Feed::worstSeverity(offset.diagnostics), Severity::refuseRoute);
}

// Every operator byte (end bit set) on a numeric and both bitmask types: the byte is kept, the
// value is read in the length the byte gives, and bitmask lengths are held to the RFC's.
TEST(NlriDecoder, EveryOperatorByteAndValueLengthIsKeptAsOnTheWire) {
  using Flowspec::MatchCompType;
  for (unsigned low = 0; low < 0x80; ++low) {
    auto const op = static_cast<std::uint8_t>(0x80 | low);
    std::size_t const octets = std::size_t{1} << ((op >> 4) & 3);
    std::uint32_t const value = octets == 1 ? 0xAB : octets == 2 ? 0xCDAB : 0x0ECDAB;
    for (MatchCompType type :
         {MatchCompType::destinationPort, MatchCompType::tcpFlags, MatchCompType::fragment}) {
      std::vector<std::uint8_t> bytes = {static_cast<std::uint8_t>(2 + octets),
                                         static_cast<std::uint8_t>(type), op};
      for (std::size_t i = octets; i-- > 0;) {
        bytes.push_back(i < 4 ? static_cast<std::uint8_t>(value >> (8 * i)) : 0);
      }
      Feed::NlriResult const result = Feed::NlriDecoder(kV4).decode(bytes);
      std::size_t const widest = type == MatchCompType::tcpFlags   ? 2
                                 : type == MatchCompType::fragment ? 1
                                                                   : 8;
      SCOPED_TRACE(testing::Message() << "op " << unsigned{op} << " type " << type);
      if (octets > widest) {
        EXPECT_EQ(Feed::worstSeverity(result.diagnostics), Severity::treatAsWithdraw);
        continue;
      }
      ASSERT_TRUE(result.key) << texts(result);
      ASSERT_EQ(result.key->opValCount(), 1u);
      EXPECT_EQ(result.key->opVals()[0], (Flowspec::OpVal{type, op, value}));
      EXPECT_EQ(result.diagnostics.size(), (op & 0x40) ? 1u : 0u);  // the first-AND note
    }
  }
}

TEST(NlriDecoder, TwoOctetLengthsUpToTheLargest) {
  EXPECT_EQ(decode(kV6, "f00a 01200020010db8 038106").key->stringValue(),
            "ipv6 dst 2001:db8::/32 proto =6");
  // 4095 octets, the most two octets hold: one type and 2047 pairs, one short of a key's bound.
  std::string hex = "ffff 05";
  for (int i = 0; i < 2046; ++i) {
    hex += "0150";
  }
  Feed::NlriResult const largest = decode(kV4, hex + "8150");
  ASSERT_TRUE(largest.key) << texts(largest);
  EXPECT_EQ(largest.key->opValCount(), 2047u);
  EXPECT_EQ(largest.length, 4097u);
}

TEST(NlriDecoder, FaultsNameTheirOffsetAndRule) {
  struct {
    Nwk::AddressFamily af;
    char const* hex;
    Severity severity;
    char const* text;
  } const cases[] = {
      {kV4, "", Severity::sessionReset, "offset 0: no NLRI length octet (RFC 8955 section 4.1)"},
      {kV4, "f1", Severity::sessionReset,
       "offset 0: two-octet NLRI length lacks its second octet (RFC 8955 section 4.1)"},
      {kV4, "05 03810d81", Severity::sessionReset,
       "offset 0: NLRI length 5 runs past the data (4 octets left) (RFC 8955 section 4.1)"},
      {kV4, "02 0e81", Severity::treatAsWithdraw,
       "offset 1: unknown component type 14 (RFC 8955 section 4.2)"},
      {kV4, "03 0d8101", Severity::treatAsWithdraw,
       "offset 1: component type 13 (flow label) is defined for IPv6 only (RFC 8956 section "
       "3.7)"},
      {kV4, "06 058150 038106", Severity::treatAsWithdraw,
       "offset 4: component type 3 after type 5; types must be strictly ascending (RFC 8955 "
       "section 4.2)"},
      {kV4, "06 058150 058151", Severity::treatAsWithdraw,
       "offset 4: component type 5 repeated; types must be strictly ascending (RFC 8955 section "
       "4.2)"},
      {kV4, "03 0121c0", Severity::treatAsWithdraw,
       "offset 2: IPv4 prefix length 33 above 32 (RFC 8955 section 4.2.2)"},
      {kV4, "04 0118c000", Severity::treatAsWithdraw,
       "offset 3: destination prefix of 24 bits needs 3 octets, 2 left in the NLRI (RFC 8955 "
       "section 4.2.2)"},
      {kV4, "01 02", Severity::treatAsWithdraw,
       "offset 2: source prefix length missing at the end of the NLRI (RFC 8955 section 4.2.2)"},
      {kV4, "01 05", Severity::treatAsWithdraw,
       "offset 2: component type 5 has no operator before the end of the NLRI (RFC 8955 section "
       "4.2.1)"},
      {kV4, "03 059100", Severity::treatAsWithdraw,
       "offset 3: value of 2 octets, 1 left in the NLRI (RFC 8955 section 4.2.1)"},
      {kV4, "05 05015001 51", Severity::treatAsWithdraw,
       "offset 4: operator list of type 5 reaches the end of the NLRI without the end-of-list "
       "bit (RFC 8955 section 4.2.1)"},
      {kV4, "06 09a100000002", Severity::treatAsWithdraw,
       "offset 2: bitmask value of 4 octets for type 9, which takes 1 or 2 (RFC 8955 section "
       "4.2.2)"},
      {kV4, "04 0c910001", Severity::treatAsWithdraw,
       "offset 2: bitmask value of 2 octets for type 12, which takes 1 (RFC 8955 section "
       "4.2.2)"},
      {kV6, "04 01810000", Severity::treatAsWithdraw,
       "offset 2: IPv6 prefix length 129 above 128 (RFC 8956 section 3.1)"},
      {kV6, "03 012020", Severity::treatAsWithdraw,
       "offset 3: prefix offset 32 not below the prefix length 32 (RFC 8956 section 3.1)"},
      {kV6, "02 0120", Severity::treatAsWithdraw,
       "offset 2: destination prefix length and offset missing at the end of the NLRI (RFC 8956 "
       "section 3.1)"},
      {kV4, "06 05a100100000", Severity::refuseRoute,
       "offset 3: value 1048576 above 1048575, the widest value a rule holds"},
      // A refusal does not hide a later malformation, which withdraws the whole UPDATE.
      {kV4, "0b 05b10000000000100000 00", Severity::treatAsWithdraw,
       "offset 3: value 1048576 above 1048575, the widest value a rule holds; offset 11: unknown "
       "component type 0 (RFC 8955 section 4.2)"},
      // Treated as clear, as the RFC says; the byte stays as it came.
      {kV4, "03 05c150", Severity::note,
       "offset 2: AND bit of the first operator of type 5 treated as clear (RFC 8955 section "
       "4.2.1)"},
  };
  for (auto const& c : cases) {
    Feed::NlriResult const result = decode(c.af, c.hex);
    EXPECT_EQ(texts(result), c.text) << c.hex;
    EXPECT_EQ(Feed::worstSeverity(result.diagnostics), c.severity) << c.hex;
    EXPECT_EQ(result.key.has_value(), c.severity == Severity::note) << c.hex;
  }
}

}  // namespace
