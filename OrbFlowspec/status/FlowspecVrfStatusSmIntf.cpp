// Interface installation tracking of FlowspecVrfStatusSm: mirrors the per-interface installed
// states of the VRF's policy into the VRF rule status and condenses each address family into
// the status that stands in for rules whose class-map reports nothing.
#include "OrbFlowspec/status/FlowspecVrfStatusSm.h"
#include "platform/trace/Trace.h"

namespace OrbFlowspec {

namespace {
Trace::Handle gTrace("FlowspecVrfStatusSmIntf");
using Flowspec::HwRuleProgrammingStatus;
using PolicyMap::ClassMapMatchOption;
using PolicyMap::InstalledState;
}  // namespace

Nwk::AddressFamily FlowspecVrfStatusSm::addressFamilyFor(ClassMapMatchOption matchOption) {
  switch (matchOption) {
    case ClassMapMatchOption::matchIpAccessGroup:
      return Nwk::AddressFamily::ipv4;
    case ClassMapMatchOption::matchIpv6AccessGroup:
      return Nwk::AddressFamily::ipv6;
  }
  return Nwk::AddressFamily::none;
}

void FlowspecVrfStatusSm::handleIntfStatus() {
  if (!initialized()) {
    return;
  }
  TRACE(gTrace, 7, "handleIntfStatus");
  for (auto const& [intfId, status] : in_.pmapStatus->intfStatus()) {
    handleIntfStatus(intfId, ClassMapMatchOption::matchIpAccessGroup);
    handleIntfStatus(intfId, ClassMapMatchOption::matchIpv6AccessGroup);
  }
}

void FlowspecVrfStatusSm::handleIntfStatus(Nwk::IntfId const& intfId,
                                           ClassMapMatchOption matchOption) {
  if (!initialized()) {
    return;
  }
  auto const record = in_.pmapStatus->intfStatus(intfId);
  auto const af = addressFamilyFor(matchOption);
  if (af == Nwk::AddressFamily::none) {
    TRACE(gTrace, 2, "Unexpected match option ", matchOption, " for ", intfId);
    return;
  }
  InstalledState state = InstalledState::unknown;
  Cog::String errorText;
  if (record) {
    if (auto const* installed = record->installed().find(matchOption)) {
      state = installed->state;
      errorText = installed->errorText;
    }
  }
  auto& vrfRuleStatus = *in_.vrfRuleStatus;
  Flowspec::IntfErrorKey const key(intfId, af);
  if (state == InstalledState::failed) {
    TRACE(gTrace, 4, "Recording error for ", key);
    vrfRuleStatus.intfErrorIs(key, errorText);
  } else {
    TRACE(gTrace, 4, "Cleanup error for ", key);
    vrfRuleStatus.intfErrorDel(key);
  }
  if (state == InstalledState::installed) {
    TRACE(gTrace, 4, "Recording active interface ", intfId, " for ", Nwk::toStrep(af));
    vrfRuleStatus.activeIntfPerAfIs(af)->intfIs(intfId);
  } else {
    TRACE(gTrace, 4, "Cleanup active interface coll for ", Nwk::toStrep(af), ",", intfId);
    auto const coll = vrfRuleStatus.activeIntfPerAfIs(af);
    coll->intfDel(intfId);
    if (coll->intf().empty()) {
      TRACE(gTrace, 4, "Cleanup empty interface coll for ", Nwk::toStrep(af));
      vrfRuleStatus.activeIntfPerAfDel(af);
    }
  }
  updateAfInstalled(af, intfId, state);
}

void FlowspecVrfStatusSm::updateAfInstalled(Nwk::AddressFamily af, Nwk::IntfId const& intfId,
                                            InstalledState state) {
  if (state == InstalledState::installed) {
    TRACE(gTrace, 4, "Recording interface ", intfId, " in success collection");
    auto const installed = intfInstalledIs(af);
    installed->intfSuccessIs(intfId);
    installed->intfFailureDel(intfId);
  } else if (state == InstalledState::failed) {
    TRACE(gTrace, 4, "Recording interface ", intfId, " in failure collection");
    auto const installed = intfInstalledIs(af);
    installed->intfSuccessDel(intfId);
    installed->intfFailureIs(intfId);
  } else if (auto const installed = intfInstalled(af)) {
    TRACE(gTrace, 4, "Cleanup interface ", intfId, " from installed collection");
    installed->intfSuccessDel(intfId);
    installed->intfFailureDel(intfId);
    if (installed->isEmpty()) {
      TRACE(gTrace, 4, "Cleanup intf installed collection for ", Nwk::toStrep(af));
      intfInstalledDel(af);
    }
  }
  auto const installed = intfInstalled(af);
  Status status = HwRuleProgrammingStatus::hwStatusPartiallyInstalled;
  if (!installed) {
    status = HwRuleProgrammingStatus::hwStatusNotInstalled;
  } else if (installed->allSuccess()) {
    status = HwRuleProgrammingStatus::hwStatusInstalled;
  } else if (installed->allFailure()) {
    status = HwRuleProgrammingStatus::hwStatusFailed;
  }
  TRACE(gTrace, 4, "Status code for all ", Nwk::toStrep(af), " rules is ", status);
  afInstalledIs(af, status);
}

}  // namespace OrbFlowspec
