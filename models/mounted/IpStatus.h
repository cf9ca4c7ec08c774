#pragma once

#include "platform/cog/Record.h"
#include "platform/nwk/IntfId.h"
#include "platform/nwk/IpGenPrefix.h"

namespace Ip {

// IPv4 interface status: the primary address (with its mask) of each interface that has one.
// Mounted read-only.
class Status : public Cog::Entity {
 public:
  explicit Status(Cog::String name) : name_(std::move(name)) {}
  COG_RECORD(Status, (orderedMap, Nwk::IntfId, Nwk::IpGenPrefix, intf, Intf));

  Cog::String const& name() const { return name_; }

 private:
  Cog::String name_;
};

}  // namespace Ip
