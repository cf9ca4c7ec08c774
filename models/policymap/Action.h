#pragma once

#include "models/policymap/PolicyMapTypes.h"
#include "platform/cog/Entity.h"
#include "platform/cog/SharedString.h"
#include "platform/cog/System.h"
#include "platform/kiln/DumpContext.h"
#include "platform/kiln/UniqueId.h"

namespace PolicyMap {

// One action of a class: permit and deny are plain Actions, the others subclasses with their
// parameter. An action is immutable once built and shared: the builder keeps it across
// policy-map versions, and a rebuild that changes nothing attaches the very same object to the
// new version's ClassAction, so a changed parameter means a new object. Keyed by type in
// ClassAction::policyAction.
class Action : public Cog::Entity {
 public:
  Action(Cog::SharedString name, ActionType type, Kiln::UniqueId id)
      : name_(std::move(name)), actionType_(type), id_(id) {}

  Cog::SharedString const& name() const { return name_; }
  ActionType actionType() const { return actionType_; }
  // The identity of the rule (or other owner) the action was built for.
  Kiln::UniqueId const& id() const { return id_; }
  // Whether a find-or-create that meets this action asks for the same one: the same name and
  // id. The second form is the framework's check for an action kept as a child keyed by name.
  bool constructedWith(Cog::SharedString const& name, Kiln::UniqueId const& id) const {
    return name == name_ && id == id_;
  }
  bool constructedWith(ActionType type, Kiln::UniqueId const& id) const {
    return type == actionType_ && id == id_;
  }

  // One line, "Action <name> type <type> id <id>"; subclasses print their own kind and fields.
  virtual void dumpState(Kiln::DumpContext* ctx, int indent) const;

 private:
  Cog::SharedString name_;
  ActionType actionType_;
  Kiln::UniqueId id_;
};

}  // namespace PolicyMap

// The concrete actions come with the base for includers that build any of them.
#include "models/policymap/PoliceAction.h"   // IWYU pragma: export
#include "models/policymap/SetDscpAction.h"  // IWYU pragma: export
