#include "pbr/OrbPbrSm.h"

#include "platform/cog/Errors.h"
#include "platform/trace/Trace.h"

namespace Orb {

namespace {

Trace::Handle gTrace("OrbPbrSm");

Cog::Ptr<PolicyMap::PolicyMapGlobalData> globalDataFor(
    Cog::Ptr<PolicyMap::PolicyMapTypeConfig const> const& pmapTypeConfig,
    Cog::Ptr<PolicyMap::PolicyMapAclHelper> aclHelper, PolicyMap::ProgrammingFlags flags) {
  Cog::requireNonNull(pmapTypeConfig, "pmapTypeConfig");
  return Cog::make<PolicyMap::PolicyMapGlobalData>(pmapTypeConfig->mapType(), std::move(aclHelper),
                                                   flags);
}

}  // namespace

OrbPbrSm::OrbPbrSm(
    Cog::Ptr<PolicyMap::IntfConfig const> intfConfig,
    Cog::Ptr<PolicyMap::PolicyMapTypeConfig const> pmapTypeConfig,
    Cog::Ptr<PolicyMap::ClassMapTypeConfig const> cmapTypeConfig,
    Cog::Ptr<PolicyMap::PolicyMapStatusRequestDir const> statusRequestDir,
    Cog::Ptr<PolicyMap::PolicyMapTypeStatus> pmapTypeStatus, Cog::Ptr<Acl::Config const> aclConfig,
    Cog::Ptr<Classification::FieldSetConfig const> fieldSetConfig,
    Cog::Ptr<Lag::Input::Config const> lagInputConfig, Cog::Ptr<Ip::Status const> ipStatus,
    Cog::Ptr<Ip6::Status const> ip6Status, Cog::Ptr<Cog::Dir const> routingVrfInfoDir,
    Cog::Ptr<Cog::Dir const> routing6VrfInfoDir, Cog::Ptr<PolicyMap::PolicyMapAclHelper> aclHelper,
    Cog::Ptr<Acl::AclDiff> aclDiff, bool skipUnknownIntfs, bool makeBeforeBreak, bool atomicInstall,
    Cog::Ptr<NexthopConfig> nexthopConfig, Cog::Ptr<NexthopStatus const> nexthopStatus,
    Cog::Ptr<NexthopGroupConfig> nexthopGroupConfig,
    Cog::Ptr<NexthopGroupStatus const> nexthopGroupStatus, Cog::Ptr<Kiln::TimerWheel> timerWheel,
    Cog::Ptr<OrbCommonSmData const> ocsd)
    : ServicePolicySm(std::move(intfConfig), pmapTypeConfig, std::move(cmapTypeConfig),
                      std::move(statusRequestDir), std::move(pmapTypeStatus),
                      globalDataFor(pmapTypeConfig, aclHelper,
                                    {skipUnknownIntfs, makeBeforeBreak, atomicInstall}),
                      std::move(timerWheel)),
      dataplane_(Cog::ptrDynamicCast<Pbr::Dataplane>(aclHelper)),
      aclConfig_(std::move(aclConfig)),
      fieldSetConfig_(std::move(fieldSetConfig)),
      lagInputConfig_(std::move(lagInputConfig)),
      ipStatus_(std::move(ipStatus)),
      ip6Status_(std::move(ip6Status)),
      routingVrfInfoDir_(std::move(routingVrfInfoDir)),
      routing6VrfInfoDir_(std::move(routing6VrfInfoDir)),
      aclDiff_(std::move(aclDiff)),
      nexthopConfig_(std::move(nexthopConfig)),
      nexthopStatus_(std::move(nexthopStatus)),
      nexthopGroupConfig_(std::move(nexthopGroupConfig)),
      nexthopGroupStatus_(std::move(nexthopGroupStatus)),
      ocsd_(std::move(ocsd)) {
  if (!dataplane_) {
    TRACE(gTrace, 1, "the ACL helper is no dataplane: policies cannot be programmed");
  }
  TRACE(gTrace, 3, "skipUnknownIntfs ", skipUnknownIntfs, " makeBeforeBreak ", makeBeforeBreak,
        " atomicInstall ", atomicInstall);
}

}  // namespace Orb
