#pragma once

#include "models/policymap/Action.h"
#include "models/policymap/PolicyMapTypes.h"
#include "platform/cog/Record.h"
#include "platform/kiln/UniqueId.h"

namespace PolicyMap {

// The actions of one class in one policy-map version.
class ClassAction : public Cog::Entity {
 public:
  explicit ClassAction(Cog::String className) : className_(std::move(className)) {}
  COG_RECORD(ClassAction, (orderedMap, ActionType, Cog::Ptr<Action>, policyAction, PolicyAction));
  Cog::String const& className() const { return className_; }
  // Adds the action under its type.
  void policyActionIs(Cog::Ptr<Action> const& action) {
    policyActionIs(action->actionType(), action);
  }
  std::size_t policyActions() const { return policyAction().size(); }

 private:
  Cog::String className_;
};

// One version of a policy-map: its classes by priority and their actions.
class PolicyMapSubConfig : public Cog::Entity {
 public:
  PolicyMapSubConfig(Kiln::UniqueId version, Cog::String name)
      : version_(version), name_(std::move(name)) {}
  COG_RECORD(PolicyMapSubConfig,
             (orderedMap, ClassPriority, Cog::String, classPrio, ClassPrio),
             (hashChildren, Cog::String, ClassAction, classAction, ClassAction));
  Kiln::UniqueId const& version() const { return version_; }
  Cog::String const& name() const { return name_; }

 private:
  Kiln::UniqueId version_;
  Cog::String name_;
};

// A policy-map: its versions and the one in use, switched in one step.
class PolicyMapConfig : public Cog::Entity {
 public:
  PolicyMapConfig(Cog::String name, MapType mapType) : name_(std::move(name)), mapType_(mapType) {}
  COG_RECORD(PolicyMapConfig,
             (orderedChildren, Kiln::UniqueId, PolicyMapSubConfig, subconfig, Subconfig),
             (ptr, PolicyMapSubConfig, currCfg, CurrCfg));
  Cog::String const& name() const { return name_; }
  MapType mapType() const { return mapType_; }
  bool constructedWith(MapType mapType) const { return mapType == mapType_; }
  Cog::Ptr<PolicyMapSubConfig> subconfigIs(Cog::String const& name, Kiln::UniqueId version) {
    return subconfigIs(version, name);
  }

 private:
  Cog::String name_;
  MapType mapType_;
};

}  // namespace PolicyMap
