// Throughput of the shared rule table at 100k rules: the feed's writes (encode, slot seqlock,
// change ring, futex wake) and the agent's reads (following the change ring, then reading and
// checking each changed entry). Rates are in entries per second.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "models/flowspec/RuleCodec.h"

namespace {

constexpr std::uint32_t kRules = 100000;
// Below the ring's size, so that a reader following batch by batch is never lapped.
constexpr std::uint32_t kBatch = 50000;

std::vector<Flowspec::Rule> const& rules() {
  static std::vector<Flowspec::Rule> const all = [] {
    std::vector<Flowspec::Rule> out;
    for (std::uint32_t i = 0; i < kRules; ++i) {
      Flowspec::FlowspecKey key;
      key.copyInStringValue("ipv4 dst 10." + std::to_string((i >> 8) & 255) + "." +
                            std::to_string(i & 255) +
                            ".0/24 proto =6 dport =" + std::to_string(1 + i / 65536));
      Flowspec::Rule rule;
      rule.key = Flowspec::FlowspecTidalKey(1, key);
      rule.ruleId = i + 1;
      rule.actionFieldSet = Flowspec::ActionFieldSet(Flowspec::ActionFieldSet::kDeny);
      out.push_back(rule);
    }
    return out;
  }();
  return all;
}

std::string tableName() { return "orbflowspec-tablebench-" + std::to_string(getpid()); }

void writeAll(Flowspec::RuleSet& table, std::uint64_t generation, std::uint32_t begin,
              std::uint32_t end) {
  for (std::uint32_t i = begin; i < end; ++i) {
    Flowspec::Rule rule = rules()[i];
    rule.trafficRateLimit = static_cast<float>(generation);
    table.ruleIs(rule);
  }
}

void BM_TableWrite(benchmark::State& state) {
  Tidal::SharedSegment::remove(tableName());
  auto const table = Cog::make<Flowspec::RuleSet>(
      std::make_unique<Flowspec::RuleSetWriter>(tableName(), Flowspec::ruleTableGeometry(kRules)));
  std::uint64_t generation = 0;
  for (auto _ : state) {
    writeAll(*table, ++generation, 0, kRules);
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * kRules);
  Tidal::SharedSegment::remove(tableName());
}
BENCHMARK(BM_TableWrite)->Unit(benchmark::kMillisecond);

void BM_TableFollowAndRead(benchmark::State& state) {
  Tidal::SharedSegment::remove(tableName());
  auto const table = Cog::make<Flowspec::RuleSet>(
      std::make_unique<Flowspec::RuleSetWriter>(tableName(), Flowspec::ruleTableGeometry(kRules)));
  Flowspec::RuleSetReader reader(tableName());
  std::uint64_t generation = 0;
  std::uint64_t read = 0;
  for (auto _ : state) {
    ++generation;
    for (std::uint32_t begin = 0; begin < kRules; begin += kBatch) {
      state.PauseTiming();
      writeAll(*table, generation, begin, std::min(kRules, begin + kBatch));
      state.ResumeTiming();
      reader.applyChanges([&](Flowspec::FlowspecTidalKey const& key) {
        bool corrupt = false;
        read += reader.read(key, &corrupt).has_value();
      });
    }
  }
  if (read != static_cast<std::uint64_t>(state.iterations()) * kRules) {
    state.SkipWithError("the reader missed changed entries");
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(read));
  Tidal::SharedSegment::remove(tableName());
}
BENCHMARK(BM_TableFollowAndRead)->Unit(benchmark::kMillisecond);

}  // namespace
