#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <tuple>

#include "platform/cog/Ptr.h"
#include "platform/kiln/Nanoseconds.h"

namespace Kiln {

class TimerTask;

// The armed timers of one scheduler, in the order they fire: by deadline, and by arming order
// among equal deadlines.
class TimerWheel : public Cog::Object {
 public:
  using Slot = std::tuple<Nanoseconds, std::uint64_t, TimerTask*>;

  // Arms `timer` at `deadline`, replacing its earlier arming; returns the slot to disarm with.
  Slot arm(TimerTask* timer, Nanoseconds deadline);
  void disarm(Slot const& slot) { timers_.erase(slot); }
  std::optional<Nanoseconds> earliest() const;
  // The earliest timer due at `now` (removed from the wheel), or null.
  TimerTask* popDue(Nanoseconds now);
  std::size_t size() const { return timers_.size(); }

 private:
  std::set<Slot> timers_;
  std::uint64_t armings_ = 0;
};

}  // namespace Kiln
