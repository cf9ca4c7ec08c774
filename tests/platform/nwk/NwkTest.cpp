#include <gtest/gtest.h>

#include "platform/cog/Errors.h"
#include "platform/nwk/IntfId.h"
#include "platform/nwk/IpGenPrefix.h"
#include "platform/nwk/RangeMaskGen.h"

namespace {

using Gen8 = Nwk::RangeMaskGen<std::uint8_t>;

std::vector<std::pair<int, int>> pairs(std::uint8_t lo, std::uint8_t hi) {
  std::vector<std::pair<int, int>> out;
  for (auto const& e : Gen8::run(lo, hi)) {
    out.emplace_back(e.start, e.mask);
  }
  return out;
}

TEST(RangeMaskGen, KnownDecompositions) {
  EXPECT_EQ(pairs(1, 6),
            (std::vector<std::pair<int, int>>{{1, 0xFF}, {2, 0xFE}, {4, 0xFE}, {6, 0xFF}}));
  EXPECT_EQ(pairs(0, 255), (std::vector<std::pair<int, int>>{{0, 0}}));
  EXPECT_EQ(pairs(6, 17), (std::vector<std::pair<int, int>>{{6, 0xFE}, {8, 0xF8}, {16, 0xFE}}));
  EXPECT_EQ(pairs(255, 255), (std::vector<std::pair<int, int>>{{255, 0xFF}}));
  EXPECT_EQ(Gen8::getMaskBits(0, 255), 8u);
  EXPECT_EQ(Gen8::getMaskBits(6, 17), 1u);
}

// Every range of the byte: the entries are disjoint, aligned, ascending and cover it exactly.
TEST(RangeMaskGen, CoversEveryByteRangeExactly) {
  for (int lo = 0; lo < 256; ++lo) {
    for (int hi = lo; hi < 256; ++hi) {
      std::vector<int> covered(256, 0);
      int next = lo;
      for (auto const& e :
           Gen8::run(static_cast<std::uint8_t>(lo), static_cast<std::uint8_t>(hi))) {
        ASSERT_EQ(e.start, next);
        ASSERT_EQ(e.start & e.mask, e.start);
        for (int v = 0; v < 256; ++v) {
          covered[v] += (v & e.mask) == e.start;
        }
        next = e.end + 1;
      }
      for (int v = 0; v < 256; ++v) {
        ASSERT_EQ(covered[v], (v >= lo && v <= hi) ? 1 : 0) << lo << ".." << hi << " at " << v;
      }
    }
  }
}

TEST(RangeMaskGen, WiderTypesStopAtTheirMaximum) {
  auto const entries = Nwk::RangeMaskGen<std::uint16_t>::run(65534, 65535);
  ASSERT_EQ(entries.size(), 1u);
  EXPECT_EQ(entries[0].mask, 0xFFFE);
}

TEST(IpGenAddr, ParsesAndPrintsCanonically) {
  struct Case {
    char const* in;
    char const* out;
  } const cases[] = {
      {"10.1.2.3", "10.1.2.3"},
      {"2001:DB8:0:0:1:0:0:1", "2001:db8::1:0:0:1"},
      {"2001:db8:0:0:0:0:2:1", "2001:db8::2:1"},
      {"2001:db8:0:1:1:1:1:1", "2001:db8:0:1:1:1:1:1"},
      {"::", "::"},
      {"::1", "::1"},
      {"1::", "1::"},
      {"::ffff:192.0.2.1", "::ffff:c000:201"},
      {"2001:0:0:1:0:0:0:1", "2001:0:0:1::1"},
  };
  for (auto const& c : cases) {
    auto const addr = Nwk::IpGenAddr::parse(c.in);
    ASSERT_TRUE(addr) << c.in;
    EXPECT_EQ(addr->toStrep(), c.out);
    EXPECT_EQ(Nwk::IpGenAddr::parse(addr->toStrep()), addr);
  }
  for (char const* bad : {"", "1.2.3", "1.2.3.4.5", "256.1.1.1", "01.2.3.4", "1:2:3:4:5:6:7:8:9",
                          ":::", "1::2::3", "12345::", "g::", "1.2.3.4:", "::1.2.3", ":1::"}) {
    EXPECT_FALSE(Nwk::IpGenAddr::parse(bad)) << bad;
  }
  EXPECT_EQ(Nwk::IpGenAddr::ipv4(0x0A000001).toStrep(), "10.0.0.1");
  EXPECT_TRUE(Nwk::IpGenAddr().isZero());
}

TEST(IpGenPrefix, CanonicalFormAndLimits) {
  auto const prefix = Nwk::IpGenPrefix::parse("10.1.2.3/8");
  ASSERT_TRUE(prefix);
  EXPECT_EQ(prefix->toStrep(), "10.0.0.0/8");
  EXPECT_TRUE(prefix->contains(*Nwk::IpGenAddr::parse("10.200.0.1")));
  EXPECT_FALSE(prefix->contains(*Nwk::IpGenAddr::parse("11.0.0.1")));
  EXPECT_EQ(Nwk::IpGenPrefix::parse("2001:db8::1/32")->toStrep(), "2001:db8::/32");
  EXPECT_EQ(Nwk::IpGenPrefix::parse("192.0.2.1")->len(), 32);
  EXPECT_FALSE(Nwk::IpGenPrefix::parse("10.0.0.0/33"));
  EXPECT_FALSE(Nwk::IpGenPrefix::parse("10.0.0.0/"));
  EXPECT_TRUE(Nwk::IpGenPrefix().isEmpty());
  try {
    Nwk::IpGenPrefix(Nwk::IpGenAddr::ipv4(0), 33);
    FAIL();
  } catch (Cog::RangeError const& e) {
    EXPECT_STREQ(e.what(), "IpGenPrefix::len > maxLen not allowed");
  }
}

TEST(IntfId, RefusesHostileNames) {
  EXPECT_TRUE(Nwk::IntfId::parse("Ethernet1/1.100"));
  EXPECT_TRUE(Nwk::IntfId::parse("Port-Channel5"));
  for (std::string bad : {std::string(""), std::string("1eth"), std::string("Eth 1"),
                          std::string("Eth\0x", 5), std::string(65, 'a'), std::string("Eth\xff")}) {
    EXPECT_FALSE(Nwk::IntfId::parse(bad)) << bad;
  }
}

}  // namespace
