#pragma once

#include "platform/cog/Ptr.h"

namespace Cog {

// Base of records and state machines that reactors can watch. (Being filled in.)
class Entity : public Object {};

}  // namespace Cog
