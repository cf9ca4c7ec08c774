#pragma once

#include "models/policymap/PolicyMapTypes.h"
#include "platform/cog/Record.h"
#include "platform/kiln/DumpContext.h"
#include "platform/kiln/UniqueId.h"

namespace PolicyMap {

// One action of a class. Actions are shared between policy-map versions: a rebuild that
// changes nothing attaches the same objects again.
class Action : public Cog::Entity {
 public:
  Action(Cog::String name, ActionType type, Kiln::UniqueId id)
      : name_(std::move(name)), actionType_(type), id_(id) {}

  Cog::String const& name() const { return name_; }
  ActionType actionType() const { return actionType_; }
  Kiln::UniqueId const& id() const { return id_; }
  bool constructedWith(Cog::String const& name, Kiln::UniqueId const& id) const {
    return name == name_ && id == id_;
  }
  virtual void dumpState(Kiln::DumpContext* ctx, int indent) const;

 private:
  Cog::String name_;
  ActionType actionType_;
  Kiln::UniqueId id_;
};

// Polices the class's traffic to a rate.
class PoliceAction : public Action {
 public:
  PoliceAction(Cog::String name, Kiln::UniqueId id, PoliceRate rate)
      : Action(std::move(name), ActionType::actionPolice, id), rate_(rate) {}
  PoliceRate const& rate() const { return rate_; }
  void dumpState(Kiln::DumpContext* ctx, int indent) const override;

 private:
  PoliceRate rate_;
};

// Marks the class's traffic with a DSCP value.
class SetDscpAction : public Action {
 public:
  SetDscpAction(Cog::String name, Kiln::UniqueId id, Dscp dscp)
      : Action(std::move(name), ActionType::actionSetDscp, id), dscp_(dscp) {}
  Dscp const& dscp() const { return dscp_; }
  void dumpState(Kiln::DumpContext* ctx, int indent) const override;

 private:
  Dscp dscp_;
};

}  // namespace PolicyMap
