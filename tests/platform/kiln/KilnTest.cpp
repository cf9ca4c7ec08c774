#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/cog/Assert.h"
#include "platform/cog/Errors.h"
#include "platform/kiln/DumpContext.h"
#include "platform/kiln/TaskScheduler.h"
#include "platform/kiln/TimerTask.h"
#include "platform/kiln/UniqueId.h"
#include "platform/kiln/WalkSmBase.h"
#include "platform/trace/CaptureSink.h"

namespace {

using Kiln::TaskPriority;

class SchedulerTest : public ::testing::Test {
 protected:
  Cog::Ptr<Kiln::TaskScheduler> scheduler = Kiln::simulatedTaskSchedulerFactory(1000.0);
  std::vector<std::string> log;

  std::unique_ptr<Kiln::Task> task(std::string const& name, std::uint8_t priority) {
    return std::make_unique<Kiln::Task>(scheduler, TaskPriority{priority}, name,
                                        [this, name] { log.push_back(name); });
  }
  std::unique_ptr<Kiln::TimerTask> timer(std::string const& name) {
    return std::make_unique<Kiln::TimerTask>(scheduler, TaskPriority{2}, name, [this, name] {
      log.push_back(name + "@" + std::to_string(scheduler->now() - 1000.0).substr(0, 5));
    });
  }
};

TEST_F(SchedulerTest, PriorityOrderThenFirstInFirstOut) {
  auto a = task("a", 2);
  auto b = task("b", 1);
  auto c = task("c", 2);
  a->scheduleTask();
  b->scheduleTask();
  c->scheduleTask();
  a->scheduleTask();  // already queued: no second run
  EXPECT_EQ(scheduler->readyTaskCount(), 3u);
  scheduler->runUntilIdle();
  EXPECT_EQ(log, (std::vector<std::string>{"b", "a", "c"}));
}

TEST_F(SchedulerTest, TaskRescheduledFromItsRunGoesBehindQueuedOnes) {
  int runs = 0;
  Kiln::Task* selfRef = nullptr;
  Kiln::Task self(scheduler, TaskPriority{2}, "self", [&] {
    log.push_back("self");
    if (++runs < 2) {
      selfRef->scheduleTask();
    }
  });
  selfRef = &self;
  auto other = task("other", 2);
  self.scheduleTask();
  other->scheduleTask();
  scheduler->runUntilIdle();
  EXPECT_EQ(log, (std::vector<std::string>{"self", "other", "self"}));
}

TEST_F(SchedulerTest, DelayReArmsButLowestDelayKeepsEarlierExpiry) {
  auto debounce = timer("debounce");
  auto lowest = timer("lowest");
  debounce->scheduleTaskDelay(0.05);
  lowest->scheduleTaskLowestDelay(0.05);
  scheduler->runFor(0.03);
  debounce->scheduleTaskDelay(0.05);      // now fires at 0.08
  lowest->scheduleTaskLowestDelay(0.05);  // keeps 0.05
  scheduler->runFor(0.0199);
  EXPECT_TRUE(log.empty());  // one tick before the first deadline
  scheduler->runFor(0.0001);
  EXPECT_EQ(log, (std::vector<std::string>{"lowest@0.050"}));
  scheduler->runFor(0.03);
  EXPECT_EQ(log, (std::vector<std::string>{"lowest@0.050", "debounce@0.080"}));
}

TEST_F(SchedulerTest, EqualDeadlinesFireInArmingOrderAndStoppedTimersNever) {
  auto first = timer("first");
  auto second = timer("second");
  auto stopped = timer("stopped");
  second->scheduleTaskDelay(1.0);
  first->scheduleTaskDelay(1.0);
  stopped->scheduleTaskDelay(0.5);
  stopped->stopTimerTask();
  EXPECT_EQ(scheduler->armedTimerCount(), 2u);
  EXPECT_EQ(scheduler->nextDeadline(), 1001.0);
  EXPECT_TRUE(scheduler->runUntilNoWork(10.0));
  EXPECT_EQ(log, (std::vector<std::string>{"second@1.000", "first@1.000"}));
}

TEST_F(SchedulerTest, YieldIsDeterministicUnderTheWorkQuantum) {
  scheduler->workQuantumIs(3);
  int processed = 0;
  std::vector<int> perRun;
  Kiln::Task* selfRef = nullptr;
  Kiln::Task worker(scheduler, TaskPriority{2}, "worker", [&] {
    int n = 0;
    while (processed < 10) {
      ++processed;
      ++n;
      if (selfRef->taskShouldYield()) {
        break;
      }
    }
    perRun.push_back(n);
    if (processed < 10) {
      selfRef->scheduleTask();
    }
  });
  selfRef = &worker;
  worker.scheduleTask();
  scheduler->runUntilIdle();
  EXPECT_EQ(perRun, (std::vector<int>{3, 3, 3, 1}));
  EXPECT_FALSE(worker.taskShouldYield());  // outside its run
}

TEST_F(SchedulerTest, FrameworkErrorIsTracedAndTheLoopGoesOn) {
  Kiln::Task failing(scheduler, TaskPriority{1}, "failing", [] {
    throw Cog::RangeError("NumericalRange::rangeMin > NumericalRange::rangeMax not allowed");
  });
  auto next = task("next", 2);
  failing.scheduleTask();
  next->scheduleTask();
  Trace::ScopedCapture capture;
  scheduler->runUntilIdle();
  EXPECT_EQ(log, (std::vector<std::string>{"next"}));
  ASSERT_EQ(capture->lines().size(), 1u);
  EXPECT_EQ(capture->lines()[0].level, 0);
  EXPECT_EQ(capture->lines()[0].message,
            "NumericalRange::rangeMin > NumericalRange::rangeMax not allowed");

  Kiln::Task asserting(scheduler, TaskPriority{1}, "asserting", [] { COG_ASSERT(1 == 2); });
  asserting.scheduleTask();
  EXPECT_THROW(scheduler->runUntilIdle(), Cog::AssertionError);
}

TEST_F(SchedulerTest, FrameworkClockFollowsTheScheduler) {
  EXPECT_EQ(Cog::System::currentTime(), 1000.0);
  scheduler->runFor(2.5);
  EXPECT_EQ(Cog::System::currentTime(), 1002.5);
}

TEST_F(SchedulerTest, SelfReschedulingForeverTripsTheCap) {
  Kiln::Task* selfRef = nullptr;
  Kiln::Task forever(scheduler, TaskPriority{2}, "forever", [&] { selfRef->scheduleTask(); });
  selfRef = &forever;
  forever.scheduleTask();
  EXPECT_THROW(scheduler->runUntilIdle(1000), Cog::AssertionError);
}

// Walks a vector from a bookmark, recording every event.
class VectorWalk : public Kiln::WalkSmBase {
 public:
  VectorWalk(Cog::Ptr<Kiln::TaskScheduler> scheduler, int size)
      : WalkSmBase(std::move(scheduler), TaskPriority{2}, "VectorWalk"), items(size, 0) {}

