#pragma once

#include "models/policymap/ClassMapSubConfig.h"
#include "platform/cog/Record.h"
#include "platform/cog/SharedString.h"
#include "platform/kiln/UniqueId.h"

namespace PolicyMap {

// A class-map: its versions, the one in use (switched like PolicyMapConfig's), and the
// policies whose classes use it. Flowspec names a class-map after its rule's match, so policies
// (VRFs) with the same rule share one; the last user to leave removes it.
class ClassMapConfig : public Cog::Entity {
 public:
  explicit ClassMapConfig(Cog::SharedString name) : name_(std::move(name)) {}
  COG_RECORD(ClassMapConfig,
             (smallChildren, Kiln::UniqueId, ClassMapSubConfig, subconfig, Subconfig),
             (ptr, ClassMapSubConfig, currCfg, CurrCfg), (smallSet, Cog::String, user, User));

  Cog::SharedString const& name() const { return name_; }
  // Finds or creates the version `version`, named `name`.
  Cog::Ptr<ClassMapSubConfig> subconfigIs(Cog::SharedString const& name, Kiln::UniqueId version) {
    return subconfigIs(version, name);
  }

 private:
  Cog::SharedString name_;
};

}  // namespace PolicyMap
