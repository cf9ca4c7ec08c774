// Policy-map rebuild time per VRF size, and end-to-end time from raw rules in the table to the
// last policy-map built, under the simulated clock (timers jump; the work is real).
#include <benchmark/benchmark.h>

#include <fstream>
#include <memory>
#include <string>

#include "OrbFlowspec/config/FlowspecVrfConfigSm.h"
#include "tests/OrbFlowspec/support/StackHarness.h"

namespace {

using OrbFlowspecTest::StackHarness;

// A mix of rule shapes: prefixes, ports, protocol ranges, flags, lengths and DSCP.
std::string ruleText(int i) {
  std::string const dst =
      "ipv4 dst 10." + std::to_string((i >> 8) & 255) + "." + std::to_string(i & 255) + ".0/24";
  switch (i % 5) {
    case 0:
      return dst + " proto =6 dport =" + std::to_string(1 + i % 60000);
    case 1:
      return dst + " proto =17 sport >=1024&<=" + std::to_string(1024 + i % 4000);
    case 2:
      return dst + " tcp-flags =syn&!ack len <=" + std::to_string(64 + i % 1400);
    case 3:
      return dst + " dscp =" + std::to_string(i % 64) + " frag isf";
    default:
      return "ipv6 dst 2001:db8:" + std::to_string(i % 9999) +
             "::/48 dport =" + std::to_string(1 + i % 60000);
  }
}

void loadRules(StackHarness& stack, int count) {
  for (int i = 0; i < count; ++i) {
    stack.ruleIs(5, ruleText(i), static_cast<std::uint64_t>(i));
  }
}

// handlePolicy alone on a VRF of n classes (class-maps already built).
void BM_HandlePolicy(benchmark::State& state) {
  StackHarness stack;
  stack.vrfIs(5, "red");
  stack.start();
  loadRules(stack, static_cast<int>(state.range(0)));
  stack.settle();
  auto const sm = stack.root->flowspecConfigSm()->flowspecVrfConfigSm("red");
  for (auto _ : state) {
    sm->handlePolicy();
  }
  state.counters["classes"] = static_cast<double>(state.range(0));
}
BENCHMARK(BM_HandlePolicy)
    ->Arg(1000)
    ->Arg(10000)
    ->Arg(100000)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3);

// Resident memory of the process, from /proc (0 where it cannot be read).
double residentBytes() {
  std::ifstream statm("/proc/self/statm");
  double pages = 0;
  double resident = 0;
  statm >> pages >> resident;
  return resident * 4096.0;
}

// From raw rules in the table to the last policy-map built: digestion, class-maps, rebuild.
void BM_EndToEnd(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    auto stack = std::make_unique<StackHarness>();
    stack->vrfIs(5, "red");
    loadRules(*stack, static_cast<int>(state.range(0)));
    double const before = residentBytes();
    state.ResumeTiming();
    stack->start();
    stack->settle();
    state.PauseTiming();
    // What the system adds per rule: digested rules, class-maps, policy, statuses.
    state.counters["bytes/rule"] = (residentBytes() - before) / static_cast<double>(state.range(0));
    stack.reset();
    state.ResumeTiming();
  }
  state.counters["rules"] = static_cast<double>(state.range(0));
  state.counters["rules/s"] = benchmark::Counter(static_cast<double>(state.range(0)),
                                                 benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(BM_EndToEnd)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond)->Iterations(1);

}  // namespace
