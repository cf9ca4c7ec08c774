#pragma once

#include "models/policymap/PolicyMapAclHelper.h"
#include "models/policymap/PolicyMapTypes.h"
#include "platform/cog/Ptr.h"

namespace PolicyMap {

// How the programming machinery installs the policies of one map type; the PBR state
// machine's own settings, fixed when it is created.
struct ProgrammingFlags {
  // A bound interface that the dataplane does not hold is left alone instead of reported
  // failed.
  bool skipUnknownIntfs = false;
  // A new policy version is programmed beside the old one, which keeps forwarding until the
  // new one is in; otherwise the old one is removed first.
  bool makeBeforeBreak = true;
  // A version is installed on an interface whole or not at all; otherwise classes that cannot
  // be programmed fail alone.
  bool atomicInstall = false;
  bool operator==(ProgrammingFlags const&) const = default;
};

// What every policy state machine of one map type shares: the map type, the agent's ACL
// helper and the programming flags. Built once by the feature's PBR state machine and held by
// each policy state machine it creates; immutable.
class PolicyMapGlobalData : public Cog::Object {
 public:
  PolicyMapGlobalData(MapType mapType, Cog::Ptr<PolicyMapAclHelper> aclHelper,
                      ProgrammingFlags flags = {})
      : mapType_(mapType), aclHelper_(std::move(aclHelper)), flags_(flags) {}

  MapType mapType() const { return mapType_; }
  Cog::Ptr<PolicyMapAclHelper> const& aclHelper() const { return aclHelper_; }
  ProgrammingFlags const& flags() const { return flags_; }

 private:
  MapType mapType_;
  Cog::Ptr<PolicyMapAclHelper> aclHelper_;
  ProgrammingFlags flags_;
};

}  // namespace PolicyMap
