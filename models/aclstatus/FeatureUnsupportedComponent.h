#pragma once

#include "models/aclstatus/LinecardUnsupportedComponent.h"
#include "platform/cog/Record.h"

namespace Acl {

// What the line cards cannot match for one ACL feature, by line-card name.
class FeatureUnsupportedComponent : public Cog::Entity {
 public:
  explicit FeatureUnsupportedComponent(AclFeature feature) : feature_(feature) {}
  COG_RECORD(FeatureUnsupportedComponent,
             (orderedChildren, Cog::String, LinecardUnsupportedComponent, linecard, Linecard));

  AclFeature feature() const { return feature_; }

 private:
  AclFeature feature_;
};

}  // namespace Acl
