#pragma once

#include <cstdint>

#include "platform/cog/Record.h"

namespace Orb {

// The hardware id of each programmed next-hop group, by group name; a group without an entry
// is not programmed. Mounted read-only.
class NexthopGroupStatus : public Cog::Entity {
 public:
  explicit NexthopGroupStatus(Cog::String name) : name_(std::move(name)) {}
  COG_RECORD(NexthopGroupStatus, (orderedMap, Cog::String, std::uint32_t, groupId, GroupId));

  Cog::String const& name() const { return name_; }

 private:
  Cog::String name_;
};

}  // namespace Orb
