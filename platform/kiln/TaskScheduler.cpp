#include "platform/kiln/TaskScheduler.h"

#include <thread>

#include "platform/cog/Assert.h"
#include "platform/cog/Errors.h"
#include "platform/kiln/Clocks.h"
#include "platform/kiln/TimerTask.h"
#include "platform/trace/Trace.h"

namespace Kiln {

namespace {
Trace::Handle gTrace("Kiln");
}  // namespace

// ---- TimerWheel ----

TimerWheel::Slot TimerWheel::arm(TimerTask* timer, Cog::Seconds deadline) {
  Slot const slot{deadline, ++armings_, timer};
  timers_.insert(slot);
  return slot;
}

std::optional<Cog::Seconds> TimerWheel::earliest() const {
  if (timers_.empty()) {
    return std::nullopt;
  }
  return std::get<0>(*timers_.begin());
}

TimerTask* TimerWheel::popDue(Cog::Seconds now) {
  if (timers_.empty() || std::get<0>(*timers_.begin()) > now) {
    return nullptr;
  }
  TimerTask* timer = std::get<2>(*timers_.begin());
  timers_.erase(timers_.begin());
  return timer;
}

// ---- Task ----

Task::Task(Cog::Ptr<TaskScheduler> scheduler, TaskPriority priority, Cog::String name)
    : scheduler_(std::move(scheduler)), priority_(priority), name_(std::move(name)) {}

Task::Task(Cog::Ptr<TaskScheduler> scheduler, TaskPriority priority, Cog::String name,
           std::function<void()> body)
    : scheduler_(std::move(scheduler)),
      priority_(priority),
      name_(std::move(name)),
      body_(std::move(body)) {}

Task::~Task() {
  if (scheduled_) {
    scheduler_->dequeue(this);
  }
}

void Task::run() {
  if (body_) {
    body_();
  }
}

void Task::scheduleTask() {
  if (!scheduled_) {
    scheduler_->enqueue(this);
  }
}

void Task::unscheduleTask() {
  if (scheduled_) {
    scheduler_->dequeue(this);
  }
}

bool Task::taskShouldYield() { return scheduler_->shouldYield(this); }

// ---- TimerTask ----

TimerTask::~TimerTask() { stopTimerTask(); }

void TimerTask::armAt(Cog::Seconds deadline) {
  stopTimerTask();
  slot_ = scheduler().timerWheel()->arm(this, deadline);
  armed_ = true;
}

void TimerTask::scheduleTaskDelay(Cog::Seconds delay) { armAt(scheduler().now() + delay); }

void TimerTask::scheduleTaskLowestDelay(Cog::Seconds delay) {
  Cog::Seconds const deadline = scheduler().now() + delay;
  if (!armed_ || deadline < expiry()) {
    armAt(deadline);
  }
}

void TimerTask::stopTimerTask() {
  if (armed_) {
    scheduler().timerWheel()->disarm(slot_);
    armed_ = false;
  }
}

// ---- TaskScheduler ----

TaskScheduler::TaskScheduler(Mode mode, Cog::Seconds startTime)
    : mode_(mode), timerWheel_(Cog::make<TimerWheel>()) {
  if (mode == Mode::simulated) {
    clock_ = std::make_unique<SimulatedClock>(startTime);
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
  return clock_->now() - runStart_ >= timeQuantum_;
}

void TaskScheduler::fireDueTimers() {
  while (TimerTask* timer = timerWheel_->popDue(clock_->now())) {
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
  runStart_ = clock_->now();
  workUnits_ = 0;
  ++taskRuns_;
  try {
    task->run();  // may destroy the task
  } catch (Cog::Error const& error) {
    TRACE(gTrace, 0, error.what());
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

void TaskScheduler::advanceTo(Cog::Seconds time) {
  if (mode_ == Mode::simulated) {
    static_cast<SimulatedClock*>(clock_.get())->advanceTo(time);
    return;
  }
  Cog::Seconds const wait = time - clock_->now();
  if (wait > 0) {
    std::this_thread::sleep_for(std::chrono::duration<double>(wait));
  }
}

void TaskScheduler::runFor(Cog::Seconds span) {
  Cog::Seconds const end = clock_->now() + span;
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
  Cog::Seconds const end = clock_->now() + limit;
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
