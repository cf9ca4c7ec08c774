#include "OrbFlowspec/config/RedirectVrfId.h"

namespace OrbFlowspec {

void RedirectVrfId::dumpState(Kiln::DumpContext* ctx, int indent) const {
  Kiln::dumpf(ctx, indent, "redirectVrfId: %u\n", redirectVrfId_);
  for (auto const& key : flowspecKey()) {
    Kiln::dumpf(ctx, indent + 2, "%s\n", key.stringValue().c_str());
  }
}

}  // namespace OrbFlowspec
