// The redirect VRF index of FlowspecVrfConfigSm: redirect VRF id to the rules that redirect
// into it, so that a VRF created, renamed or deleted after its rules re-evaluates exactly them.
// Invariant: a key is in cachedRedirectVrfId with id v exactly when it is in the key set of
// the RedirectVrfId record of v, and no record has an empty key set.
#include "OrbFlowspec/config/FlowspecVrfConfigSm.h"
#include "platform/trace/Trace.h"

namespace OrbFlowspec {

namespace {
Trace::Handle gTrace("FlowspecRedirectVrfIds");
}  // namespace

void FlowspecVrfConfigSm::handleRedirectVrfId(Flowspec::FlowspecKey const& key) {
  if (!initialized()) {
    return;
  }
  doCleanupRedirectVrfId(key);
  auto const rule = in_.vrfRuleConfig->rule(key);
  if (!rule) {
    return;
  }
  VrfId const vrfId = rule->trafficRedirect().vrfId;
  if (vrfId != Vrf::VrfIdMap::kInvalidVrfId) {
    TRACE(gTrace, 5, key, ", newVrfId ", vrfId);
    redirectVrfIdIs(vrfId)->flowspecKeyIs(key);
    cachedRedirectVrfIdIs(key, vrfId);
  }
}

void FlowspecVrfConfigSm::handleRedirectVrfId() {
  for (auto const& [key, rule] : in_.vrfRuleConfig->rule()) {
    handleRedirectVrfId(key);
  }
}

void FlowspecVrfConfigSm::doCleanupRedirectVrfId(Flowspec::FlowspecKey const& key) {
  VrfId const* cached = cachedRedirectVrfId().find(key);
  if (!cached) {
    return;
  }
  VrfId const vrfId = *cached;
  cachedRedirectVrfIdDel(key);
  TRACE(gTrace, 5, "Cleanup ", key, " from vrfId ", vrfId);
  auto const record = redirectVrfId(vrfId);
  record->flowspecKeyDel(key);
  if (record->flowspecKey().empty()) {
    TRACE(gTrace, 5, "No flowspecKeys map into redirectVrfId ", vrfId);
    redirectVrfIdDel(vrfId);
  }
}

void FlowspecVrfConfigSm::handleVrf(VrfId vrfId) {
  if (!initialized()) {
    return;
  }
  TRACE(gTrace, 5, "Evaulate flowspec rules with redirectVrfId ", vrfId);
  if (auto const record = redirectVrfId(vrfId)) {
    for (auto const& key : record->flowspecKey()) {
      handleRuleConfig(key);
    }
  }
}

}  // namespace OrbFlowspec
