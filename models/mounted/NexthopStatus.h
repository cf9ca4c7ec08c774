#pragma once

#include "models/mounted/NexthopKey.h"
#include "platform/cog/Record.h"

namespace Orb {

// Whether each wanted next hop resolved, written by the resolver. Mounted read-only.
class NexthopStatus : public Cog::Entity {
 public:
  explicit NexthopStatus(Cog::String name) : name_(std::move(name)) {}
  COG_RECORD(NexthopStatus, (orderedMap, NexthopKey, bool, resolved, Resolved));

  Cog::String const& name() const { return name_; }

 private:
  Cog::String name_;
};

}  // namespace Orb
