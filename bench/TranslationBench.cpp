// Rules translated into class-maps per second, and ACL entries per rule, for mixed rules.
#include <benchmark/benchmark.h>

#include <random>

#include "OrbFlowspec/translation/AclEntryCount.h"
#include "OrbFlowspec/translation/ClassMapMatchBuilder.h"

namespace {

using Flowspec::MatchCompType;
using Flowspec::NumericalRange;

Cog::Ptr<Flowspec::RuleConfig> mixedRule(int i, std::mt19937& rng) {
  bool const v6 = i % 5 == 4;
  auto rule = Cog::make<Flowspec::RuleConfig>(
      Flowspec::FlowspecKey(v6 ? Nwk::AddressFamily::ipv6 : Nwk::AddressFamily::ipv4));
  Flowspec::MatchComponent dst(MatchCompType::destinationPrefix);
  dst.prefixIs(v6 ? *Nwk::IpGenPrefix::parse("2001:db8::/48")
                  : Nwk::IpGenPrefix(Nwk::IpGenAddr::ipv4(0x0A000000u | (i & 0xFFFF) << 8), 24));
  rule->matchSetIs(dst);
  auto numeric = [&](MatchCompType type, std::uint32_t lo, std::uint32_t hi) {
    Flowspec::MatchComponent c(type);
    c.numericalRangeIs(NumericalRange(lo, hi));
    rule->matchSetIs(c);
  };
  switch (i % 4) {
    case 0:
      numeric(MatchCompType::ipProtocol, 6, 6);
      numeric(MatchCompType::destinationPort, 1024, 1024 + rng() % 2000);
      break;
    case 1:
      numeric(MatchCompType::ipProtocol, 6, 17);
      numeric(MatchCompType::port, 53, 53);
      break;
    case 2: {
      Flowspec::MatchComponent tcp(MatchCompType::tcpFlags);
      tcp.tcpBitMaskIs(Flowspec::TcpBitMask(true, 0x02, 0x12));
      rule->matchSetIs(tcp);
      numeric(MatchCompType::packetLength, 0, 64 + rng() % 1400);
      break;
    }
    default:
      numeric(MatchCompType::dscp, rng() % 60, 63);
      break;
  }
  return rule;
}

void BM_TranslateRules(benchmark::State& state) {
  std::mt19937 rng(1);
  std::vector<Cog::Ptr<Flowspec::RuleConfig>> rules;
  for (int i = 0; i < state.range(0); ++i) {
    rules.push_back(mixedRule(i, rng));
  }
  std::size_t entries = 0;
  for (auto _ : state) {
    entries = 0;
    for (auto const& rule : rules) {
      bool const v6 = rule->key().af() == Nwk::AddressFamily::ipv6;
      auto const match = Cog::make<PolicyMap::ClassMapMatch>(
          v6 ? PolicyMap::ClassMapMatchOption::matchIpv6AccessGroup
             : PolicyMap::ClassMapMatchOption::matchIpAccessGroup);
      if (v6) {
        OrbFlowspec::updateClassMapMatch<Acl::Ip6Filter>(rule, match);
      } else {
        OrbFlowspec::updateClassMapMatch<Acl::IpFilter>(rule, match);
      }
      entries += match->ipRule().size() + match->ip6Rule().size();
    }
  }
  state.counters["rules/s"] = benchmark::Counter(static_cast<double>(state.range(0)),
                                                 benchmark::Counter::kIsIterationInvariantRate);
  state.counters["entries/rule"] =
      static_cast<double>(entries) / static_cast<double>(state.range(0));
}
BENCHMARK(BM_TranslateRules)->Arg(100000)->Unit(benchmark::kMillisecond)->Iterations(1);

// The entry limit's check on the rule it exists for: 256 ICMP types x 256 codes x 64 DSCP
// values, 4.2 million entries, counted without being built.
void BM_CountEntriesOfAHugeRule(benchmark::State& state) {
  auto rule = Cog::make<Flowspec::RuleConfig>(Flowspec::FlowspecKey(Nwk::AddressFamily::ipv4));
  for (auto const& [type, hi] :
       {std::pair{MatchCompType::icmpType, 255u}, std::pair{MatchCompType::icmpCode, 255u},
        std::pair{MatchCompType::dscp, 63u}}) {
    Flowspec::MatchComponent component(type);
    component.numericalRangeIs(NumericalRange(0, hi));
    rule->matchSetIs(component);
  }
  for (auto _ : state) {
    benchmark::DoNotOptimize(OrbFlowspec::aclEntryCount(*rule));
  }
}
BENCHMARK(BM_CountEntriesOfAHugeRule);

}  // namespace
