#pragma once

#include "models/policymap/PolicyMapTypes.h"
#include "platform/cog/Ptr.h"
#include "platform/cog/System.h"

namespace PolicyMap {

// The agent's helper that turns class-map ACL rules into hardware ACLs, shared by the policy
// programming machinery. Flowspec only passes it on.
class PolicyMapAclHelper : public Cog::Object {};

// Identifies one policy for the programming machinery.
struct PolicyMapSmKey {
  Cog::String name;
  MapType mapType;
  Cog::String strDesc() const { return name + "/" + std::to_string(mapType.value); }
};

}  // namespace PolicyMap