  std::vector<int> items;
  std::size_t bookmark = 0;
  std::vector<std::string> events;

 protected:
  Kiln::WalkRet walk() override {
    Kiln::WalkRet ret;
    while (bookmark < items.size()) {
      ++items[bookmark++];
      ++ret.count;
      if (mustYield()) {
        break;
      }
    }
    ret.moreWork = bookmark < items.size();
    if (!ret.moreWork) {
      bookmark = 0;
    }
    return ret;
  }
  void traceEvent(TraceEvent event) override { events.push_back(Kiln::toStrep(event)); }
};

TEST_F(SchedulerTest, WalkYieldsResumesAtBookmarkAndFinishes) {
  auto const walk = Cog::make<VectorWalk>(scheduler, 10);
  walk->quantumIs(4);
  walk->scheduleWalk();
  EXPECT_EQ(walk->walkState(), Kiln::WalkSmBase::WalkState::scheduled);
  scheduler->runUntilIdle();
  EXPECT_EQ(walk->walkState(), Kiln::WalkSmBase::WalkState::finished);
  EXPECT_EQ(walk->items, std::vector<int>(10, 1));
  EXPECT_EQ(walk->events, (std::vector<std::string>{"walkScheduled", "walkStarted", "walkYielded",
                                                    "walkYielded", "walkFinished"}));
  EXPECT_EQ(scheduler->taskRunCount(), 3u);
}

TEST_F(SchedulerTest, WalkRestartsOnlyWhenAllowed) {
  auto const walk = Cog::make<VectorWalk>(scheduler, 3);
  walk->manualTestIs(true);
  walk->scheduleWalk();
  walk->scheduleWalk();  // already scheduled
  walk->untilNoMoreWork();
  EXPECT_EQ(walk->items, std::vector<int>(3, 1));
  EXPECT_EQ(walk->walksCompleted(), 1u);
  scheduler->runUntilIdle();
  EXPECT_EQ(scheduler->taskRunCount(), 0u);  // manual walks never go on the task

  walk->manualTestIs(false);
  walk->allowWalkRestartsIs(true);
  walk->quantumIs(1);
  walk->scheduleWalk();
  walk->unpauseWalk();  // first step, then a request arrives mid-walk
  walk->scheduleWalk();
  EXPECT_EQ(walk->walkState(), Kiln::WalkSmBase::WalkState::yielded);
  scheduler->runUntilIdle();
  EXPECT_EQ(walk->walksCompleted(), 2u);  // yielded walks are not restarted: still pending
}

TEST_F(SchedulerTest, AbortedWalkRunsNoMore) {
  auto const walk = Cog::make<VectorWalk>(scheduler, 10);
  walk->quantumIs(2);
  walk->manualTestIs(true);
  walk->scheduleWalk();
  walk->unpauseWalk();
  walk->abortWalk();
  walk->untilNoMoreWork();
  scheduler->runUntilIdle();
  EXPECT_EQ(walk->walkState(), Kiln::WalkSmBase::WalkState::idle);
  EXPECT_EQ(walk->events.back(), "walkAborted");
  EXPECT_EQ(walk->items[1], 1);
  EXPECT_EQ(walk->items[2], 0);
}

TEST(KilnUniqueId, FreshAndPrintable) {
  Kiln::UniqueId const a = Kiln::UniqueId::next();
  Kiln::UniqueId const b = Kiln::UniqueId::next();
  EXPECT_NE(a, b);
  EXPECT_FALSE(Kiln::UniqueId().valid());
  EXPECT_EQ(Kiln::UniqueId(1, 42).toStrep(), "1, 42");
}

TEST(KilnDump, IndentsLinesAndFallsBackToTheTrace) {
  Kiln::DumpContext ctx;
  Kiln::dumpf(&ctx, 0, "FlowspecSm\n");
  Kiln::dumpf(&ctx, 4, "vrfId %u --> %s\n", 5u, "red");
  EXPECT_EQ(ctx.text(), "FlowspecSm\n    vrfId 5 --> red");
  Trace::ScopedCapture capture;
  Kiln::dumpf(nullptr, 4, "line %d", 7);
  ASSERT_EQ(capture->lines().size(), 1u);
  EXPECT_EQ(capture->lines()[0].message, "line 7");
}

}  // namespace
