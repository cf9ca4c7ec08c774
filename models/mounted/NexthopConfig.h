#pragma once

#include "models/mounted/NexthopKey.h"
#include "platform/cog/Record.h"

namespace Orb {

// The next hops that forwarding actions want resolved; written by the policy programming
// machinery, read by the resolver.
class NexthopConfig : public Cog::Entity {
 public:
  explicit NexthopConfig(Cog::String name) : name_(std::move(name)) {}
  COG_RECORD(NexthopConfig, (orderedSet, NexthopKey, nexthop, Nexthop));

  Cog::String const& name() const { return name_; }

 private:
  Cog::String name_;
};

}  // namespace Orb
