#pragma once

#include "platform/cog/Record.h"

namespace Acl {

// One component that a line card cannot match, written by the data plane: its qualifier
// entries, whose values are qualifier names such as "l4-src-port" (the keys are the data
// plane's own).
class UnsupportedComponent : public Cog::Entity {
 public:
  explicit UnsupportedComponent(Cog::String name) : name_(std::move(name)) {}
  COG_RECORD(UnsupportedComponent, (orderedMap, Cog::String, Cog::String, qualifier, Qualifier));

  Cog::String const& name() const { return name_; }

 private:
  Cog::String name_;
};

}  // namespace Acl
