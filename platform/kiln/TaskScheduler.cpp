#include "platform/kiln/TaskScheduler.h"

#include <thread>

#include "platform/cog/Assert.h"
#include "platform/cog/Errors.h"
#include "platform/kiln/TimerTask.h"
#include "platform/trace/Trace.h"

namespace Kiln {

namespace {
Trace::Handle gTrace("Kiln");
}  // namespace

TaskScheduler::TaskScheduler(Mode mode, Cog::Seconds startTime)
    : mode_(mode), timerWheel_(Cog::make<TimerWheel>()) {
  if (mode == Mode::simulated) {
    clock_ = std::make_unique<SimulatedClock>(toNanoseconds(startTime));
  } else {
    clock_ = std::make_unique<SteadyClock>();
  }
  Cog::System::clockIs(clock_.get());
}

TaskScheduler::~TaskScheduler() {
  if (Cog::System::clock() == clock_.get()) {
    Cog::System::clockIs(nullptr);
  }
}

Cog::Ptr<TaskScheduler> simulatedTaskSchedulerFactory(Cog::Seconds startTime) {
  return Cog::make<TaskScheduler>(TaskScheduler::Mode::simulated, startTime);
}

Cog::Ptr<TaskScheduler> steadyTaskSchedulerFactory() {
  return Cog::make<TaskScheduler>(TaskScheduler::Mode::steady, 0.0);
}

void TaskScheduler::enqueue(Task* task) {
  auto& queue = ready_[task->priority_];
  task->queuePosition_ = queue.insert(queue.end(), task);
  task->scheduled_ = true;
  ++readyCount_;
}

void TaskScheduler::dequeue(Task* task) {
  auto const it = ready_.find(task->priority_);
  it->second.erase(task->queuePosition_);
  if (it->second.empty()) {
    ready_.erase(it);
  }
  task->scheduled_ = false;
  --readyCount_;
}

bool TaskScheduler::shouldYield(Task const* task) {
  if (task != running_) {
    return false;
  }
  if (mode_ == Mode::simulated) {
    return ++workUnits_ >= workQuantum_;
  }
  return clock_->nowNs() - runStart_ >= timeQuantum_;
}

void TaskScheduler::fireDueTimers() {
  while (TimerTask* timer = timerWheel_->popDue(clock_->nowNs())) {
    timer->fired();
    timer->scheduleTask();
  }
}

bool TaskScheduler::runOneTask() {
  if (ready_.empty()) {
    return false;
  }
  Task* task = ready_.begin()->second.front();
  dequeue(task);
  struct Running {
    TaskScheduler* scheduler;
    ~Running() { scheduler->running_ = nullptr; }
  } const running{this};
  running_ = task;
  runStart_ = clock_->nowNs();
  workUnits_ = 0;
  ++taskRuns_;
  try {
    task->run();  // may destroy the task
  } catch (Cog::Error const& error) {
    TRACE(gTrace, 0, error.what());
  }
  if (mode_ == Mode::simulated && taskRunCost_ > 0) {
    advanceTo(clock_->nowNs() + taskRunCost_);
  }
  return true;
}

void TaskScheduler::runUntilIdle(std::uint64_t maxRuns) {
  std::uint64_t runs = 0;
  for (;;) {
    fireDueTimers();
    if (!runOneTask()) {
      return;
    }
    COG_ASSERT(++runs < maxRuns);
  }
}

void TaskScheduler::advanceTo(Nanoseconds time) {
  if (mode_ == Mode::simulated) {
    static_cast<SimulatedClock*>(clock_.get())->advanceTo(time);
    return;
  }
  Nanoseconds const wait = time - clock_->nowNs();
  if (wait > 0) {
    std::this_thread::sleep_for(std::chrono::nanoseconds(wait));
  }
}

void TaskScheduler::runFor(Cog::Seconds span) {
  Nanoseconds const end = clock_->nowNs() + toNanoseconds(span);
  for (;;) {
    runUntilIdle();
    auto const next = timerWheel_->earliest();
    if (!next || *next > end) {
      break;
    }
    advanceTo(*next);
  }
  advanceTo(end);
  runUntilIdle();
}

bool TaskScheduler::runUntilNoWork(Cog::Seconds limit) {
  Nanoseconds const end = clock_->nowNs() + toNanoseconds(limit);
  for (;;) {
    runUntilIdle();
    auto const next = timerWheel_->earliest();
    if (!next) {
      return true;
    }
    if (*next > end) {
      advanceTo(end);
      return false;
    }
    advanceTo(*next);
  }
}

}  // namespace Kiln
