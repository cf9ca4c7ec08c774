#pragma once

#include <set>

#include "platform/cog/Record.h"
#include "platform/nwk/IntfId.h"
#include "platform/nwk/IpGenPrefix.h"

namespace Ip6 {

using PrefixSet = std::set<Nwk::IpGenPrefix>;

// IPv6 interface status: the addresses (with their masks) of each interface that has any.
// Mounted read-only.
class Status : public Cog::Entity {
 public:
  explicit Status(Cog::String name) : name_(std::move(name)) {}
  COG_RECORD(Status, (orderedMap, Nwk::IntfId, PrefixSet, intf, Intf));

  Cog::String const& name() const { return name_; }

 private:
  Cog::String name_;
};

}  // namespace Ip6
