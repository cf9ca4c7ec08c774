// The hardware model's classifier against an independent judge of ACL entries: for random
// classes of random entries of both families, every random packet lands in the first class
// with an entry that the judge says accepts it, and the class counters count exactly those.
#include <gtest/gtest.h>

#include <map>
#include <random>

#include "tests/OrbFlowspec/translation/PacketEvaluators.h"
#include "tests/pbr/ProgramHelpers.h"

namespace {

using Nwk::AddressFamily;
using TranslationTest::Packet;

// Draws fields from small domains so that entries and packets meet often.
class Generator {
 public:
  explicit Generator(unsigned seed) : rng_(seed) {}

  std::uint32_t pick(std::uint32_t n) { return static_cast<std::uint32_t>(rng_() % n); }
  bool chance(std::uint32_t oneIn) { return pick(oneIn) == 0; }

  Nwk::IpGenAddr address(AddressFamily af) {
    if (af == AddressFamily::ipv4) {
      return Nwk::IpGenAddr::ipv4(0x0a000000u | pick(4) << 16 | pick(4) << 8 | pick(4));
    }
    Nwk::IpGenAddr::Bytes bytes{0x20, 0x01, 0x0d, 0xb8};
    bytes[5] = static_cast<std::uint8_t>(pick(4));
    bytes[9] = static_cast<std::uint8_t>(pick(4));
    bytes[15] = static_cast<std::uint8_t>(pick(4));
    return Nwk::IpGenAddr::ipv6(bytes);
  }

  std::uint32_t v4Mask() {
    static std::uint32_t const masks[] = {0,          0xff000000, 0xffff0000, 0xffffff00,
                                          0xffffffff, 0xff00ff00, 0x0000ffff};
    return masks[pick(7)];
  }

  std::uint8_t v6Len() {
    static std::uint8_t const lens[] = {0, 16, 40, 48, 64, 72, 120, 128};
    return lens[pick(8)];
  }

  std::uint16_t port() { return static_cast<std::uint16_t>(pick(8)); }

  template <class Spec>
  Spec spec() {
    std::uint16_t const a = port();
    if (chance(2)) {
      return Spec(Acl::RangeOperator::eq, std::to_string(a));
    }
    return Spec(Acl::RangeOperator::range, std::to_string(a) + " " + std::to_string(a + pick(4)));
  }

  void base(Acl::IpFilterBase& f, AddressFamily af) {
    std::uint8_t const icmp = af == AddressFamily::ipv6 ? 58 : 1;
    std::uint8_t const protocols[] = {6, 17, icmp};
    if (chance(2)) {
      f.protocolIs(protocols[pick(3)]);
      f.protocolMaskIs(chance(4) ? 0x0f : 0xff);
    }
    if (chance(4)) {
      f.sportIs(spec<Acl::PortSpec>());
    }
    if (chance(4)) {
      f.dportIs(spec<Acl::PortSpec>());
    }
    if (chance(5)) {
      f.ipLenIs(spec<Acl::IpLenSpec>());
    }
    if (chance(6)) {
      f.icmpTypeIs(static_cast<std::uint8_t>(pick(3)));
    }
    if (chance(6)) {
      f.icmpCodeIs(static_cast<std::uint8_t>(pick(3)));
    }
    if (chance(4)) {
      f.tcpFlagMaskIs(Acl::TcpFlag(static_cast<std::uint16_t>(pick(0x200))));
      f.tcpFlagIs(Acl::TcpFlag(static_cast<std::uint16_t>(pick(0x200))));
    }
    f.fragmentsIs(chance(8));
  }

  Acl::IpFilter ipFilter() {
    Acl::IpFilter f;
    f.sourceIs(address(AddressFamily::ipv4).v4(), v4Mask());
    f.destinationIs(address(AddressFamily::ipv4).v4(), v4Mask());
    if (chance(4)) {
      f.matchDscpIs(true);
      f.dscpIs(pick(4));
      f.dscpMaskIs(chance(2) ? 0x3f : 0xff);
    }
    base(f, AddressFamily::ipv4);
    return f;
  }

  Acl::Ip6Filter ip6Filter() {
    Acl::Ip6Filter f;
    f.sourceIs(Nwk::Ip6AddrWithMask(address(AddressFamily::ipv6), v6Len()));
    f.destinationIs(Nwk::Ip6AddrWithMask(address(AddressFamily::ipv6), v6Len()));
    if (chance(4)) {
      f.trafficClassIs(static_cast<std::uint8_t>(pick(16)));
      f.trafficClassMaskIs(chance(2) ? 0xfc : 0x0f);
    }
    base(f, AddressFamily::ipv6);
    return f;
  }

