#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <sstream>
#include <vector>

#include "models/flowspec/FlowspecUtil.h"
#include "models/flowspec/MatchComponent.h"
#include "models/flowspec/SanitizeMatchSet.h"
#include "models/vrf/VrfId.h"
#include "platform/cog/Errors.h"

namespace {

using Flowspec::MatchCompType;
using Flowspec::NumericalRange;

std::string rangeError(std::uint32_t lo, std::uint32_t hi) {
  try {
    NumericalRange(lo, hi);
  } catch (Cog::RangeError const& e) {
    return e.what();
  }
  return "";
}

TEST(MatchCompType, ClassesEveryTypeNumber) {
  for (std::uint32_t t = 0; t < 16; ++t) {
    auto const type = static_cast<MatchCompType>(t);
    EXPECT_EQ(Flowspec::isPrefixType(type), t == 1 || t == 2) << t;
    EXPECT_EQ(Flowspec::isBitMaskType(type), t == 9 || t == 12) << t;
    EXPECT_EQ(Flowspec::isNumericalRangeType(type),
              (t >= 3 && t <= 8) || t == 10 || t == 11 || t == 13)
        << t;
  }
  std::ostringstream os;
  os << MatchCompType::flowLabel;
  EXPECT_EQ(os.str(), "13");
  static_assert(Vrf::VrfIdMap::kInvalidVrfId == 0xffffff);
}

TEST(NumericalRange, ConstructionLimits) {
  std::string const minText =
      "NumericalRange::rangeMin < NumericalRange::min or > NumericalRange::invalidValue not "
      "allowed";
  std::string const maxText =
      "NumericalRange::rangeMax < NumericalRange::min or > NumericalRange::invalidValue not "
      "allowed";
  EXPECT_EQ(rangeError(0, 0x1000000), "");
  EXPECT_EQ(rangeError(0x1000000, 0x1000000), "");
  EXPECT_EQ(rangeError(0, 0x1000001), maxText);
  EXPECT_EQ(rangeError(0x1000001, 0x1000001), minText);
  EXPECT_EQ(rangeError(0x1000001, 5), minText);  // the ends before the order
  EXPECT_EQ(rangeError(7, 0xFFFFFFFF), maxText);
  EXPECT_EQ(rangeError(5, 4), "NumericalRange::rangeMin > NumericalRange::rangeMax not allowed");
  EXPECT_EQ(rangeError(4, 4), "");
  EXPECT_FALSE(NumericalRange().isValid());
  EXPECT_EQ(NumericalRange().rangeMin(), NumericalRange::invalidValue);
  EXPECT_EQ(NumericalRange().rangeMax(), NumericalRange::invalidValue);
  EXPECT_FALSE(NumericalRange(0, 0x1000000).isValid());
  EXPECT_TRUE(NumericalRange(0, 0xFFFFFF).isValid());
}

TEST(NumericalRange, IntersectionAndUnionOfEachArrangement) {
  NumericalRange const a(1, 5);
  // disjoint, with a gap
  EXPECT_FALSE(a.rangeIntersection(NumericalRange(7, 9)).isValid());
  EXPECT_EQ(a.rangeUnion(NumericalRange(7, 9)), NumericalRange());
  EXPECT_EQ(NumericalRange(7, 9).rangeUnion(a), NumericalRange());
  // adjoining: nothing in common, but one range together
  EXPECT_FALSE(a.rangeIntersection(NumericalRange(6, 9)).isValid());
  EXPECT_EQ(a.rangeUnion(NumericalRange(6, 9)), NumericalRange(1, 9));
  EXPECT_EQ(NumericalRange(6, 9).rangeUnion(a), NumericalRange(1, 9));
  EXPECT_EQ(NumericalRange(0, 0).rangeUnion(a), NumericalRange(0, 5));
  // touching in one value
  EXPECT_EQ(a.rangeIntersection(NumericalRange(5, 9)), NumericalRange(5, 5));
  EXPECT_EQ(a.rangeUnion(NumericalRange(5, 9)), NumericalRange(1, 9));
  // overlapping
  EXPECT_EQ(a.rangeIntersection(NumericalRange(3, 9)), NumericalRange(3, 5));
  EXPECT_EQ(NumericalRange(0, 3).rangeUnion(a), NumericalRange(0, 5));
  // nested
  EXPECT_EQ(a.rangeIntersection(NumericalRange(2, 3)), NumericalRange(2, 3));
  EXPECT_EQ(NumericalRange(2, 3).rangeIntersection(a), NumericalRange(2, 3));
  EXPECT_EQ(a.rangeUnion(NumericalRange(2, 3)), a);
  EXPECT_EQ(a.rangeIntersection(a), a);
  // the invalid range is empty: it meets and joins nothing
  EXPECT_FALSE(a.rangeIntersection(NumericalRange()).isValid());
  EXPECT_FALSE(NumericalRange().rangeUnion(a).isValid());
  EXPECT_FALSE(
      NumericalRange(0xFFFFFF, 0x1000000).rangeUnion(NumericalRange(0, 0xFFFFFE)).isValid());
  // at the top of the valid values
  EXPECT_EQ(NumericalRange(0, 0xFFFFFE).rangeUnion(NumericalRange(0xFFFFFF, 0xFFFFFF)),
            NumericalRange(0, 0xFFFFFF));
}

// Ranges over a small universe against sets of values.
TEST(NumericalRange, IntersectionAndUnionAgreeWithValueSets) {
  std::mt19937 rng(9);
  auto random = [&rng] {
    std::uint32_t const x = rng() % 24;
    std::uint32_t const y = rng() % 24;
    return NumericalRange(std::min(x, y), std::max(x, y));
  };
  for (int i = 0; i < 2000; ++i) {
    NumericalRange const a = random();
    NumericalRange const b = random();
    std::vector<bool> both(24);
    std::vector<bool> either(24);
    for (std::uint32_t v = 0; v < 24; ++v) {
      bool const inA = v >= a.rangeMin() && v <= a.rangeMax();
      bool const inB = v >= b.rangeMin() && v <= b.rangeMax();
      both[v] = inA && inB;
      either[v] = inA || inB;
    }
    auto const asRange = [](std::vector<bool> const& values) {
      auto const first = std::find(values.begin(), values.end(), true);
      if (first == values.end()) {
        return NumericalRange();
      }
      auto const last = std::find(first, values.end(), false);
      if (std::find(last, values.end(), true) != values.end()) {
        return NumericalRange();  // not one range
      }
      return NumericalRange(static_cast<std::uint32_t>(first - values.begin()),
                            static_cast<std::uint32_t>(last - values.begin() - 1));
    };
    ASSERT_EQ(a.rangeIntersection(b), asRange(both)) << a << " " << b;
    ASSERT_EQ(a.rangeUnion(b), asRange(either)) << a << " " << b;
  }
}

TEST(NumericalRange, OrderHashTextAndFieldMaxima) {
  EXPECT_LT(NumericalRange(1, 9), NumericalRange(2, 3));
  EXPECT_LT(NumericalRange(1, 3), NumericalRange(1, 4));
  EXPECT_FALSE(NumericalRange(1, 3) < NumericalRange(1, 3));
  EXPECT_NE(NumericalRange(1, 3).hash(), NumericalRange(3, 3).hash());
  EXPECT_EQ(NumericalRange(1, 5).toStrep(), "[1, 5]");
  std::ostringstream os;
  os << NumericalRange(0, 65535);
  EXPECT_EQ(os.str(), "[0, 65535]");
  for (auto const& range : {NumericalRange(0, 65535), NumericalRange()}) {
    Trace::Encoder traced;  // as the trace ring keeps it
    range.traceEncode(traced);
    Trace::Decoder reading(traced.bytes());
    EXPECT_EQ(NumericalRange::traceDecode(reading), range) << range;
    EXPECT_TRUE(reading.rest().empty());
  }
  std::uint32_t const maxima[16] = {0,   0, 0,     255, 65535, 65535,   65535, 255,
                                    255, 0, 65535, 63,  0,     0xFFFFF, 0,     0};
  for (std::uint32_t t = 0; t < 16; ++t) {
    EXPECT_EQ(NumericalRange::matchCompTypeMax(static_cast<MatchCompType>(t)), maxima[t]) << t;
  }
}

TEST(BitMask, ValidityAndTexts) {
  // A zero mask tests nothing: invalid for both.
  EXPECT_FALSE(Flowspec::TcpBitMask(true, 0x2, 0).isValid());
  EXPECT_FALSE(Flowspec::TcpBitMask(true, 0, 0).isValid());
  EXPECT_TRUE(Flowspec::TcpBitMask(true, 0, 0x100).isValid());
  EXPECT_TRUE(Flowspec::TcpBitMask(false, 0x1, 0x2).isValid());
  EXPECT_FALSE(Flowspec::IpBitMask(true, 0x1, 0).isValid());
  // Fragment tests: only the four fragment bits, and no value outside the mask.
  EXPECT_FALSE(Flowspec::IpBitMask(true, 0, 0x10).isValid());
  EXPECT_FALSE(Flowspec::IpBitMask(true, 0, 0x1F).isValid());
  EXPECT_FALSE(Flowspec::IpBitMask(true, 0x4, 0x2).isValid());
  EXPECT_TRUE(Flowspec::IpBitMask(true, 0x2, 0x2).isValid());
  EXPECT_TRUE(Flowspec::IpBitMask(true, 0, 0xF).isValid());
  Flowspec::TcpBitMask const synNotAck(true, 0x02, 0x12);
  EXPECT_EQ(synNotAck.toStrep(), "{matchAll true, value 0x2, mask 0x12}");
  EXPECT_EQ(Flowspec::IpBitMask(false, 0, 0xF).toStrep(), "{matchAll false, value 0x0, mask 0xf}");
  EXPECT_EQ(synNotAck.toStrepCli(), "syn !ack");
  EXPECT_EQ(Flowspec::TcpBitMask(true, 0x1C0, 0x3C0).toStrepCli(), "ece cwr ns !0x200");
  EXPECT_EQ(Flowspec::IpBitMask(true, 0x2, 0x3).toStrepCli(), "!df isf");
  EXPECT_EQ(Flowspec::IpBitMask(true, 0x8, 0x1C).toStrepCli(), "!ff lf !0x10");
}

TEST(BitMask, OrderedByMaskThenValueThenMatchAll) {
  using Flowspec::TcpBitMask;
  EXPECT_LT(TcpBitMask(true, 0x2, 0x2), TcpBitMask(true, 0x0, 0x4));
  EXPECT_LT(TcpBitMask(true, 0x0, 0x2), TcpBitMask(true, 0x2, 0x2));
  EXPECT_LT(TcpBitMask(false, 0x2, 0x2), TcpBitMask(true, 0x2, 0x2));
  EXPECT_NE(TcpBitMask(false, 0x2, 0x2).hash(), TcpBitMask(true, 0x2, 0x2).hash());
}

Flowspec::MatchComponent ranges(MatchCompType type,
                                std::initializer_list<std::pair<int, int>> values) {
  Flowspec::MatchComponent c(type);
  for (auto const& [lo, hi] : values) {
    c.numericalRangeIs(
        NumericalRange(static_cast<std::uint32_t>(lo), static_cast<std::uint32_t>(hi)));
  }
  return c;
}

Flowspec::MatchComponent tcp(std::initializer_list<std::pair<int, int>> masks) {
  Flowspec::MatchComponent c(MatchCompType::tcpFlags);
  for (auto const& [value, mask] : masks) {
    c.tcpBitMaskIs(Flowspec::TcpBitMask(true, static_cast<std::uint16_t>(value),
                                        static_cast<std::uint16_t>(mask)));
  }
  return c;
}

Flowspec::MatchComponent frag(std::initializer_list<std::pair<int, int>> masks) {
  Flowspec::MatchComponent c(MatchCompType::fragment);
  for (auto const& [value, mask] : masks) {
    c.ipBitMaskIs(Flowspec::IpBitMask(true, static_cast<std::uint16_t>(value),
                                      static_cast<std::uint16_t>(mask)));
  }
  return c;
}

MatchCompType sanitize(std::initializer_list<Flowspec::MatchComponent> components,
                       Nwk::AddressFamily af = Nwk::AddressFamily::ipv4) {
  Flowspec::MatchSet set;
  for (auto const& c : components) {
    set.emplace(c.matchCompType(), c);
  }
  return Flowspec::sanitizeMatchSet(set, af);
}

Flowspec::MatchComponent prefixComponent(MatchCompType type, char const* text) {
  Flowspec::MatchComponent c(type);
  c.prefixIs(*Nwk::IpGenPrefix::parse(text));
  return c;
}

TEST(MatchComponent, KindsEqualityAndText) {
  auto const ports = ranges(MatchCompType::destinationPort, {{443, 443}, {80, 80}});
  EXPECT_TRUE(ports.matchTypeNumericalRange());
  EXPECT_FALSE(ports.matchTypeBitMask());
  EXPECT_FALSE(ports.matchTypePrefix());
  EXPECT_EQ(ports.toStrep(), "dport [80, 80] [443, 443]");  // ordered ranges
  EXPECT_EQ(ports, ranges(MatchCompType::destinationPort, {{80, 80}, {443, 443}}));
  EXPECT_NE(ports, ranges(MatchCompType::sourcePort, {{80, 80}, {443, 443}}));
  auto const flags = tcp({{0x10, 0x10}, {0x02, 0x12}});
  EXPECT_TRUE(flags.matchTypeBitMask());
  EXPECT_EQ(flags.toStrep(), "tcp-flags {ack} {syn !ack}");  // sorted, whatever the hash order
  EXPECT_EQ(flags, tcp({{0x02, 0x12}, {0x10, 0x10}}));
  EXPECT_EQ(frag({{2, 2}}).toStrep(), "frag {isf}");
  auto const dst = prefixComponent(MatchCompType::destinationPrefix, "10.0.0.0/8");
  EXPECT_TRUE(dst.matchTypePrefix());
  EXPECT_EQ(dst.toStrep(), "dst 10.0.0.0/8");
  EXPECT_EQ(Flowspec::MatchComponent().matchCompType(), MatchCompType::none);
  for (auto const& c : {ports, flags, frag({{2, 2}, {1, 1}}), dst, Flowspec::MatchComponent()}) {
    Trace::Encoder traced;  // as the trace ring keeps it
    c.traceEncode(traced);
    Trace::Decoder reading(traced.bytes());
    EXPECT_EQ(Flowspec::MatchComponent::traceDecode(reading), c) << c.toStrep();
    EXPECT_TRUE(reading.rest().empty());
  }
}

TEST(SanitizeMatchSet, ConsistentSetsPass) {
  auto const v6 = Nwk::AddressFamily::ipv6;
  EXPECT_EQ(sanitize({}), MatchCompType::none);
  EXPECT_EQ(sanitize({prefixComponent(MatchCompType::destinationPrefix, "10.0.0.0/8"),
                      prefixComponent(MatchCompType::sourcePrefix, "11.0.0.0/8")}),
            MatchCompType::none);
  // ICMP with a protocol component that includes the family's ICMP protocol.
  EXPECT_EQ(sanitize({ranges(MatchCompType::ipProtocol, {{1, 1}, {6, 6}}),
                      ranges(MatchCompType::icmpType, {{8, 8}})}),
            MatchCompType::none);
  EXPECT_EQ(sanitize({ranges(MatchCompType::ipProtocol, {{50, 60}}),
                      ranges(MatchCompType::icmpCode, {{0, 0}})},
                     v6),
            MatchCompType::none);
  EXPECT_EQ(sanitize({ranges(MatchCompType::icmpType, {{8, 8}}),
                      ranges(MatchCompType::icmpCode, {{0, 0}})}),
            MatchCompType::none);
  // TCP flags with a protocol component that includes 6, and ports.
  EXPECT_EQ(sanitize({ranges(MatchCompType::ipProtocol, {{6, 17}}), tcp({{2, 2}}),
                      ranges(MatchCompType::destinationPort, {{80, 80}})}),
            MatchCompType::none);
  EXPECT_EQ(sanitize({tcp({{0x02, 0x02}, {0x3F, 0x3F}})}), MatchCompType::none);
  // All masks inexpressible: left to the translation.
  EXPECT_EQ(sanitize({tcp({{0x80, 0x80}, {0x100, 0x140}})}), MatchCompType::none);
  // IPv4 fragments: only the expressible test, or only others.
  EXPECT_EQ(sanitize({frag({{2, 2}})}), MatchCompType::none);
  EXPECT_EQ(sanitize({frag({{1, 1}, {4, 4}})}), MatchCompType::none);
  // IPv6: fragment tests mix freely, flow labels exist.
  EXPECT_EQ(sanitize({frag({{2, 2}, {1, 1}})}, v6), MatchCompType::none);
  EXPECT_EQ(sanitize({ranges(MatchCompType::flowLabel, {{5, 5}}),
                      prefixComponent(MatchCompType::destinationPrefix, "2001:db8::/32")},
                     v6),
            MatchCompType::none);
}

TEST(SanitizeMatchSet, RefusesWhatTranslationCannotExpressExactly) {
  auto const v6 = Nwk::AddressFamily::ipv6;
  // 1. a prefix of the other family
  EXPECT_EQ(sanitize({prefixComponent(MatchCompType::destinationPrefix, "2001:db8::/32")}),
            MatchCompType::destinationPrefix);
  EXPECT_EQ(sanitize({prefixComponent(MatchCompType::sourcePrefix, "10.0.0.0/8")}, v6),
            MatchCompType::sourcePrefix);
  // 2. ICMP with a protocol component without the family's ICMP protocol
  EXPECT_EQ(sanitize({ranges(MatchCompType::ipProtocol, {{6, 6}}),
                      ranges(MatchCompType::icmpType, {{8, 8}})}),
            MatchCompType::icmpType);
  EXPECT_EQ(sanitize({ranges(MatchCompType::ipProtocol, {{6, 6}}),
                      ranges(MatchCompType::icmpType, {{8, 8}}),
                      ranges(MatchCompType::icmpCode, {{0, 0}})}),
            MatchCompType::icmpType);
  EXPECT_EQ(sanitize({ranges(MatchCompType::ipProtocol, {{1, 1}}),
                      ranges(MatchCompType::icmpCode, {{0, 0}})},
                     v6),
            MatchCompType::icmpCode);  // ICMP for IPv4 is not ICMPv6
  EXPECT_EQ(sanitize({ranges(MatchCompType::ipProtocol, {{58, 58}}),
                      ranges(MatchCompType::icmpType, {{8, 8}})}),
            MatchCompType::icmpType);
  // 3. ICMP with ports
  for (auto const portType :
       {MatchCompType::port, MatchCompType::destinationPort, MatchCompType::sourcePort}) {
    EXPECT_EQ(sanitize({ranges(portType, {{80, 80}}), ranges(MatchCompType::icmpType, {{8, 8}})}),
              MatchCompType::icmpType);
    EXPECT_EQ(
        sanitize({ranges(portType, {{80, 80}}), ranges(MatchCompType::icmpCode, {{0, 0}})}, v6),
        MatchCompType::icmpCode);
  }
  // 4. TCP flags with a protocol component without TCP
  EXPECT_EQ(sanitize({ranges(MatchCompType::ipProtocol, {{17, 17}}), tcp({{2, 2}})}),
            MatchCompType::tcpFlags);
  EXPECT_EQ(sanitize({ranges(MatchCompType::ipProtocol, {{0, 5}, {7, 255}}), tcp({{2, 2}})}),
            MatchCompType::tcpFlags);
  // 5. TCP flags with ICMP
  EXPECT_EQ(sanitize({ranges(MatchCompType::icmpType, {{8, 8}}), tcp({{2, 2}})}),
            MatchCompType::tcpFlags);
  EXPECT_EQ(sanitize({ranges(MatchCompType::icmpCode, {{0, 0}}), tcp({{2, 2}})}, v6),
            MatchCompType::tcpFlags);
  // 6. expressible and inexpressible TCP flag tests mixed
  EXPECT_EQ(sanitize({tcp({{2, 2}, {0x80, 0x80}})}), MatchCompType::tcpFlags);
  EXPECT_EQ(sanitize({tcp({{2, 2}, {0, 0x102}})}, v6), MatchCompType::tcpFlags);
  // 7. on IPv4, the is-fragment test mixed with other fragment tests
  EXPECT_EQ(sanitize({frag({{2, 2}, {1, 1}})}), MatchCompType::fragment);
  EXPECT_EQ(sanitize({frag({{2, 2}, {0, 2}})}), MatchCompType::fragment);
  EXPECT_EQ(sanitize({frag({{2, 2}, {2, 6}})}), MatchCompType::fragment);
  // 8. a flow label on IPv4
  EXPECT_EQ(sanitize({ranges(MatchCompType::flowLabel, {{5, 5}})}), MatchCompType::flowLabel);
}

TEST(FlowspecUtil, StableTexts) {
  Flowspec::FlowspecUtil const util;
  using Status = Flowspec::HwRuleProgrammingStatus;
  std::pair<Status, char const*> const statuses[] = {
      {Status::hwStatusNotInstalled, "not installed"},
      {Status::hwStatusInstalled, "installed"},
      {Status::hwStatusPartiallyInstalled, "partially installed"},
      {Status::hwStatusUnsupportedMatch, "unsupported match"},
      {Status::hwStatusUnsupportedQualifier, "unsupported qualifier"},
      {Status::hwStatusFailed, "failed"},
      {static_cast<Status>(5), "unknown status 5"},
      {static_cast<Status>(255), "unknown status 255"},
  };
  for (auto const& [status, text] : statuses) {
    EXPECT_EQ(util.statusCodeToStrep(status), text);
  }
  EXPECT_EQ(static_cast<int>(Status::hwStatusFailed), 6);
  char const* const labels[] = {
      "none",      "destination prefix", "source prefix",        "IP protocol",
      "port",      "destination port",   "source port",          "ICMP type",
      "ICMP code", "TCP flags",          "packet length",        "DSCP",
      "fragment",  "flow label",         "unknown component 14", "unknown component 15"};
  for (std::uint32_t t = 0; t < 16; ++t) {
    EXPECT_EQ(util.compTypeToDetailLabel(static_cast<MatchCompType>(t)), labels[t]);
  }
  EXPECT_EQ(util.compTypeToDetailLabel(static_cast<MatchCompType>(4096)), "unknown component 4096");
}

}  // namespace
