#include "OrbFlowspec/config/ActionContainer.h"

namespace OrbFlowspec {

Cog::Ptr<ActionContainer> actionContainerFactory(Flowspec::FlowspecKey const& flowspecKey) {
  return Cog::make<ActionContainer>(flowspecKey);
}

Cog::Ptr<PolicyMap::Action> ActionContainer::actionIs(Cog::SharedString const& name,
                                                      PolicyMap::ActionType type,
                                                      Kiln::UniqueId const& id) {
  if (auto existing = action(type)) {
    if (!existing->constructedWith(name, id)) {
      throw Cog::ReinstantiationError("action");
    }
    return existing;
  }
  auto created = Cog::make<PolicyMap::Action>(name, type, id);
  actionIs(type, created);
  return created;
}

Cog::Ptr<Pbr::PbrFwdAction> ActionContainer::redirectActionIs(Cog::SharedString const& name,
                                                              Kiln::UniqueId const& id,
                                                              Pbr::PbrActionType type) {
  if (!redirectAction_ || redirectAction_->name() != name || !(redirectAction_->id() == id) ||
      redirectAction_->pbrActionType() != type) {
    redirectAction_ = Cog::make<Pbr::PbrFwdAction>(name, id, type);
  }
  return redirectAction_;
}

Cog::Ptr<PolicyMap::PoliceAction> ActionContainer::policeActionIs(
    Cog::SharedString const& name, Kiln::UniqueId const& id, PolicyMap::PoliceRate const& rate) {
  if (!policeAction_ || policeAction_->name() != name || !(policeAction_->id() == id) ||
      !(policeAction_->rate() == rate)) {
    policeAction_ = Cog::make<PolicyMap::PoliceAction>(name, id, rate);
  }
  return policeAction_;
}

Cog::Ptr<PolicyMap::SetDscpAction> ActionContainer::setDscpActionIs(Cog::SharedString const& name,
                                                                    Kiln::UniqueId const& id,
                                                                    PolicyMap::Dscp const& dscp) {
  if (!setDscpAction_ || setDscpAction_->name() != name || !(setDscpAction_->id() == id) ||
      !(setDscpAction_->dscp() == dscp)) {
    setDscpAction_ = Cog::make<PolicyMap::SetDscpAction>(name, id, dscp);
  }
  return setDscpAction_;
}

void ActionContainer::dumpState(Kiln::DumpContext* ctx, int indent) const {
  Kiln::dumpf(ctx, indent, "%s\n", flowspecKey_.stringValue().c_str());
  if (redirectAction_) {
    redirectAction_->dumpState(ctx, indent + 2);
  }
  if (policeAction_) {
    policeAction_->dumpState(ctx, indent + 2);
  }
}

}  // namespace OrbFlowspec
