#pragma once

#include "models/policymap/Action.h"

namespace PolicyMap {

// Marks a class's traffic with a DSCP value; immutable and shared like every Action.
class SetDscpAction : public Action {
 public:
  SetDscpAction(Cog::SharedString name, Kiln::UniqueId id, Dscp dscp)
      : Action(std::move(name), ActionType::actionSetDscp, id), dscp_(dscp) {}

  Dscp const& dscp() const { return dscp_; }
  // As a child keyed by name: the same id and value.
  using Action::constructedWith;
  bool constructedWith(Kiln::UniqueId const& id, Dscp const& dscp) const {
    return id == this->id() && dscp == dscp_;
  }

  // Action:
  // "SetDscpAction <name> dscp <value> id <id>".
  void dumpState(Kiln::DumpContext* ctx, int indent) const override;

 private:
  Dscp dscp_;
};

}  // namespace PolicyMap
