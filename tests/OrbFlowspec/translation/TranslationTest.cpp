// Translation checked against packets: for random feasible rules of both families, the
// class-map's entries accept a packet exactly when the rule does.
#include <gtest/gtest.h>

#include <random>

#include "OrbFlowspec/translation/ClassMapMatchBuilder.h"
#include "models/flowspec/SanitizeMatchSet.h"
#include "tests/OrbFlowspec/translation/PacketEvaluators.h"

namespace {

using Flowspec::MatchCompType;
using Flowspec::NumericalRange;
using TranslationTest::Packet;

class RuleGenerator {
 public:
  explicit RuleGenerator(unsigned seed) : rng(seed) {}

  Flowspec::MatchSet next(Nwk::AddressFamily af) {
    Flowspec::MatchSet set;
    for (std::uint32_t t = 1; t <= 13; ++t) {
      if (rng() % 4 != 0) {
        continue;
      }
      auto const type = static_cast<MatchCompType>(t);
      Flowspec::MatchComponent c(type);
      if (Flowspec::isPrefixType(type)) {
        c.prefixIs(prefix(af));
      } else if (type == MatchCompType::tcpFlags || type == MatchCompType::fragment) {
        std::uint16_t const width = type == MatchCompType::tcpFlags ? 0x3F : 0xF;
        int const n = 1 + static_cast<int>(rng() % 3);
        for (int i = 0; i < n; ++i) {
          auto const mask = static_cast<std::uint16_t>(1 + rng() % width);
          auto const value = static_cast<std::uint16_t>(rng() & mask);
          if (type == MatchCompType::tcpFlags) {
            c.tcpBitMaskIs(Flowspec::TcpBitMask(true, value, mask));
          } else {
            // The expressible fragment test, mostly, so that rules translate.
            c.ipBitMaskIs(rng() % 4 ? Flowspec::IpBitMask(true, 2, 2)
                                    : Flowspec::IpBitMask(true, value, mask));
          }
        }
      } else {
        std::uint32_t const max = NumericalRange::matchCompTypeMax(type);
        std::uint32_t lo = 0;
        int const n = 1 + static_cast<int>(rng() % 3);
        for (int i = 0; i < n && lo <= max; ++i) {
          std::uint32_t const start = lo + static_cast<std::uint32_t>(rng() % (max / 4 + 2));
          if (start > max) {
            break;
          }
          std::uint32_t const span = type == MatchCompType::icmpType ||
                                             type == MatchCompType::icmpCode ||
                                             type == MatchCompType::dscp
                                         ? rng() % 4
                                         : rng() % (max / 3 + 1);
          std::uint32_t const end = std::min(max, start + span);
          c.numericalRangeIs(NumericalRange(start, end));
          lo = end + 2;
        }
        if (c.numericalRange().empty()) {
          c.numericalRangeIs(NumericalRange(0, max));
        }
      }
      set.emplace(type, c);
    }
    return set;
  }

  Nwk::IpGenPrefix prefix(Nwk::AddressFamily af) {
    if (af == Nwk::AddressFamily::ipv6) {
      Nwk::IpGenAddr::Bytes bytes{0x20, 0x01, 0x0d, 0xb8, static_cast<std::uint8_t>(rng() % 4)};
      return Nwk::IpGenPrefix(Nwk::IpGenAddr::ipv6(bytes),
                              static_cast<std::uint8_t>(16 + rng() % 40));
    }
    return Nwk::IpGenPrefix(Nwk::IpGenAddr::ipv4(0x0A000000u | (rng() % 4) << 16),
                            static_cast<std::uint8_t>(8 + rng() % 17));
  }

  std::mt19937 rng;
};

// Packets near the rule: boundary values of every range and mask, and random ones.
class PacketGenerator {
 public:
  PacketGenerator(Flowspec::MatchSet const& set, std::mt19937& rng) : set_(set), rng_(rng) {}

  Packet next(Nwk::AddressFamily af) {
    Packet p;
    p.af = af;
    p.src = address(af, MatchCompType::sourcePrefix);
    p.dst = address(af, MatchCompType::destinationPrefix);
    std::uint32_t const protocols[] = {1, 6, 17, 58, 47};
    p.protocol = rng_() % 3 ? protocols[rng_() % 5] : value(MatchCompType::ipProtocol, 255);
    p.sport = value(rng_() % 2 ? MatchCompType::port : MatchCompType::sourcePort, 65535);
    p.dport = value(rng_() % 2 ? MatchCompType::port : MatchCompType::destinationPort, 65535);
    p.icmpType = value(MatchCompType::icmpType, 255);
    p.icmpCode = value(MatchCompType::icmpCode, 255);
    p.tcpFlags = bits(MatchCompType::tcpFlags, 0x1FF);
    p.length = value(MatchCompType::packetLength, 65535);
    p.dscp = value(MatchCompType::dscp, 63);
    p.ecn = rng_() % 4;
    p.fragBits = bits(MatchCompType::fragment, 0xF);
    p.flowLabel = value(MatchCompType::flowLabel, 0xFFFFF);
    return p;
  }

