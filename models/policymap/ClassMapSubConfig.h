#pragma once

#include "models/policymap/ClassMapMatch.h"
#include "platform/cog/Record.h"
#include "platform/kiln/UniqueId.h"

namespace PolicyMap {

// One version of a class-map's content: its matches by option. Built completely before
// ClassMapConfig::currCfgIs selects it.
class ClassMapSubConfig : public Cog::Entity {
 public:
  ClassMapSubConfig(Kiln::UniqueId version, Cog::String name)
      : version_(version), name_(std::move(name)) {}
  COG_RECORD(ClassMapSubConfig,
             (orderedChildren, ClassMapMatchOption, ClassMapMatch, match, Match));

  Kiln::UniqueId const& version() const { return version_; }
  Cog::String const& name() const { return name_; }
  bool constructedWith(Cog::String const& name) const { return name == name_; }

 private:
  Kiln::UniqueId version_;
  Cog::String name_;
};

}  // namespace PolicyMap
