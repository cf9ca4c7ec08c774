#pragma once

#include "platform/kiln/Task.h"
#include "platform/kiln/TimerWheel.h"

namespace Kiln {

// A task that runs when its timer fires. When the timer fires the task is queued and runs in
// priority order like any ready task.
class TimerTask : public Task {
 public:
  using Task::Task;
  ~TimerTask() override;

  // Arms at now + delay, replacing an earlier arming (debounce).
  void scheduleTaskDelay(Cog::Seconds delay);
  // Arms at the earlier of the pending expiry and now + delay.
  void scheduleTaskLowestDelay(Cog::Seconds delay);
  void stopTimerTask();
  bool timerArmed() const { return armed_; }
  Cog::Seconds expiry() const { return toSeconds(std::get<0>(slot_)); }

 private:
  friend class TaskScheduler;
  void armAt(Nanoseconds deadline);
  void fired() { armed_ = false; }

  bool armed_ = false;
  TimerWheel::Slot slot_{};
};

}  // namespace Kiln
