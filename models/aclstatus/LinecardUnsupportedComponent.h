#pragma once

#include "models/aclstatus/AclTypeUnsupportedComponent.h"
#include "platform/cog/Record.h"

namespace Acl {

// What one line card cannot match, per ACL type.
class LinecardUnsupportedComponent : public Cog::Entity {
 public:
  explicit LinecardUnsupportedComponent(Cog::String name) : name_(std::move(name)) {}
  COG_RECORD(LinecardUnsupportedComponent,
             (orderedChildren, AclType, AclTypeUnsupportedComponent, aclType, AclType));

  Cog::String const& name() const { return name_; }

 private:
  Cog::String name_;
};

}  // namespace Acl
