#pragma once

#include "platform/cog/Ptr.h"

namespace PolicyMap {

// The agent's helper that turns class-map ACL rules into hardware ACLs, one per agent and
// shared by every policy state machine. Flowspec only hands it on; it holds no state of its
// own here.
class PolicyMapAclHelper : public Cog::Object {};

}  // namespace PolicyMap
