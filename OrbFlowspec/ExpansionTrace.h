#pragma once

#include "platform/trace/Trace.h"

namespace OrbFlowspec {

// The trace handle of the match expansions.
Trace::Handle& expansionTrace();

}  // namespace OrbFlowspec
