#pragma once

#include "platform/cog/Record.h"
#include "platform/cog/System.h"

namespace Cog {

// A named directory of records, for example the routing information of every VRF.
class Dir : public Entity {
 public:
  explicit Dir(String name) : name_(std::move(name)) {}
  String const& name() const { return name_; }

  COG_RECORD(Dir, (orderedMap, String, Ptr<Entity>, entry, Entry));

 private:
  String name_;
};

}  // namespace Cog
