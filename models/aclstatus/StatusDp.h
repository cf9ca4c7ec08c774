#pragma once

#include "models/aclstatus/FeatureUnsupportedComponent.h"
#include "platform/cog/Record.h"

namespace Acl {

// The ACL status of the data plane, written by the platform agents and read by features that
// must tell the user what their ACLs cannot match: unsupported components per feature, line
// card and ACL type.
class StatusDp : public Cog::Entity {
 public:
  explicit StatusDp(Cog::String name) : name_(std::move(name)) {}
  COG_RECORD(StatusDp, (orderedChildren, AclFeature, FeatureUnsupportedComponent,
                        featureUnsupportedComponent, FeatureUnsupportedComponent));

  Cog::String const& name() const { return name_; }

 private:
  Cog::String name_;
};

}  // namespace Acl
