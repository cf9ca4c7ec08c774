#include "platform/kiln/TimerWheel.h"

namespace Kiln {

TimerWheel::Slot TimerWheel::arm(TimerTask* timer, Nanoseconds deadline) {
  Slot const slot{deadline, ++armings_, timer};
  timers_.insert(slot);
  return slot;
}

std::optional<Nanoseconds> TimerWheel::earliest() const {
  if (timers_.empty()) {
    return std::nullopt;
  }
  return std::get<0>(*timers_.begin());
}

TimerTask* TimerWheel::popDue(Nanoseconds now) {
  if (timers_.empty() || std::get<0>(*timers_.begin()) > now) {
    return nullptr;
  }
  TimerTask* timer = std::get<2>(*timers_.begin());
  timers_.erase(timers_.begin());
  return timer;
}

}  // namespace Kiln
