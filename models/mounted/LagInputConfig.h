#pragma once

#include "platform/cog/Record.h"
#include "platform/nwk/IntfId.h"

namespace Lag::Input {

// Link aggregation membership: each member interface with its port-channel, so that a policy
// applied to a port-channel is programmed on its members. Mounted read-only.
class Config : public Cog::Entity {
 public:
  explicit Config(Cog::String name) : name_(std::move(name)) {}
  COG_RECORD(Config, (orderedMap, Nwk::IntfId, Nwk::IntfId, member, Member));

  Cog::String const& name() const { return name_; }

 private:
  Cog::String name_;
};

}  // namespace Lag::Input
