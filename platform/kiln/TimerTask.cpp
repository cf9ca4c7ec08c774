#include "platform/kiln/TimerTask.h"

#include "platform/kiln/TaskScheduler.h"

namespace Kiln {

TimerTask::~TimerTask() { stopTimerTask(); }

void TimerTask::armAt(Nanoseconds deadline) {
  stopTimerTask();
  slot_ = scheduler().timerWheel()->arm(this, deadline);
  armed_ = true;
}

void TimerTask::scheduleTaskDelay(Cog::Seconds delay) {
  armAt(scheduler().nowNs() + toNanoseconds(delay));
}

void TimerTask::scheduleTaskLowestDelay(Cog::Seconds delay) {
  Nanoseconds const deadline = scheduler().nowNs() + toNanoseconds(delay);
  if (!armed_ || deadline < std::get<0>(slot_)) {
    armAt(deadline);
  }
}

void TimerTask::stopTimerTask() {
  if (armed_) {
    scheduler().timerWheel()->disarm(slot_);
    armed_ = false;
  }
}

}  // namespace Kiln
