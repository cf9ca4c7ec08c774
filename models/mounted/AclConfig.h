#pragma once

#include "platform/cog/Record.h"

namespace Acl {

// The configured ACLs by name, per address family. Mounted read-only for the policy
// programming machinery, which resolves ACLs that class-maps name.
class Config : public Cog::Entity {
 public:
  explicit Config(Cog::String name) : name_(std::move(name)) {}
  COG_RECORD(Config, (orderedSet, Cog::String, ipAcl, IpAcl),
             (orderedSet, Cog::String, ip6Acl, Ip6Acl));

  Cog::String const& name() const { return name_; }

 private:
  Cog::String name_;
};

}  // namespace Acl
