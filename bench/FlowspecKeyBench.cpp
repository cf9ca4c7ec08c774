// Throughput of the rule key operations the system leans on: the canonical text (class-map
// names), parsing it back, hashing and precedence comparison (map keys), copying, and the raw
// table key conversion, over a mix of realistic rules and random keys.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <random>
#include <set>
#include <string>
#include <unordered_set>
#include <vector>

#include "models/flowspec/FlowspecKey.h"
#include "models/flowspec/FlowspecTidalKey.h"
#include "platform/trace/RingBuffer.h"
#include "platform/trace/Trace.h"
#include "tests/models/flowspec/KeyGenerator.h"

namespace {

using Flowspec::FlowspecKey;

// Rules as operators write them: a destination per rule and a few common shapes.
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
      return "ipv4 " + dst + " src 192.0.2.0/24 port !=" + std::to_string(i % 60000);
    default:
      return "ipv6 dst 2001:db8:" + std::to_string(i % 9999) + "::/48 dport >" +
             std::to_string(i % 60000) + "&<65000";
  }
}

// Three realistic rules to one random (odd operator bytes, long lists) one.
std::vector<FlowspecKey> const& mixedKeys() {
  static std::vector<FlowspecKey> const keys = [] {
    std::vector<FlowspecKey> out;
    FlowspecTest::KeyGenerator gen(1);
    for (int i = 0; i < 4096; ++i) {
      if (i % 4 == 3) {
        out.push_back(gen.next());
      } else {
        FlowspecKey key;
        key.copyInStringValue(ruleText(i));
        out.push_back(key);
      }
    }
    return out;
  }();
  return keys;
}

void setRate(benchmark::State& state, char const* name) {
  state.counters[name] =
      benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}

void BM_StringValue(benchmark::State& state) {
  auto const& keys = mixedKeys();
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(keys[i++ % keys.size()].stringValue());
  }
  setRate(state, "keys/s");
}
BENCHMARK(BM_StringValue);

void BM_Parse(benchmark::State& state) {
  std::vector<std::string> texts;
  for (auto const& key : mixedKeys()) {
    texts.push_back(key.stringValue());
  }
  std::size_t i = 0;
  std::string error;
  for (auto _ : state) {
    benchmark::DoNotOptimize(FlowspecKey::parse(texts[i++ % texts.size()], &error));
  }
  setRate(state, "keys/s");
}
BENCHMARK(BM_Parse);

void BM_Hash(benchmark::State& state) {
  auto const& keys = mixedKeys();
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(keys[i++ % keys.size()].hash());
  }
  setRate(state, "keys/s");
}
BENCHMARK(BM_Hash);

// Random pairs: mostly settled by the family or the first component.
void BM_LessRandomPairs(benchmark::State& state) {
  auto const& keys = mixedKeys();
  std::mt19937 rng(2);
  std::vector<std::pair<std::size_t, std::size_t>> pairs;
  for (int i = 0; i < 4096; ++i) {
    pairs.emplace_back(rng() % keys.size(), rng() % keys.size());
  }
  std::size_t i = 0;
  for (auto _ : state) {
    auto const& [a, b] = pairs[i++ % pairs.size()];
    benchmark::DoNotOptimize(keys[a] < keys[b]);
  }
  setRate(state, "compares/s");
}
BENCHMARK(BM_LessRandomPairs);

// Neighbours in precedence order: the comparison runs deep into the components, as it does
// near the leaves of an ordered map.
void BM_LessNeighbours(benchmark::State& state) {
  std::vector<FlowspecKey> keys = mixedKeys();
  std::sort(keys.begin(), keys.end());
  std::size_t i = 0;
  for (auto _ : state) {
    std::size_t const a = i++ % (keys.size() - 1);
    benchmark::DoNotOptimize(keys[a] < keys[a + 1]);
  }
  setRate(state, "compares/s");
}
BENCHMARK(BM_LessNeighbours);

