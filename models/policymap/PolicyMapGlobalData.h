#pragma once

#include "models/policymap/PolicyMapAclHelper.h"
#include "models/policymap/PolicyMapTypes.h"
#include "platform/cog/Ptr.h"

namespace PolicyMap {

// What every policy state machine of one map type shares: the map type and the agent's ACL
// helper. Built once by the feature's PBR state machine and held by each policy state machine
// it creates; immutable.
class PolicyMapGlobalData : public Cog::Object {
 public:
  PolicyMapGlobalData(MapType mapType, Cog::Ptr<PolicyMapAclHelper> aclHelper)
      : mapType_(mapType), aclHelper_(std::move(aclHelper)) {}

  MapType mapType() const { return mapType_; }
  Cog::Ptr<PolicyMapAclHelper> const& aclHelper() const { return aclHelper_; }

 private:
  MapType mapType_;
  Cog::Ptr<PolicyMapAclHelper> aclHelper_;
};

}  // namespace PolicyMap
