#pragma once

#include "models/mounted/MountedInputs.h"
#include "pbr/Dataplane.h"
#include "pbr/ServicePolicySm.h"
#include "platform/cog/Dir.h"

namespace Orb {

// The platform's PBR state machine: the policy programming machinery of one map type
// (ServicePolicySm) over the platform's dataplane, with the records the platform mounts for
// it.
//
// The dataplane is the agent's ACL helper when that is a Pbr::Dataplane; otherwise nothing can
// be programmed and every bound interface is reported failed. The three flags are the
// machinery's settings (PolicyMap::ProgrammingFlags), shared by every policy through the global
// data. The other mounted records (ACLs and field sets that rules may name, link aggregation,
// interface addresses, routing per VRF, ACL changes under way, next-hop resolution and the
// agent's common PBR data) are held for dataplanes and features that need them; the hardware
// model does not.
class OrbPbrSm : public PolicyMap::ServicePolicySm {
 public:
  OrbPbrSm(Cog::Ptr<PolicyMap::IntfConfig const> intfConfig,
           Cog::Ptr<PolicyMap::PolicyMapTypeConfig const> pmapTypeConfig,
           Cog::Ptr<PolicyMap::ClassMapTypeConfig const> cmapTypeConfig,
           Cog::Ptr<PolicyMap::PolicyMapStatusRequestDir const> statusRequestDir,
           Cog::Ptr<PolicyMap::PolicyMapTypeStatus> pmapTypeStatus,
           Cog::Ptr<Acl::Config const> aclConfig,
           Cog::Ptr<Classification::FieldSetConfig const> fieldSetConfig,
           Cog::Ptr<Lag::Input::Config const> lagInputConfig, Cog::Ptr<Ip::Status const> ipStatus,
           Cog::Ptr<Ip6::Status const> ip6Status, Cog::Ptr<Cog::Dir const> routingVrfInfoDir,
           Cog::Ptr<Cog::Dir const> routing6VrfInfoDir,
           Cog::Ptr<PolicyMap::PolicyMapAclHelper> aclHelper, Cog::Ptr<Acl::AclDiff> aclDiff,
           bool skipUnknownIntfs, bool makeBeforeBreak, bool atomicInstall,
           Cog::Ptr<NexthopConfig> nexthopConfig, Cog::Ptr<NexthopStatus const> nexthopStatus,
           Cog::Ptr<NexthopGroupConfig> nexthopGroupConfig,
           Cog::Ptr<NexthopGroupStatus const> nexthopGroupStatus,
           Cog::Ptr<Kiln::TimerWheel> timerWheel, Cog::Ptr<OrbCommonSmData const> ocsd);

  // The dataplane behind the ACL helper, or null.
  Cog::Ptr<Pbr::Dataplane> const& dataplane() const { return dataplane_; }
  Cog::Ptr<Acl::Config const> const& aclConfig() const { return aclConfig_; }
  Cog::Ptr<Classification::FieldSetConfig const> const& fieldSetConfig() const {
    return fieldSetConfig_;
  }
  Cog::Ptr<Lag::Input::Config const> const& lagInputConfig() const { return lagInputConfig_; }
  Cog::Ptr<Ip::Status const> const& ipStatus() const { return ipStatus_; }
  Cog::Ptr<Ip6::Status const> const& ip6Status() const { return ip6Status_; }
  Cog::Ptr<Cog::Dir const> const& routingVrfInfoDir() const { return routingVrfInfoDir_; }
  Cog::Ptr<Cog::Dir const> const& routing6VrfInfoDir() const { return routing6VrfInfoDir_; }
  Cog::Ptr<Acl::AclDiff> const& aclDiff() const { return aclDiff_; }
  Cog::Ptr<NexthopConfig> const& nexthopConfig() const { return nexthopConfig_; }
  Cog::Ptr<NexthopStatus const> const& nexthopStatus() const { return nexthopStatus_; }
  Cog::Ptr<NexthopGroupConfig> const& nexthopGroupConfig() const { return nexthopGroupConfig_; }
  Cog::Ptr<NexthopGroupStatus const> const& nexthopGroupStatus() const {
    return nexthopGroupStatus_;
  }
  Cog::Ptr<OrbCommonSmData const> const& ocsd() const { return ocsd_; }

  // Kiln::KilnBaseOutputSm:
  char const* fwkType() const override { return "OrbPbrSm"; }

 private:
  Cog::Ptr<Pbr::Dataplane> dataplane_;
  Cog::Ptr<Acl::Config const> aclConfig_;
  Cog::Ptr<Classification::FieldSetConfig const> fieldSetConfig_;
  Cog::Ptr<Lag::Input::Config const> lagInputConfig_;
  Cog::Ptr<Ip::Status const> ipStatus_;
  Cog::Ptr<Ip6::Status const> ip6Status_;
  Cog::Ptr<Cog::Dir const> routingVrfInfoDir_;
  Cog::Ptr<Cog::Dir const> routing6VrfInfoDir_;
  Cog::Ptr<Acl::AclDiff> aclDiff_;
  Cog::Ptr<NexthopConfig> nexthopConfig_;
  Cog::Ptr<NexthopStatus const> nexthopStatus_;
  Cog::Ptr<NexthopGroupConfig> nexthopGroupConfig_;
  Cog::Ptr<NexthopGroupStatus const> nexthopGroupStatus_;
  Cog::Ptr<OrbCommonSmData const> ocsd_;
};

}  // namespace Orb
