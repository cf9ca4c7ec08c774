#include "platform/cog/System.h"

namespace Cog {

namespace {
Clock const* gClock = nullptr;
}  // namespace

Seconds System::currentTime() { return gClock ? gClock->now() : 0.0; }

void System::clockIs(Clock const* clock) { gClock = clock; }

Clock const* System::clock() { return gClock; }

}  // namespace Cog
