#pragma once

#include "models/aclstatus/AclStatusTypes.h"
#include "models/aclstatus/UnsupportedComponent.h"
#include "platform/cog/Record.h"

namespace Acl {

// What one line card cannot match for one ACL type, by component name.
class AclTypeUnsupportedComponent : public Cog::Entity {
 public:
  explicit AclTypeUnsupportedComponent(AclType aclType) : aclType_(aclType) {}
  COG_RECORD(AclTypeUnsupportedComponent, (orderedChildren, Cog::String, UnsupportedComponent,
                                           unsupportedComponent, UnsupportedComponent));

  AclType aclType() const { return aclType_; }

 private:
  AclType aclType_;
};

}  // namespace Acl