void BM_Copy(benchmark::State& state) {
  auto const& keys = mixedKeys();
  std::size_t i = 0;
  for (auto _ : state) {
    FlowspecKey copy = keys[i++ % keys.size()];
    benchmark::DoNotOptimize(copy);
  }
  setRate(state, "keys/s");
}
BENCHMARK(BM_Copy);

// Building the containers the system keeps keys in, state.range(0) keys each.
std::vector<FlowspecKey> manyKeys(int count) {
  std::vector<FlowspecKey> out;
  for (int i = 0; i < count; ++i) {
    FlowspecKey key;
    key.copyInStringValue(ruleText(i));
    out.push_back(key);
  }
  return out;
}

void BM_OrderedSetInsert(benchmark::State& state) {
  auto const keys = manyKeys(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    std::set<FlowspecKey> set(keys.begin(), keys.end());
    benchmark::DoNotOptimize(set.size());
  }
  state.counters["keys/s"] = benchmark::Counter(static_cast<double>(state.range(0)),
                                                benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(BM_OrderedSetInsert)->Arg(100000)->Unit(benchmark::kMillisecond);

// Finding every key of a set of them in random order: the precedence comparison as an ordered
// lookup uses it, each hit ending in comparisons of equal keys.
void BM_OrderedSetFind(benchmark::State& state) {
  auto keys = manyKeys(static_cast<int>(state.range(0)));
  std::set<FlowspecKey> const set(keys.begin(), keys.end());
  std::shuffle(keys.begin(), keys.end(), std::mt19937(3));
  for (auto _ : state) {
    for (auto const& key : keys) {
      benchmark::DoNotOptimize(set.find(key));
    }
  }
  state.counters["keys/s"] = benchmark::Counter(static_cast<double>(state.range(0)),
                                                benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(BM_OrderedSetFind)->Arg(100000)->Unit(benchmark::kMillisecond);

void BM_HashedSetInsert(benchmark::State& state) {
  auto const keys = manyKeys(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    std::unordered_set<FlowspecKey> set(keys.begin(), keys.end());
    benchmark::DoNotOptimize(set.size());
  }
  state.counters["keys/s"] = benchmark::Counter(static_cast<double>(state.range(0)),
                                                benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(BM_HashedSetInsert)->Arg(100000)->Unit(benchmark::kMillisecond);

void BM_TidalKeyToKey(benchmark::State& state) {
  std::vector<Flowspec::FlowspecTidalKey> tidal;
  for (auto const& key : mixedKeys()) {
    tidal.emplace_back(1, key);
  }
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(tidal[i++ % tidal.size()].getFlowspecKey());
  }
  setRate(state, "keys/s");
}
BENCHMARK(BM_TidalKeyToKey);

// A trace message with a rule key that only the ring buffer takes (the default for levels 1 to
// 5): formatted when traced, as the ring used to keep it, against encoded and formatted only when
// the ring is read.
Trace::Handle gBenchTrace("FlowspecKeyBench");

void BM_TraceKeyFormattedIntoRing(benchmark::State& state) {
  auto const& keys = mixedKeys();
  std::size_t i = 0;
  for (auto _ : state) {
    FlowspecKey const& key = keys[i++ % keys.size()];
    Trace::ringBuffer().append(0, 5, "f", Trace::concat("Processing rule ", key, " prio ", i));
  }
  setRate(state, "messages/s");
}
BENCHMARK(BM_TraceKeyFormattedIntoRing);

void BM_TraceKeyEncodedIntoRing(benchmark::State& state) {
  auto const& keys = mixedKeys();
  gBenchTrace.textLevelIs(0);
  std::size_t i = 0;
  for (auto _ : state) {
    FlowspecKey const& key = keys[i++ % keys.size()];
    TRACE(gBenchTrace, 5, "Processing rule ", key, " prio ", i);
  }
  setRate(state, "messages/s");
}
BENCHMARK(BM_TraceKeyEncodedIntoRing);

}  // namespace
