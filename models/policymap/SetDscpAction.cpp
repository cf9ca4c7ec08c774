#include "models/policymap/SetDscpAction.h"

namespace PolicyMap {

void SetDscpAction::dumpState(Kiln::DumpContext* ctx, int indent) const {
  Kiln::dumpf(ctx, indent, "SetDscpAction %s dscp %u id %s\n", name().c_str(),
              static_cast<unsigned>(dscp_.value()), id().toStrep().c_str());
}

}  // namespace PolicyMap
