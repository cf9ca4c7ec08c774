#pragma once

#include <set>

#include "models/mounted/NexthopKey.h"
#include "platform/cog/Record.h"

namespace Orb {

using NexthopKeySet = std::set<NexthopKey>;

// Next-hop groups by name: the next hops that one forwarding action spreads traffic over.
// Written by the policy programming machinery.
class NexthopGroupConfig : public Cog::Entity {
 public:
  explicit NexthopGroupConfig(Cog::String name) : name_(std::move(name)) {}
  COG_RECORD(NexthopGroupConfig, (orderedMap, Cog::String, NexthopKeySet, group, Group));

  Cog::String const& name() const { return name_; }

 private:
  Cog::String name_;
};

}  // namespace Orb
