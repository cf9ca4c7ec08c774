#pragma once

#include "models/aclstatus/AclStatusTypes.h"
#include "platform/cog/Record.h"

namespace OrbFlowspec {

// The qualifier names that some line card reports as unsupported for one ACL type: the union
// over the line cards, rebuilt from scratch on every change of the report. Kept in name order
// so that the published records and their traces do not depend on report order.
class UnsupportedQual : public Cog::Entity {
 public:
  explicit UnsupportedQual(Acl::AclType aclType) : aclType_(aclType) {}
  COG_RECORD(UnsupportedQual, (orderedSet, Cog::String, qual, Qual));

  Acl::AclType aclType() const { return aclType_; }

 private:
  Acl::AclType aclType_;
};

}  // namespace OrbFlowspec