 private:
  std::uint32_t value(MatchCompType type, std::uint32_t max) {
    auto const it = set_.find(type);
    if (it == set_.end() || it->second.numericalRange().empty() || rng_() % 5 == 0) {
      return static_cast<std::uint32_t>(rng_() % (max + 1));
    }
    auto const& ranges = it->second.numericalRange();
    auto r = ranges.begin();
    std::advance(r, static_cast<long>(rng_() % ranges.size()));
    std::int64_t const candidates[] = {std::int64_t{r->rangeMin()} - 1, r->rangeMin(),
                                       r->rangeMax(), std::int64_t{r->rangeMax()} + 1,
                                       (std::int64_t{r->rangeMin()} + r->rangeMax()) / 2};
    std::int64_t const v = candidates[rng_() % 5];
    return static_cast<std::uint32_t>(std::clamp<std::int64_t>(v, 0, max));
  }

  std::uint32_t bits(MatchCompType type, std::uint32_t width) {
    std::uint32_t data = static_cast<std::uint32_t>(rng_() % (width + 1));
    auto const it = set_.find(type);
    if (it != set_.end() && rng_() % 2) {
      // Satisfy one of the tests, flipping a tested bit now and then.
      for (auto const& m : it->second.tcpBitMask()) {
        data = (data & ~std::uint32_t{m.mask()}) | m.value();
      }
      for (auto const& m : it->second.ipBitMask()) {
        data = (data & ~std::uint32_t{m.mask()}) | m.value();
      }
      if (rng_() % 3 == 0) {
        data ^= 1u << (rng_() % 9);
      }
    }
    return data & width;
  }

  Nwk::IpGenAddr address(Nwk::AddressFamily af, MatchCompType type) {
    auto const it = set_.find(type);
    Nwk::IpGenAddr::Bytes bytes{};
    if (it != set_.end() && rng_() % 4) {
      bytes = it->second.prefix().addr().bytes();
    }
    std::size_t const size = af == Nwk::AddressFamily::ipv6 ? 16 : 4;
    if (rng_() % 2) {
      bytes[rng_() % size] ^= static_cast<std::uint8_t>(1u << (rng_() % 8));
    }
    if (af == Nwk::AddressFamily::ipv6) {
      return Nwk::IpGenAddr::ipv6(bytes);
    }
    return Nwk::IpGenAddr::ipv4(std::uint32_t{bytes[0]} << 24 | std::uint32_t{bytes[1]} << 16 |
                                std::uint32_t{bytes[2]} << 8 | bytes[3]);
  }

  Flowspec::MatchSet const& set_;
  std::mt19937& rng_;
};

template <class Filter>
std::vector<Filter> entriesOf(PolicyMap::ClassMapMatch const& match);

template <>
std::vector<Acl::IpFilter> entriesOf(PolicyMap::ClassMapMatch const& match) {
  std::vector<Acl::IpFilter> out;
  std::uint32_t expected = 0;
  for (auto const& [seq, rule] : match.ipRule()) {
    EXPECT_EQ(seq, expected++);  // dense from 0
    out.push_back(rule.filter());
  }
  return out;
}

template <>
std::vector<Acl::Ip6Filter> entriesOf(PolicyMap::ClassMapMatch const& match) {
  std::vector<Acl::Ip6Filter> out;
  for (auto const& [seq, rule] : match.ip6Rule()) {
    out.push_back(rule.filter());
  }
  return out;
}

template <class Filter>
void checkFamily(Nwk::AddressFamily af, unsigned seed) {
  RuleGenerator gen(seed);
  int translated = 0;
  int refused = 0;
  for (int round = 0; round < 1500; ++round) {
    Flowspec::MatchSet const set = gen.next(af);
    if (Flowspec::sanitizeMatchSet(set, af) != MatchCompType::none) {
      continue;
    }
    auto rule = Cog::make<Flowspec::RuleConfig>(Flowspec::FlowspecKey(af));
    for (auto const& [type, component] : set) {
      rule->matchSetIs(component);
    }
    auto const match = Cog::make<PolicyMap::ClassMapMatch>(
        af == Nwk::AddressFamily::ipv4 ? PolicyMap::ClassMapMatchOption::matchIpAccessGroup
                                       : PolicyMap::ClassMapMatchOption::matchIpv6AccessGroup);
    MatchCompType const result = OrbFlowspec::updateClassMapMatch<Filter>(rule, match);
    if (result != MatchCompType::none) {
      ++refused;
      EXPECT_TRUE(match->ipRule().empty() && match->ip6Rule().empty());
      continue;
    }
    ++translated;
    auto const entries = entriesOf<Filter>(*match);
    ASSERT_FALSE(entries.empty());
    PacketGenerator packets(set, gen.rng);
    for (int i = 0; i < 300; ++i) {
      Packet const p = packets.next(af);
      ASSERT_EQ(TranslationTest::ruleAccepts(set, p), TranslationTest::entriesAccept(entries, p))
          << "rule " << rule->toStrep() << " entries " << entries.size() << " round " << round;
    }
  }
  EXPECT_GT(translated, 300);
  EXPECT_GT(refused, 10);
}

TEST(Translation, Ipv4EntriesAcceptExactlyTheRulesPackets) {
  checkFamily<Acl::IpFilter>(Nwk::AddressFamily::ipv4, 17);
}

TEST(Translation, Ipv6EntriesAcceptExactlyTheRulesPackets) {
  checkFamily<Acl::Ip6Filter>(Nwk::AddressFamily::ipv6, 23);
}

}  // namespace
