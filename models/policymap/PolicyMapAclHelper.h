#pragma once

#include "platform/cog/Ptr.h"

namespace PolicyMap {

// The agent's helper that turns class-map ACL rules into hardware ACLs, one per agent and
// shared by every policy state machine. The platform's dataplane (Pbr::Dataplane) is such a
// helper; the programming machinery finds it by a dynamic cast, and a plain helper means that
// nothing can be programmed. Features only hand it on.
class PolicyMapAclHelper : public Cog::Object {
 public:
  ~PolicyMapAclHelper() override = default;
};

}  // namespace PolicyMap
