#pragma once

#include "platform/cog/Entity.h"
#include "platform/kiln/DumpContext.h"

namespace Kiln {

// Base of the system's state machines: records that write outputs and can dump their state.
class KilnBaseOutputSm : public Cog::Entity {
 public:
  virtual char const* fwkType() const { return "KilnBaseOutputSm"; }
  virtual void dumpState(DumpContext* ctx, int indent) const {
    dumpf(ctx, indent, "%s", fwkType());
  }
};

}  // namespace Kiln
