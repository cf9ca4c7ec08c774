#pragma once

#include "models/policymap/PolicyMapSubConfig.h"
#include "models/policymap/PolicyMapTypes.h"
#include "platform/cog/Record.h"
#include "platform/kiln/UniqueId.h"

namespace PolicyMap {

// A policy-map: its versions and the one in use. A change is published by building a new
// version, selecting it with currCfgIs in one step, and deleting the old one; currCfg keeps
// the selected version alive even if it is deleted from `subconfig` first.
class PolicyMapConfig : public Cog::Entity {
 public:
  PolicyMapConfig(Cog::String name, MapType mapType) : name_(std::move(name)), mapType_(mapType) {}
  COG_RECORD(PolicyMapConfig,
             (orderedChildren, Kiln::UniqueId, PolicyMapSubConfig, subconfig, Subconfig),
             (ptr, PolicyMapSubConfig, currCfg, CurrCfg));

  Cog::String const& name() const { return name_; }
  MapType mapType() const { return mapType_; }
  bool constructedWith(MapType mapType) const { return mapType == mapType_; }
  // Finds or creates the version `version`, named `name`.
  Cog::Ptr<PolicyMapSubConfig> subconfigIs(Cog::String const& name, Kiln::UniqueId version) {
    return subconfigIs(version, name);
  }

 private:
  Cog::String name_;
  MapType mapType_;
};

}  // namespace PolicyMap
