// The platform's hot paths: notification dispatch, collection changes and task switches.
#include <benchmark/benchmark.h>

#include <memory>
#include <vector>

#include "platform/cog/Record.h"
#include "platform/kiln/TaskScheduler.h"
#include "platform/kiln/TimerTask.h"

namespace {

class Counter : public Cog::Entity {
 public:
  COG_RECORD(Counter, (value, std::uint64_t, count, Count),
             (hashMap, std::uint32_t, std::uint32_t, entry, Entry));
};

class Watcher : public Counter::Reactor {
 public:
  using Counter::Reactor::Reactor;
  void handleCount() override { ++seen; }
  void handleEntry(std::uint32_t const&) override { ++seen; }
  std::uint64_t seen = 0;
};

// One setter call notifying `range(0)` reactors.
void BM_NotificationDispatch(benchmark::State& state) {
  auto counter = Cog::make<Counter>();
  std::vector<std::unique_ptr<Watcher>> watchers;
  for (int i = 0; i < state.range(0); ++i) {
    watchers.push_back(std::make_unique<Watcher>(counter));
  }
  std::uint64_t value = 0;
  for (auto _ : state) {
    counter->countIs(++value);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
  state.counters["notifications/s"] = benchmark::Counter(
      static_cast<double>(state.iterations() * state.range(0)), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_NotificationDispatch)->Arg(1)->Arg(4);

// Keyed changes: insert then delete, each notifying one reactor.
void BM_KeyedChange(benchmark::State& state) {
  auto counter = Cog::make<Counter>();
  Watcher watcher(counter);
  std::uint32_t key = 0;
  for (auto _ : state) {
    counter->entryIs(key, key);
    counter->entryDel(key);
    ++key;
  }
  state.SetItemsProcessed(state.iterations() * 2);
}
BENCHMARK(BM_KeyedChange);

// Tasks that reschedule each other: one task switch per item.
void BM_TaskSwitch(benchmark::State& state) {
  auto scheduler = Kiln::simulatedTaskSchedulerFactory();
  std::vector<std::unique_ptr<Kiln::Task>> tasks;
  std::uint64_t remaining = 0;
  for (int i = 0; i < 8; ++i) {
    tasks.push_back(std::make_unique<Kiln::Task>(scheduler, Kiln::TaskPriority{2}, "bench"));
  }
  auto body = [&](std::size_t i) {
    if (remaining > 0) {
      --remaining;
      tasks[(i + 1) % tasks.size()]->scheduleTask();
    }
  };
  for (std::size_t i = 0; i < tasks.size(); ++i) {
    tasks[i] = std::make_unique<Kiln::Task>(scheduler, Kiln::TaskPriority{2}, "bench",
                                            [&body, i] { body(i); });
  }
  for (auto _ : state) {
    remaining = 10000;
    tasks[0]->scheduleTask();
    scheduler->runUntilIdle();
  }
  state.counters["switches/s"] = benchmark::Counter(static_cast<double>(state.iterations() * 10001),
                                                    benchmark::Counter::kIsRate);
}
BENCHMARK(BM_TaskSwitch);

// Timers armed and fired through the wheel.
void BM_TimerFire(benchmark::State& state) {
  auto scheduler = Kiln::simulatedTaskSchedulerFactory();
  std::uint64_t fired = 0;
  std::vector<std::unique_ptr<Kiln::TimerTask>> timers;
  for (int i = 0; i < 1000; ++i) {
    timers.push_back(std::make_unique<Kiln::TimerTask>(scheduler, Kiln::TaskPriority{2}, "t",
                                                       [&fired] { ++fired; }));
  }
  for (auto _ : state) {
    for (std::size_t i = 0; i < timers.size(); ++i) {
      timers[i]->scheduleTaskDelay(0.001 * static_cast<double>(i % 97));
    }
    scheduler->runUntilNoWork(1.0);
  }
  state.counters["timers/s"] =
      benchmark::Counter(static_cast<double>(fired), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_TimerFire);

}  // namespace
