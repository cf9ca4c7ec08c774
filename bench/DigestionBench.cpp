// Raw rules digested per second through the walk, for a table of mixed rule shapes.
#include <benchmark/benchmark.h>

#include <string>

#include "OrbFlowspec/digestion/RuleSetSm.h"
#include "platform/kiln/TaskScheduler.h"

namespace {

std::string ruleText(int i) {
  std::string const dst =
      "dst 10." + std::to_string((i >> 8) & 255) + "." + std::to_string(i & 255) + ".0/24";
  switch (i % 6) {
    case 0:
      return "ipv4 " + dst + " proto =6 dport =" + std::to_string(1 + i % 60000);
    case 1:
      return "ipv4 " + dst + " proto =17 sport >=1024&<=" + std::to_string(1024 + i % 4000) +
             "|=53";
    case 2:
      return "ipv4 " + dst + " tcp-flags =syn&!ack len <=" + std::to_string(64 + i % 1400);
    case 3:
      return "ipv4 " + dst + " dscp =" + std::to_string(i % 64) + " frag isf";
    case 4:
      return "ipv4 " + dst + " port !=" + std::to_string(i % 60000) + " icmp-code <5";
    default:
      return "ipv6 dst 2001:db8:" + std::to_string(i % 9999) + "::/48 dport >" +
             std::to_string(i % 60000) + "&<65000";
  }
}

void BM_DigestThroughWalk(benchmark::State& state) {
  auto ruleSet = Cog::make<Flowspec::RuleSet>();
  for (int i = 0; i < state.range(0); ++i) {
    Flowspec::FlowspecKey key;
    key.copyInStringValue(ruleText(i));
    Flowspec::Rule rule;
    rule.key = Flowspec::FlowspecTidalKey(1 + i % 8, key);
    rule.ruleId = static_cast<std::uint64_t>(i);
    rule.actionFieldSet = Flowspec::ActionFieldSet(Flowspec::ActionFieldSet::kDeny);
    ruleSet->ruleIs(rule);
  }
  for (auto _ : state) {
    state.PauseTiming();
    auto scheduler = Kiln::simulatedTaskSchedulerFactory();
    auto config = Cog::make<Flowspec::Config>();
    state.ResumeTiming();
    auto walker = OrbFlowspec::ruleSetSmFactory(scheduler, ruleSet, config);
    scheduler->runUntilIdle();
    state.PauseTiming();
    walker = nullptr;
    config = nullptr;
    state.ResumeTiming();
  }
  state.counters["rules/s"] = benchmark::Counter(static_cast<double>(state.range(0)),
                                                 benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(BM_DigestThroughWalk)->Arg(100000)->Unit(benchmark::kMillisecond)->Iterations(1);

}  // namespace
