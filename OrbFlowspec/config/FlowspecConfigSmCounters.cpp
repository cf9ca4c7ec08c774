// The counter update of FlowspecConfigSm. Counters are not read continuously: a request from
// the command line is stamped on every flowspec policy that has a status, the programming
// machinery answers each with a counter update time, and once every policy has answered the
// rule statuses are written in a single pass.
#include <vector>

#include "OrbFlowspec/config/FlowspecConfigSm.h"
#include "platform/cog/Assert.h"
#include "platform/trace/Trace.h"

namespace OrbFlowspec {

namespace {
Trace::Handle gTrace("FlowspecConfigSmCounters");
}  // namespace

Flowspec::HwRuleProgrammingStatus FlowspecConfigSm::ruleStatusCodeFrom(
    PolicyMap::OperationProgress progress) {
  switch (static_cast<unsigned>(progress)) {
    case 0:
    case 1:
    case 2:
      return Flowspec::HwRuleProgrammingStatus::hwStatusNotInstalled;
    case 3:
      return Flowspec::HwRuleProgrammingStatus::hwStatusInstalled;
    case 4:
      return Flowspec::HwRuleProgrammingStatus::hwStatusFailed;
    default:
      break;
  }
  COG_ASSERT(false && "Unexpected reach of control");
  return Flowspec::HwRuleProgrammingStatus::hwStatusNotInstalled;
}

void FlowspecConfigSm::handleCounterUpdateRequest() {
  if (!initialized()) {
    return;
  }
  TRACE(gTrace, 4, "requestTime: ", in_.flowspecCliConfig->counterUpdateRequestTime());
  // Every policy is pending before the first is stamped: a policy that answered at this very
  // time already is taken off at once by its stamp, and must not end the request early.
  std::vector<Cog::String> policies;
  for (auto const& [name, pmap] : in_.pmapTypeConfig->pmap()) {
    if (pmapStatus(name)) {
      policies.push_back(name);
      counterUpdatePendingIs(name);
    }
  }
  Cog::Seconds const now = Cog::System::currentTime();
  for (auto const& name : policies) {
    if (in_.pmapTypeConfig->counterUpdateRequestTime(name) == now) {
      // A stamp equal to the last one notifies nobody: the policy's answer to it stands.
      handleCounterUpdate(name);
    } else {
      in_.pmapTypeConfig->counterUpdateRequestTimeIs(name, now);
    }
  }
  if (counterUpdatePending().empty()) {
    updateFlowspecCounter();
  }
}

void FlowspecConfigSm::handleCounterUpdate(Cog::String const& policyName) {
  if (!initialized()) {
    return;
  }
  Cog::String const name = policyName;  // the key may belong to an entry removed below
  auto const status = in_.pmapTypeStatus->pmapStatus(name);
  double const requestTime = in_.pmapTypeConfig->counterUpdateRequestTime(name);
  if (!status || requestTime == 0.0) {
    TRACE(gTrace, 4, "CounterUpdateReq or pmapStatus is not found for ", name);
    counterUpdatePendingDel(name);
  } else {
    TRACE(gTrace, 4, name, " counterUpdateReqTime ", requestTime, ", counterUpdateTime ",
          status->counterUpdateTime());
    if (status->counterUpdateTime() >= requestTime) {
      counterUpdatePendingDel(name);
    }
  }
  TRACE(gTrace, 4, "counterUpdatePending policies #", counterUpdatePending().size());
  if (counterUpdatePending().empty()) {
    updateFlowspecCounter();
  }
}

void FlowspecConfigSm::updateFlowspecCounter() {
  COG_ASSERT(counterUpdatePendings() == 0);
  auto& status = *in_.flowspecStatus;
  if (in_.flowspecCliConfig->counterUpdateRequestTime() < status.counterUpdateTime()) {
    TRACE(gTrace, 4, "Request already handled.");
    return;
  }
  TRACE(gTrace, 4, "Counter update begins.");
  Pbr::ResolvedNexthopInfo const resolved(Pbr::NexthopSet{"default", {}});
  for (auto const& [vrfId, vrfRuleStatus] : status.vrfRuleStatus()) {
    Cog::String const* cached = vrfIdToNameCache().find(vrfId);
    Cog::String const vrfName = cached ? *cached : Cog::String();
    auto const policyStatus = in_.pmapTypeStatus->pmapStatus(vrfName);
    if (!policyStatus) {
      TRACE(gTrace, 4, "PolicyMapStatus not found for ", vrfName);
      continue;
    }
    for (auto const& [key, ruleStatus] : vrfRuleStatus->ruleStatus()) {
      Cog::String const className = key.stringValue();
      auto const classStatus = policyStatus->cmap(className);
      if (!classStatus) {
        TRACE(gTrace, 4, "ClassMapStatus not found for ", className);
        continue;
      }
      ruleStatus->versionIs(classStatus->version());
      ruleStatus->packetCountIs(classStatus->packetCount());
      ruleStatus->resolvedNexthopInfoIs(resolved);
    }
  }
  TRACE(gTrace, 4, "Counter update complete.");
  status.counterUpdateTimeIs(Cog::System::currentTime());
}

}  // namespace OrbFlowspec