  Packet packet(AddressFamily af) {
    Packet p;
    p.af = af;
    p.src = address(af);
    p.dst = address(af);
    std::uint32_t const protocols[] = {6, 17, af == AddressFamily::ipv6 ? 58u : 1u, 47};
    p.protocol = protocols[pick(4)];
    p.sport = port();
    p.dport = port();
    p.icmpType = pick(3);
    p.icmpCode = pick(3);
    p.tcpFlags = pick(0x200);
    p.length = port();
    p.dscp = pick(4);
    p.ecn = pick(4);
    p.fragBits = chance(3) ? 2 : 0;
    return p;
  }

 private:
  std::mt19937 rng_;
};

Pbr::Packet toHardware(Packet const& p) {
  Pbr::Packet out;
  out.af = p.af;
  out.src = p.src;
  out.dst = p.dst;
  out.protocol = static_cast<std::uint8_t>(p.protocol);
  out.sport = static_cast<std::uint16_t>(p.sport);
  out.dport = static_cast<std::uint16_t>(p.dport);
  out.icmpType = static_cast<std::uint8_t>(p.icmpType);
  out.icmpCode = static_cast<std::uint8_t>(p.icmpCode);
  out.tcpFlags = static_cast<std::uint16_t>(p.tcpFlags);
  out.length = static_cast<std::uint16_t>(p.length);
  out.trafficClass = static_cast<std::uint8_t>(p.dscp << 2 | p.ecn);
  out.fragment = (p.fragBits & 2) != 0;
  return out;
}

template <class Filter>
void checkFamily(AddressFamily af, unsigned seed) {
  Generator gen(seed);
  auto const scheduler = Kiln::simulatedTaskSchedulerFactory();
  auto const hw = Cog::make<Pbr::HardwareModel>(scheduler, nullptr);
  hw->lineCardIs("lc1", 100000, 100000, 1000);
  hw->intfIs(Nwk::IntfId("Ethernet1"), "lc1");

  std::vector<std::pair<std::string, std::vector<Filter>>> classes;
  std::vector<Pbr::ClassProgram> programs;
  for (int c = 0; c < 60; ++c) {
    std::vector<Filter> entries;
    std::string const name = "class" + std::to_string(c);
    for (std::uint32_t e = 0, n = 1 + gen.pick(3); e < n; ++e) {
      if constexpr (std::is_same_v<Filter, Acl::IpFilter>) {
        entries.push_back(gen.ipFilter());
      } else {
        entries.push_back(gen.ip6Filter());
      }
    }
    if constexpr (std::is_same_v<Filter, Acl::IpFilter>) {
      programs.push_back(PbrTest::ipClass(name, entries));
    } else {
      programs.push_back(PbrTest::ip6Class(name, entries));
    }
    classes.emplace_back(name, std::move(entries));
  }
  bool installed = false;
  hw->programIs(Nwk::IntfId("Ethernet1"), PbrTest::program(programs, af),
                [&installed](Pbr::ProgramResult const& results) {
                  installed = std::all_of(results.begin(), results.end(),
                                          [](auto const& r) { return r.installed; });
                });
  scheduler->runUntilNoWork(60);
  ASSERT_TRUE(installed);

  std::map<std::string, std::uint64_t> expectedCounts;
  int matched = 0;
  for (int i = 0; i < 5000; ++i) {
    Packet const packet = gen.packet(af);
    std::string expected;
    for (auto const& [name, entries] : classes) {
      if (TranslationTest::entriesAccept(entries, packet)) {
        expected = name;
        break;
      }
    }
    auto const got = hw->classify(Nwk::IntfId("Ethernet1"), toHardware(packet));
    ASSERT_EQ(got.className, expected) << "packet " << i << " dst " << packet.dst;
    if (!expected.empty()) {
      ++expectedCounts[expected];
      ++matched;
    }
  }
  // Enough packets meet entries for the comparison to mean something.
  EXPECT_GT(matched, 500);
  std::vector<Pbr::ClassCounters> counters;
  hw->countersRead({Pbr::Slot{Nwk::IntfId("Ethernet1"), af}},
                   [&counters](std::vector<Pbr::ClassCounters> const& c) { counters = c; });
  scheduler->runUntilIdle();
  ASSERT_EQ(counters.size(), 1u);
  for (auto const& [name, entries] : classes) {
    EXPECT_EQ(counters[0].at(name), expectedCounts[name]) << name;
  }
}

TEST(Classifier, Ipv4PacketsLandInTheFirstClassTheJudgeAccepts) {
  for (unsigned seed = 1; seed <= 5; ++seed) {
    checkFamily<Acl::IpFilter>(AddressFamily::ipv4, seed);
  }
}

TEST(Classifier, Ipv6PacketsLandInTheFirstClassTheJudgeAccepts) {
  for (unsigned seed = 1; seed <= 5; ++seed) {
    checkFamily<Acl::Ip6Filter>(AddressFamily::ipv6, seed);
  }
}

}  // namespace
