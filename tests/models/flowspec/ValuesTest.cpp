#include <gtest/gtest.h>

#include "models/flowspec/FlowspecUtil.h"
#include "platform/cog/Errors.h"
#include "models/flowspec/MatchComponent.h"
#include "models/flowspec/SanitizeMatchSet.h"

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

TEST(NumericalRange, ConstructionLimits) {
  EXPECT_EQ(rangeError(0, 0x1000000), "");
  EXPECT_EQ(rangeError(0, 0x1000001),
            "NumericalRange::rangeMax < NumericalRange::min or > NumericalRange::invalidValue not "
            "allowed");
  EXPECT_EQ(rangeError(0x1000001, 0x1000001),
            "NumericalRange::rangeMin < NumericalRange::min or > NumericalRange::invalidValue not "
            "allowed");
  EXPECT_EQ(rangeError(5, 4), "NumericalRange::rangeMin > NumericalRange::rangeMax not allowed");
  EXPECT_FALSE(NumericalRange().isValid());
  EXPECT_FALSE(NumericalRange(0, 0x1000000).isValid());
}

TEST(NumericalRange, IntersectionAndUnion) {
  NumericalRange const a(1, 5);
  EXPECT_FALSE(a.rangeIntersection(NumericalRange(6, 9)).isValid());  // disjoint
  EXPECT_EQ(a.rangeIntersection(NumericalRange(5, 9)), NumericalRange(5, 5));  // touching
  EXPECT_EQ(a.rangeIntersection(NumericalRange(3, 9)), NumericalRange(3, 5));  // overlapping
  EXPECT_EQ(a.rangeIntersection(NumericalRange(2, 3)), NumericalRange(2, 3));  // nested
  EXPECT_EQ(a.rangeUnion(NumericalRange(4, 9)), NumericalRange(1, 9));
  EXPECT_EQ(a.rangeUnion(NumericalRange(6, 9)), NumericalRange(1, 9));  // adjoining: joined
  EXPECT_FALSE(a.rangeUnion(NumericalRange(7, 9)).isValid());  // a gap between
  EXPECT_EQ(NumericalRange(7, 9).rangeUnion(a), NumericalRange());
  EXPECT_EQ(a.rangeUnion(NumericalRange(2, 3)), a);
  EXPECT_EQ(NumericalRange::matchCompTypeMax(MatchCompType::flowLabel), 0xFFFFFu);
  EXPECT_EQ(NumericalRange::matchCompTypeMax(MatchCompType::dscp), 63u);
  EXPECT_EQ(a.toStrep(), "[1, 5]");
}

TEST(BitMask, ValidityAndTexts) {
  EXPECT_FALSE(Flowspec::TcpBitMask(true, 0x2, 0).isValid());
  EXPECT_TRUE(Flowspec::TcpBitMask(true, 0, 0x100).isValid());
  EXPECT_FALSE(Flowspec::IpBitMask(true, 0x1, 0).isValid());
  EXPECT_FALSE(Flowspec::IpBitMask(true, 0, 0x10).isValid());
  EXPECT_FALSE(Flowspec::IpBitMask(true, 0x4, 0x2).isValid());
  EXPECT_TRUE(Flowspec::IpBitMask(true, 0x2, 0x2).isValid());
  Flowspec::TcpBitMask const synNotAck(true, 0x02, 0x12);
  EXPECT_EQ(synNotAck.toStrep(), "{matchAll true, value 0x2, mask 0x12}");
  EXPECT_EQ(synNotAck.toStrepCli(), "syn !ack");
  EXPECT_EQ(Flowspec::IpBitMask(true, 0x2, 0x3).toStrepCli(), "!df isf");
}

