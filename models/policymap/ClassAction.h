#pragma once

#include <cstddef>

#include "models/policymap/Action.h"
#include "platform/cog/Record.h"
#include "platform/cog/SharedString.h"

namespace PolicyMap {

// The actions of one class in one policy-map version, at most one per action type. The
// actions are shared objects (see Action); this record only refers to them, so deleting the
// version leaves them to their other holders.
class ClassAction : public Cog::Entity {
 public:
  explicit ClassAction(Cog::SharedString className) : className_(std::move(className)) {}
  COG_RECORD(ClassAction, (smallMap, ActionType, Cog::Ptr<Action>, policyAction, PolicyAction));

  Cog::SharedString const& className() const { return className_; }
  // Stores the action under its own type, replacing another action of that type.
  void policyActionIs(Cog::Ptr<Action> const& action) {
    policyActionIs(action->actionType(), action);
  }
  std::size_t policyActions() const { return policyAction().size(); }
  // Whether `other` holds the very same action objects.
  bool sameActions(ClassAction const& other) const {
    if (policyActions() != other.policyActions()) {
      return false;
    }
    for (auto const& [type, action] : policyAction()) {
      if (other.policyAction(type) != action) {
        return false;
      }
    }
    return true;
  }

 private:
  Cog::SharedString className_;
};

}  // namespace PolicyMap
