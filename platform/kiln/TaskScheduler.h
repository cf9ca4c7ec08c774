#pragma once

#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <optional>

#include "platform/cog/Ptr.h"
#include "platform/cog/System.h"
#include "platform/kiln/Clocks.h"
#include "platform/kiln/Task.h"
#include "platform/kiln/TimerWheel.h"

namespace Kiln {

// Runs tasks and timers on the agent's one thread: ready tasks by priority, first-in first-out
// among equals; timers from the timer wheel by (deadline, arming order). The clock is
// injected: simulated (time jumps to the next timer; the quantum is a count of work so runs
// are deterministic) or steady (the quantum is time). A scheduler installs its clock as the
// framework clock while it exists.
//
// A framework error (Cog::Error) thrown out of a task is traced at level 0 with its text and
// the scheduler goes on; assertions are not caught.
class TaskScheduler : public Cog::Object {
 public:
  enum class Mode { simulated, steady };

  TaskScheduler(Mode mode, Cog::Seconds startTime);
  ~TaskScheduler() override;

  Mode mode() const { return mode_; }
  Cog::Seconds now() const { return clock_->now(); }
  Nanoseconds nowNs() const { return clock_->nowNs(); }
  Cog::Ptr<TimerWheel> const& timerWheel() const { return timerWheel_; }

  // Runs ready tasks, and timers already due, until nothing is ready; never moves time. A task
  // rescheduling itself forever trips the cap.
  void runUntilIdle(std::uint64_t maxRuns = 10'000'000);
  // Runs for `span` of time, firing the timers due on the way.
  void runFor(Cog::Seconds span);
  // Runs until no task is ready and no timer armed (true), or until `limit` has passed
  // (false).
  bool runUntilNoWork(Cog::Seconds limit);

  std::size_t readyTaskCount() const { return readyCount_; }
  std::size_t armedTimerCount() const { return timerWheel_->size(); }
  std::optional<Cog::Seconds> nextDeadline() const {
    auto const earliest = timerWheel_->earliest();
    return earliest ? std::optional<Cog::Seconds>(toSeconds(*earliest)) : std::nullopt;
  }
  std::uint64_t taskRunCount() const { return taskRuns_; }

  void workQuantumIs(std::uint32_t units) { workQuantum_ = units; }
  // Under simulated time, how far each task run moves the clock (none by default): timers then
  // fall due between the runs of long work, as they do under a real clock on a busy machine.
  void taskRunCostIs(Cog::Seconds cost) { taskRunCost_ = toNanoseconds(cost); }
  void timeQuantumIs(Cog::Seconds quantum) { timeQuantum_ = toNanoseconds(quantum); }

 private:
  friend class Task;

  void enqueue(Task* task);
  void dequeue(Task* task);
  bool shouldYield(Task const* task);
  void fireDueTimers();
  bool runOneTask();
  void advanceTo(Nanoseconds time);

  Mode mode_;
  std::unique_ptr<Clock> clock_;
  Cog::Ptr<TimerWheel> timerWheel_;
  std::map<TaskPriority, std::list<Task*>> ready_;
  std::size_t readyCount_ = 0;
  Task const* running_ = nullptr;
  Nanoseconds runStart_ = 0;
  std::uint32_t workUnits_ = 0;
  std::uint32_t workQuantum_ = 100;
  Nanoseconds taskRunCost_ = 0;
  Nanoseconds timeQuantum_ = 10'000'000;
  std::uint64_t taskRuns_ = 0;
};

Cog::Ptr<TaskScheduler> simulatedTaskSchedulerFactory(Cog::Seconds startTime = 1000.0);
Cog::Ptr<TaskScheduler> steadyTaskSchedulerFactory();

}  // namespace Kiln
