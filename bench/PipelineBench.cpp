// The whole pipeline on generated rule sets, as the agent runs it but under the simulated clock
// (timers jump; the work is real): loading a scenario, from raw rules in the table to every
// class-map, policy-map and rule status written and the hardware model programmed, one rule
// changed among all of them, and tearing it all down. Arguments: profile, rules.
#include <benchmark/benchmark.h>
#include <malloc.h>

#include <map>
#include <memory>
#include <string>
#include <utility>

#include "OrbFlowspec/root/FlowspecSm.h"
#include "agent/Hardware.h"
#include "agent/Scenario.h"
#include "bench/profiles/Profile.h"
#include "platform/kiln/TaskScheduler.h"

namespace {

constexpr std::uint64_t kSeed = 1;

std::string const& scenarioText(std::int64_t profile, std::int64_t rules) {
  static std::map<std::pair<std::int64_t, std::int64_t>, std::string> texts;
  auto& text = texts[{profile, rules}];
  if (text.empty()) {
    text = Bench::profileScenario(static_cast<Bench::Profile>(profile),
                                  static_cast<std::size_t>(rules), kSeed);
  }
  return text;
}

// Bytes the allocator has handed out and not got back.
double heapInUse() { return static_cast<double>(mallinfo2().uordblks); }

struct Pipeline {
  explicit Pipeline(std::string const& text) : loaded(Agent::loadScenario(text, records)) {}

  void start() {
    hardware = Agent::hardwareFor(records, scheduler, loaded.hardware);
    root = OrbFlowspec::flowspecSmFactory(records.mounts, hardware, scheduler,
                                          scheduler->timerWheel(), records.ocsd);
  }
  void settle() { scheduler->runUntilNoWork(24 * 3600.0); }

  Cog::Ptr<Kiln::TaskScheduler> scheduler = Kiln::simulatedTaskSchedulerFactory();
  Agent::MountedRecords records;
  Agent::ScenarioResult loaded;
  Cog::Ptr<Pbr::HardwareModel> hardware;
  Cog::Ptr<OrbFlowspec::FlowspecSm> root;
};

void label(benchmark::State& state) {
  state.SetLabel(Bench::profileName(static_cast<Bench::Profile>(state.range(0))));
  state.counters["rules"] = static_cast<double>(state.range(1));
}

// Parsing and validating a scenario into the records.
void BM_LoadScenario(benchmark::State& state) {
  std::string const& text = scenarioText(state.range(0), state.range(1));
  for (auto _ : state) {
    Agent::MountedRecords records;
    benchmark::DoNotOptimize(Agent::loadScenario(text, records));
    state.PauseTiming();
    records = Agent::MountedRecords();
    state.ResumeTiming();
  }
  label(state);
}

// From raw rules in the table to the hardware programmed and every status written. bytes/rule
// is what the whole system holds per rule at the end, the loaded raw rules included.
void BM_Pipeline(benchmark::State& state) {
  std::string const& text = scenarioText(state.range(0), state.range(1));
  for (auto _ : state) {
    state.PauseTiming();
    double const before = heapInUse();
    auto pipeline = std::make_unique<Pipeline>(text);
    if (!pipeline->loaded.errors.empty()) {
      state.SkipWithError(pipeline->loaded.errors.front().c_str());
      break;
    }
    state.ResumeTiming();
    pipeline->start();
    pipeline->settle();
    state.PauseTiming();
    state.counters["bytes/rule"] =
        (heapInUse() - before) / static_cast<double>(pipeline->loaded.rules);
    pipeline.reset();
    state.ResumeTiming();
  }
  label(state);
}

// One rule's action changed among all: its new policy version built and programmed.
void BM_OneRuleChanged(benchmark::State& state) {
  Pipeline pipeline(scenarioText(state.range(0), state.range(1)));
  pipeline.start();
  pipeline.settle();
  Flowspec::Rule rule = pipeline.records.ruleSet->rule(*pipeline.records.ruleSet->firstKey());
  for (auto _ : state) {
    rule.actionFieldSet =
        Flowspec::ActionFieldSet(rule.actionFieldSet.deny() ? Flowspec::ActionFieldSet::kPermit
                                                            : Flowspec::ActionFieldSet::kDeny);
    pipeline.records.ruleSet->ruleIs(rule);
    pipeline.settle();
  }
  label(state);
}

// One rule withdrawn, then announced again, by turns: the VRF's list of classes changes, so its
// priorities and the machinery's class records are built anew.
void BM_OneRuleWithdrawnOrAnnounced(benchmark::State& state) {
  Pipeline pipeline(scenarioText(state.range(0), state.range(1)));
  pipeline.start();
  pipeline.settle();
  Flowspec::Rule const rule = pipeline.records.ruleSet->rule(*pipeline.records.ruleSet->firstKey());
  bool present = true;
  for (auto _ : state) {
    if (present) {
      pipeline.records.ruleSet->ruleDel(rule.key);
    } else {
      pipeline.records.ruleSet->ruleIs(rule);
    }
    present = !present;
    pipeline.settle();
  }
  label(state);
}

// Destroying the state machines, the hardware model and the records.
void BM_Teardown(benchmark::State& state) {
  std::string const& text = scenarioText(state.range(0), state.range(1));
  for (auto _ : state) {
    state.PauseTiming();
    auto pipeline = std::make_unique<Pipeline>(text);
    pipeline->start();
    pipeline->settle();
    state.ResumeTiming();
    pipeline.reset();
  }
  label(state);
}

void profiles(benchmark::internal::Benchmark* b) {
  for (std::int64_t const profile : {0, 1, 2}) {
    for (std::int64_t const rules : {1000, 10000, 100000}) {
      b->Args({profile, rules});
    }
  }
  b->ArgNames({"profile", "rules"})->Unit(benchmark::kMillisecond);
}

BENCHMARK(BM_LoadScenario)->Apply(profiles)->Iterations(1)->Repetitions(3);
BENCHMARK(BM_Pipeline)->Apply(profiles)->Iterations(1)->Repetitions(3);
BENCHMARK(BM_OneRuleChanged)->Apply(profiles)->Iterations(50);
BENCHMARK(BM_OneRuleWithdrawnOrAnnounced)->Apply(profiles)->Iterations(60);
BENCHMARK(BM_Teardown)->Apply(profiles)->Iterations(1);
// Linearity: 300k rules of each profile, only when asked for by name.
BENCHMARK(BM_Pipeline)
    ->Name("BM_Pipeline300k")
    ->Args({0, 300000})
    ->Args({1, 300000})
    ->Args({2, 300000})
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1);

}  // namespace
