#pragma once

#include "platform/cog/Record.h"
#include "platform/kiln/UniqueId.h"

namespace Acl {

// ACL changes under way: each changed ACL with the version of its change, so that the
// programming machinery reprograms a policy only once per change.
class AclDiff : public Cog::Entity {
 public:
  explicit AclDiff(Cog::String name) : name_(std::move(name)) {}
  COG_RECORD(AclDiff, (orderedMap, Cog::String, Kiln::UniqueId, changedAcl, ChangedAcl));

  Cog::String const& name() const { return name_; }

 private:
  Cog::String name_;
};

}  // namespace Acl
