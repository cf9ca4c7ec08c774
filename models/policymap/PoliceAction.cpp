#include "models/policymap/PoliceAction.h"

namespace PolicyMap {

void PoliceAction::dumpState(Kiln::DumpContext* ctx, int indent) const {
  Kiln::dumpf(ctx, indent, "PoliceAction %s rate %llu bps burst %llu id %s\n", name().c_str(),
              static_cast<unsigned long long>(rate_.rate),
              static_cast<unsigned long long>(rate_.burst), id().toStrep().c_str());
}

}  // namespace PolicyMap
