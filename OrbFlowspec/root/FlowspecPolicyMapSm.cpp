#include "OrbFlowspec/root/FlowspecPolicyMapSm.h"

#include "platform/trace/Trace.h"

namespace OrbFlowspec {

namespace {
Trace::Handle gTrace("FlowspecPolicyMapSm");
}  // namespace

void FlowspecPolicyMapSm::handleClassMap(Cog::SharedString const& name) {
  TRACE(gTrace, 8, fwkType(), " name:", name, " no-op");
}

}  // namespace OrbFlowspec
