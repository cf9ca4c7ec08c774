#pragma once

#include <chrono>

#include "platform/cog/System.h"
#include "platform/kiln/Nanoseconds.h"

namespace Kiln {

// A clock of the runtime: whole nanoseconds inside, seconds for the framework.
class Clock : public Cog::Clock {
 public:
  virtual Nanoseconds nowNs() const = 0;
  Cog::Seconds now() const final { return toSeconds(nowNs()); }
};

// Time that moves only when the scheduler jumps to the next timer or is told to advance: runs
// are deterministic and a test can cover hours in milliseconds.
class SimulatedClock : public Clock {
 public:
  explicit SimulatedClock(Nanoseconds start) : now_(start) {}
  Nanoseconds nowNs() const override { return now_; }
  // Monotonic: an earlier time is ignored.
  void advanceTo(Nanoseconds time) {
    if (time > now_) {
      now_ = time;
    }
  }

 private:
  Nanoseconds now_;
};

// The machine's monotonic clock.
class SteadyClock : public Clock {
 public:
  Nanoseconds nowNs() const override {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
  }
};

}  // namespace Kiln
