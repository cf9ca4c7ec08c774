#pragma once

#include <cmath>
#include <cstdint>

#include "platform/cog/System.h"

namespace Kiln {

// Time inside the runtime: whole nanoseconds, so that deadlines compare exactly (in floating
// seconds, now + 0.05 armed twice need not land on the same deadline). The framework's
// Cog::Seconds converts at the API edge.
using Nanoseconds = std::int64_t;

inline Nanoseconds toNanoseconds(Cog::Seconds seconds) {
  return static_cast<Nanoseconds>(std::llround(seconds * 1e9));
}
inline Cog::Seconds toSeconds(Nanoseconds nanoseconds) {
  return static_cast<Cog::Seconds>(nanoseconds) / 1e9;
}

}  // namespace Kiln
