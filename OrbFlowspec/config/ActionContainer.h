#pragma once

#include "models/flowspec/FlowspecKey.h"
#include "models/pbr/PbrFwdAction.h"
#include "models/policymap/Action.h"
#include "platform/cog/Record.h"
#include "platform/kiln/DumpContext.h"

namespace OrbFlowspec {

// The action objects of one rule's class, kept across policy-map rebuilds so that a rebuild
// with unchanged actions attaches the very same objects. Every action of the rule carries the
// container's identity, fixed at creation; a single action is replaced only when its name,
// identity or parameter changes.
class ActionContainer : public Cog::Entity {
 public:
  explicit ActionContainer(Flowspec::FlowspecKey flowspecKey)
      : flowspecKey_(std::move(flowspecKey)), id_(Kiln::UniqueId::next()) {}

  COG_RECORD(ActionContainer,
             (smallMap, PolicyMap::ActionType, Cog::Ptr<PolicyMap::Action>, action, Action));

  Flowspec::FlowspecKey const& flowspecKey() const { return flowspecKey_; }
  // The identity given to every action of this rule.
  Kiln::UniqueId const& id() const { return id_; }

  // The permit or deny action of `type`, created as Action(name, type, id) when absent; asking
  // again with another name or id is a reinstantiation error.
  Cog::Ptr<PolicyMap::Action> actionIs(Cog::SharedString const& name, PolicyMap::ActionType type,
                                       Kiln::UniqueId const& id);

  Cog::Ptr<Pbr::PbrFwdAction> const& redirectAction() const { return redirectAction_; }
  Cog::Ptr<Pbr::PbrFwdAction> redirectActionIs(Cog::SharedString const& name,
                                               Kiln::UniqueId const& id, Pbr::PbrActionType type);
  void redirectActionDel() { redirectAction_ = nullptr; }

  Cog::Ptr<PolicyMap::PoliceAction> const& policeAction() const { return policeAction_; }
  Cog::Ptr<PolicyMap::PoliceAction> policeActionIs(Cog::SharedString const& name,
                                                   Kiln::UniqueId const& id,
                                                   PolicyMap::PoliceRate const& rate);
  void policeActionDel() { policeAction_ = nullptr; }

  Cog::Ptr<PolicyMap::SetDscpAction> const& setDscpAction() const { return setDscpAction_; }
  Cog::Ptr<PolicyMap::SetDscpAction> setDscpActionIs(Cog::SharedString const& name,
                                                     Kiln::UniqueId const& id,
                                                     PolicyMap::Dscp const& dscp);
  void setDscpActionDel() { setDscpAction_ = nullptr; }

  void dumpState(Kiln::DumpContext* ctx, int indent) const;

 private:
  Flowspec::FlowspecKey flowspecKey_;
  Kiln::UniqueId id_;
  Cog::Ptr<Pbr::PbrFwdAction> redirectAction_;
  Cog::Ptr<PolicyMap::PoliceAction> policeAction_;
  Cog::Ptr<PolicyMap::SetDscpAction> setDscpAction_;
};

Cog::Ptr<ActionContainer> actionContainerFactory(Flowspec::FlowspecKey const& flowspecKey);

}  // namespace OrbFlowspec
