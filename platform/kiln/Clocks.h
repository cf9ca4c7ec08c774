#pragma once

#include <chrono>

#include "platform/cog/System.h"

namespace Kiln {

// Time that moves only when the scheduler jumps to the next timer or is told to advance: runs
// are deterministic and a test can cover hours in milliseconds.
class SimulatedClock : public Cog::Clock {
 public:
  explicit SimulatedClock(Cog::Seconds start) : now_(start) {}
  Cog::Seconds now() const override { return now_; }
  // Monotonic: an earlier time is ignored.
  void advanceTo(Cog::Seconds time) {
    if (time > now_) {
      now_ = time;
    }
  }

 private:
  Cog::Seconds now_;
};

// The machine's monotonic clock, in seconds.
class SteadyClock : public Cog::Clock {
 public:
  Cog::Seconds now() const override {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
  }
};

}  // namespace Kiln
