#pragma once

#include "models/policymap/ClassMapMatch.h"
#include "platform/cog/Record.h"
#include "platform/cog/SharedString.h"
#include "platform/kiln/UniqueId.h"

namespace PolicyMap {

// One version of a class-map's content: its matches by option. Built completely before
// ClassMapConfig::currCfgIs selects it.
class ClassMapSubConfig : public Cog::Entity {
 public:
  ClassMapSubConfig(Kiln::UniqueId version, Cog::SharedString name)
      : version_(version), name_(std::move(name)) {}
  COG_RECORD(ClassMapSubConfig, (smallChildren, ClassMapMatchOption, ClassMapMatch, match, Match));

  Kiln::UniqueId const& version() const { return version_; }
  Cog::SharedString const& name() const { return name_; }
  bool constructedWith(Cog::SharedString const& name) const { return name == name_; }

 private:
  Kiln::UniqueId version_;
  Cog::SharedString name_;
};

}  // namespace PolicyMap
