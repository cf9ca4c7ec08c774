// The class actions of FlowspecVrfConfigSm: every policy-map rebuild gives each rule's class a
// fresh ClassAction and fills it from the rule's action field set, reusing the action objects
// kept in the rule's ActionContainer.
#include <cmath>
#include <limits>

#include "OrbFlowspec/config/FlowspecVrfConfigSm.h"
#include "models/l3name/VrfName.h"
#include "platform/cog/Assert.h"
#include "platform/trace/Trace.h"

namespace OrbFlowspec {

namespace {

Trace::Handle gTrace("FlowspecClassActions");

// The police rate in bits per second: bytes per second times eight, clamped to the 64-bit range
// before truncation; a rate that is not a number counts as 0.
std::uint64_t policeRateBits(float bytesPerSecond) {
  double const bits = static_cast<double>(bytesPerSecond) * 8.0;
  if (!(bits > 0.0)) {
    return 0;
  }
  if (bits >= 18446744073709551616.0) {  // 2^64
    return std::numeric_limits<std::uint64_t>::max();
  }
  return static_cast<std::uint64_t>(bits);
}

// The identity of an action in the new policy-map version: the stored action's when it already
// says what the rule asks, so that it is attached again as it is; a fresh one otherwise, so that
// the action is built anew and the version in use, which holds the stored one, is never edited.
template <class A, class Same>
Kiln::UniqueId actionId(Cog::Ptr<A> const& stored, Same const& same) {
  return stored && same(*stored) ? stored->id() : Kiln::UniqueId::next();
}

}  // namespace

void FlowspecVrfConfigSm::updateClassAction(
    Flowspec::FlowspecKey const& key, Cog::Ptr<PolicyMap::ClassAction> const& classAction,
    Cog::Ptr<Flowspec::RuleConfig const> const& ruleConfig) {
  Cog::SharedString const& className = classAction->className();
  COG_ASSERT(!ruleConfig->actionFieldSet().invalid());
  COG_ASSERT(classAction->policyActions() == 0);
  TRACE(gTrace, 5, "className ", className);
  auto const container = classActionContainerIs(key);
  Flowspec::ActionFieldSet const actions = ruleConfig->actionFieldSet();

  if (actions.permit()) {
    TRACE(gTrace, 5, "Adding permit action");
    classAction->policyActionIs(
        container->actionIs(className, PolicyMap::ActionType::actionPermit, container->id()));
  } else {
    container->actionDel(PolicyMap::ActionType::actionPermit);
  }
  if (actions.deny()) {
    TRACE(gTrace, 5, "Adding deny action");
    classAction->policyActionIs(
        container->actionIs(className, PolicyMap::ActionType::actionDeny, container->id()));
  } else {
    container->actionDel(PolicyMap::ActionType::actionDeny);
  }
  if (actions.redirect()) {
    addRedirectAction(*ruleConfig, className, *container, *classAction);
  } else {
    container->redirectActionDel();
  }
  if (actions.police()) {
    TRACE(gTrace, 5, "Adding police action rate ", ruleConfig->trafficRateLimit());
    PolicyMap::PoliceRate const rate{policeRateBits(ruleConfig->trafficRateLimit()), 0};
    auto const id = actionId(container->policeAction(), [&](PolicyMap::PoliceAction const& police) {
      return police.rate() == rate;
    });
    classAction->policyActionIs(container->policeActionIs(className, id, rate));
  } else {
    container->policeActionDel();
  }
  if (actions.dscp()) {
    std::uint8_t const dscp = ruleConfig->trafficMarkingDscp().value();
    if (dscp < 64) {
      PolicyMap::Dscp const value(dscp);
      auto const id =
          actionId(container->setDscpAction(),
                   [&](PolicyMap::SetDscpAction const& set) { return set.dscp() == value; });
      auto const action = container->setDscpActionIs(className, id, value);
      TRACE(gTrace, 5, "Adding dscp action with value ", dscp);
      classAction->policyActionIs(action);
    } else {
      TRACE(gTrace, 5, "Value of dscp is out of range");
      container->setDscpActionDel();
    }
  } else {
    container->setDscpActionDel();
  }
}

// Redirects into the rule's VRF, to its next hop there or, when the rule names none, through
// the VRF's default route. A VRF that does not exist yet drops the redirect until it appears
// (its id is indexed, so the rule is re-evaluated then).
void FlowspecVrfConfigSm::addRedirectAction(Flowspec::RuleConfig const& rule,
                                            Cog::SharedString const& className,
                                            ActionContainer& container,
                                            PolicyMap::ClassAction& classAction) {
  // The invalid id names no VRF, even if a hostile VRF table holds an entry under it: such a
  // redirect is never indexed, so it could not follow that entry's changes.
  Vrf::VrfIdMap::VrfId const vrfId = rule.trafficRedirect().vrfId;
  Vrf::VrfIdMap::VrfEntry const entry = vrfId == Vrf::VrfIdMap::kInvalidVrfId
                                            ? Vrf::VrfIdMap::VrfEntry()
                                            : in_.vrfIdStatus->vrfEntry(vrfId);
  if (entry == Vrf::VrfIdMap::VrfEntry()) {
    container.redirectActionDel();
    return;
  }
  std::optional<L3::VrfName> vrfName;
  try {
    vrfName.emplace(entry.name);
  } catch (Cog::RangeError const& error) {
    // A VRF name from the table that the record refuses: the other actions still apply.
    TRACE(gTrace, 0, error.what());
    container.redirectActionDel();
    return;
  }
  Nwk::AddressFamily const af = rule.key().af();
  Nwk::IpGenAddr address = rule.trafficRedirect().address;
  if (address.isZero()) {
    TRACE(gTrace, 5, "Using default route in af ", af);
    address = Nwk::IpGenAddr::zero(af);
  } else {
    TRACE(gTrace, 5, "Using ruleConfig redirect address");
  }
  auto const id = actionId(container.redirectAction(), [&](Pbr::PbrFwdAction const& stored) {
    return stored.vrfName() == *vrfName && stored.nexthop().size() == 1 &&
           stored.nexthop().contains(address);
  });
  auto const redirect =
      container.redirectActionIs(className, id, Pbr::PbrActionType::pbrActionForward);
  redirect->vrfNameIs(*vrfName);
  redirect->recursiveIs(true);
  redirect->allowResolutionByDefaultIs(true);
  redirect->allowResolutionOverTunnelIs(true);
  TRACE(gTrace, 5, "Adding redirect to <vrf,ip>: <", entry.name, ",", address, "> action");
  redirect->nexthopIs(address, true);
  classAction.policyActionIs(redirect);
}

}  // namespace OrbFlowspec
