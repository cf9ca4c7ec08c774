#pragma once

#include <string>

namespace Cog {

// Framework strings are standard strings.
using String = std::string;

// Time in seconds of the framework clock.
using Seconds = double;

// A source of time. The task scheduler that runs the agent installs its clock here, so every
// time stamp follows simulated time in tests and the steady clock in the agent.
class Clock {
 public:
  virtual ~Clock() = default;
  virtual Seconds now() const = 0;
};

class System {
 public:
  // The current time of the installed clock; 0 when no clock is installed.
  static Seconds currentTime();
  static void clockIs(Clock const* clock);
  static Clock const* clock();
};

}  // namespace Cog