Flowspec::MatchComponent ranges(MatchCompType type,
                                std::initializer_list<std::pair<int, int>> values) {
  Flowspec::MatchComponent c(type);
  for (auto const& [lo, hi] : values) {
    c.numericalRangeIs(NumericalRange(static_cast<std::uint32_t>(lo), static_cast<std::uint32_t>(hi)));
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

TEST(SanitizeMatchSet, RefusesWhatTranslationCannotExpressExactly) {
  auto const v6 = Nwk::AddressFamily::ipv6;
  // Consistent sets.
  EXPECT_EQ(sanitize({}), MatchCompType::none);
  EXPECT_EQ(sanitize({ranges(MatchCompType::ipProtocol, {{1, 1}, {6, 6}}),
                      ranges(MatchCompType::icmpType, {{8, 8}})}),
            MatchCompType::none);
  EXPECT_EQ(sanitize({ranges(MatchCompType::ipProtocol, {{6, 17}}), tcp({{2, 2}}),
                      ranges(MatchCompType::destinationPort, {{80, 80}})}),
            MatchCompType::none);
  EXPECT_EQ(sanitize({tcp({{0x80, 0x80}})}), MatchCompType::none);  // left to translation
  EXPECT_EQ(sanitize({frag({{1, 1}})}), MatchCompType::none);
  EXPECT_EQ(sanitize({frag({{2, 2}, {1, 1}})}, v6), MatchCompType::none);
  EXPECT_EQ(sanitize({ranges(MatchCompType::flowLabel, {{5, 5}})}, v6), MatchCompType::none);
  // 1. prefix of the other family
  Flowspec::MatchComponent dst(MatchCompType::destinationPrefix);
  dst.prefixIs(*Nwk::IpGenPrefix::parse("2001:db8::/32"));
  EXPECT_EQ(sanitize({dst}), MatchCompType::destinationPrefix);
  // 2. ICMP with a protocol component without ICMP
  EXPECT_EQ(sanitize({ranges(MatchCompType::ipProtocol, {{6, 6}}),
                      ranges(MatchCompType::icmpType, {{8, 8}})}),
            MatchCompType::icmpType);
  EXPECT_EQ(sanitize({ranges(MatchCompType::ipProtocol, {{1, 1}}),
                      ranges(MatchCompType::icmpCode, {{0, 0}})},
                     v6),
            MatchCompType::icmpCode);
  // 3. ICMP with ports
  EXPECT_EQ(sanitize({ranges(MatchCompType::port, {{80, 80}}),
                      ranges(MatchCompType::icmpType, {{8, 8}})}),
            MatchCompType::icmpType);
  // 4. TCP flags with a protocol component without TCP
  EXPECT_EQ(sanitize({ranges(MatchCompType::ipProtocol, {{17, 17}}), tcp({{2, 2}})}),
            MatchCompType::tcpFlags);
  // 5. TCP flags with ICMP
  EXPECT_EQ(sanitize({ranges(MatchCompType::icmpType, {{8, 8}}), tcp({{2, 2}})}),
            MatchCompType::tcpFlags);
  // 6. expressible and inexpressible TCP flag tests mixed
  EXPECT_EQ(sanitize({tcp({{2, 2}, {0x80, 0x80}})}), MatchCompType::tcpFlags);
  // 7. is-fragment mixed with other fragment tests on IPv4
  EXPECT_EQ(sanitize({frag({{2, 2}, {1, 1}})}), MatchCompType::fragment);
  // 8. flow label on IPv4
  EXPECT_EQ(sanitize({ranges(MatchCompType::flowLabel, {{5, 5}})}), MatchCompType::flowLabel);
}

TEST(FlowspecUtil, StableTexts) {
  Flowspec::FlowspecUtil const util;
  EXPECT_EQ(util.statusCodeToStrep(Flowspec::HwRuleProgrammingStatus::hwStatusUnsupportedMatch),
            "unsupported match");
  EXPECT_EQ(util.statusCodeToStrep(static_cast<Flowspec::HwRuleProgrammingStatus>(5)),
            "unknown status 5");
  EXPECT_EQ(util.compTypeToDetailLabel(MatchCompType::flowLabel), "flow label");
  EXPECT_EQ(util.compTypeToDetailLabel(static_cast<MatchCompType>(14)), "unknown component 14");
}

}  // namespace
