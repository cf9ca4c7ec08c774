#include "models/policymap/Action.h"

namespace PolicyMap {

void Action::dumpState(Kiln::DumpContext* ctx, int indent) const {
  Kiln::dumpf(ctx, indent, "Action %s type %s id %s\n", name_.c_str(), actionTypeText(actionType_),
              id_.toStrep().c_str());
}

}  // namespace PolicyMap
