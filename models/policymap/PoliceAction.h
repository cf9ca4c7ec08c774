#pragma once

#include "models/policymap/Action.h"

namespace PolicyMap {

// Polices a class's traffic to a rate; immutable and shared like every Action.
class PoliceAction : public Action {
 public:
  PoliceAction(Cog::SharedString name, Kiln::UniqueId id, PoliceRate rate)
      : Action(std::move(name), ActionType::actionPolice, id), rate_(rate) {}

  PoliceRate const& rate() const { return rate_; }
  // As a child keyed by name: the same id and rate.
  using Action::constructedWith;
  bool constructedWith(Kiln::UniqueId const& id, PoliceRate const& rate) const {
    return id == this->id() && rate == rate_;
  }

  // Action:
  // "PoliceAction <name> rate <bps> bps burst <burst> id <id>".
  void dumpState(Kiln::DumpContext* ctx, int indent) const override;

 private:
  PoliceRate rate_;
};

}  // namespace PolicyMap
