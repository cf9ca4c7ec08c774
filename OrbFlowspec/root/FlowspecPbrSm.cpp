#include "OrbFlowspec/root/FlowspecPbrSm.h"

#include "OrbFlowspec/root/FlowspecPolicyMapSm.h"
#include "platform/trace/Trace.h"

namespace OrbFlowspec {

namespace {
Trace::Handle gTrace("FlowspecPbrSm");
}  // namespace

Cog::Ptr<PolicyMap::PolicyMapSm> FlowspecPbrSm::createPolicyMapSm(
    PolicyMap::PolicyMapSmKey const& key, Cog::Ptr<PolicyMap::PolicyMapConfig const> config,
    Cog::Ptr<PolicyMap::PolicyMapStatus> status) {
  TRACE(gTrace, 8, fwkType(), " : ", key.strDesc());
  return Cog::make<FlowspecPolicyMapSm>(globalData(), key, std::move(config), cmapTypeConfig(),
                                        std::move(status), pmapTypeConfig(), intfConfig(),
                                        timerWheel());
}

void FlowspecPbrSm::hasNotificationActiveIs(bool active) {
  if (ocsdReactor_) {
    ocsdReactor_->notificationActiveIs(active);
  }
  Orb::OrbPbrSm::hasNotificationActiveIs(active);
}

}  // namespace OrbFlowspec
