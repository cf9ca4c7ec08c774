// The start-up progress line, on the simulated clock: when it shows, what it says each second,
// and that it ends with the work without keeping the loop busy.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "agent/Hardware.h"
#include "agent/Progress.h"
#include "agent/Scenario.h"

namespace {

using Agent::Progress;
using Agent::ProgressCounts;

TEST(Progress, ShowsOnlyForManyRulesOnATerminal) {
  EXPECT_FALSE(Progress::wanted(false, 50'000));
  EXPECT_FALSE(Progress::wanted(true, 10'000));
  EXPECT_TRUE(Progress::wanted(true, 10'001));
}

// Output with the simulated time since start at which it was written.
using Written = std::vector<std::pair<double, std::string>>;

TEST(Progress, RewritesOneLineEachSecondUntilTheWorkIsDone) {
  auto const scheduler = Kiln::simulatedTaskSchedulerFactory();
  double const start = scheduler->now();
  ProgressCounts counts;
  // The agent's work, as changes of the counts at given times.
  std::vector<std::pair<double, ProgressCounts>> const script = {
      {0.4, {4000, 0, 0}}, {1.5, {12000, 10000, 0}}, {2.3, {12000, 9999, 0}}};
  std::vector<std::unique_ptr<Kiln::TimerTask>> work;
  for (auto const& [at, next] : script) {
    work.push_back(std::make_unique<Kiln::TimerTask>(scheduler, Kiln::TaskPriority{}, "work",
                                                     [&counts, next = next] { counts = next; }));
    work.back()->scheduleTaskDelay(at);
  }
  Written written;
  Progress progress(
      scheduler, 12000, [&counts] { return counts; },
      [&](std::string const& text) { written.emplace_back(scheduler->now() - start, text); });

  EXPECT_TRUE(scheduler->runUntilNoWork(60));
  EXPECT_TRUE(progress.done());
  EXPECT_EQ(written, (Written{
                         {1.0, "\rrules: 4000/12000 digested, 0 translated, 0 installed"},
                         {2.0, "\rrules: 12000/12000 digested, 10000 translated, 0 installed"},
                         // Shorter than the line before: padded over its tail.
                         {3.0, "\rrules: 12000/12000 digested, 9999 translated, 0 installed \n"},
                     }));
  EXPECT_DOUBLE_EQ(scheduler->now() - start, 3.0);

  // Work after the start-up shows nothing.
  work.front()->scheduleTaskDelay(5);
  EXPECT_TRUE(scheduler->runUntilNoWork(60));
  EXPECT_EQ(written.size(), 3u);
}

TEST(Progress, FinishEndsALineLeftOpenWhenTheLoopStopsEarly) {
  auto const scheduler = Kiln::simulatedTaskSchedulerFactory();
  Kiln::TimerTask work(scheduler, Kiln::TaskPriority{}, "work", [] {});
  work.scheduleTaskDelay(10);
  std::string written;
  Progress progress(
      scheduler, 20000,
      [] {
        return ProgressCounts{5, 0, 0};
      },
      [&](std::string const& text) { written += text; });
  EXPECT_FALSE(scheduler->runUntilNoWork(1.5));
  progress.finish();
  EXPECT_TRUE(scheduler->runUntilNoWork(60));
  EXPECT_EQ(written, "\rrules: 5/20000 digested, 0 translated, 0 installed\n");
}

// The counts read from the records of a whole agent: a rule installed, one infeasible (digested
// only), one that translation refuses (its class-map is removed).
TEST(Progress, CountsWhatTheRecordsShow) {
  Agent::MountedRecords records;
  auto const loaded = Agent::loadScenario(R"({
    "vrfs": [{"id": 1, "name": "default"}],
    "interfaces": [{"name": "Ethernet1", "vrf": "default"}],
    "flowspec": {"interfaces": [{"name": "Ethernet1", "ipVersion": "ipv4"}]},
    "rules": [{"vrf": "default", "id": 1, "match": "ipv4 dport =80", "actions": {"deny": true}},
              {"vrf": "default", "id": 2, "match": "ipv4 dport =5&=6", "actions": {"deny": true}},
              {"vrf": "default", "id": 3, "match": "ipv4 frag =df", "actions": {"deny": true}}]
  })",
                                          records);
  ASSERT_TRUE(loaded.errors.empty());
  auto const scheduler = Kiln::simulatedTaskSchedulerFactory();
  auto const hardware = Agent::hardwareFor(records, scheduler, loaded.hardware);
  auto const flowspecSm = OrbFlowspec::flowspecSmFactory(records.mounts, hardware, scheduler,
                                                         scheduler->timerWheel(), records.ocsd);
  std::string last;
  Progress progress(
      scheduler, records.ruleSet->size(),
      [&] { return Agent::progressCounts(records, *flowspecSm); },
      [&](std::string const& text) { last = text; });
  EXPECT_TRUE(scheduler->runUntilNoWork(60));
  EXPECT_EQ(last, "\rrules: 3/3 digested, 1 translated, 1 installed\n");
}

}  // namespace
