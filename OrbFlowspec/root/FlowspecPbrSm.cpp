#include "OrbFlowspec/root/FlowspecPbrSm.h"

#include "OrbFlowspec/root/FlowspecPolicyMapSm.h"
#include "platform/trace/Trace.h"

namespace OrbFlowspec {

namespace {
Trace::Handle gTrace("FlowspecPbrSm");
}  // namespace

// A changed interface entry of the common PBR data may change how the flowspec policy binds
// there: the binding is evaluated again, without reprogramming what is in place.
class FlowspecPbrSm::OcsdReactor
    : public Cog::BoundReactor<Orb::OrbCommonSmData, FlowspecPbrSm> {
 public:
  using BoundReactor::BoundReactor;
  void handleIntf(Nwk::IntfId const& intfId) override {
    owner()->handleIntf(intfId, false, PolicyMap::IntfBindingKind::intfBindingInput);
  }
};

FlowspecPbrSm::FlowspecPbrSm(
    Cog::Ptr<PolicyMap::IntfConfig const> intfConfig,
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
    Cog::Ptr<Orb::NexthopConfig> nexthopConfig, Cog::Ptr<Orb::NexthopStatus const> nexthopStatus,
    Cog::Ptr<Orb::NexthopGroupConfig> nexthopGroupConfig,
    Cog::Ptr<Orb::NexthopGroupStatus const> nexthopGroupStatus,
    Cog::Ptr<Kiln::TimerWheel> timerWheel, Cog::Ptr<Orb::OrbCommonSmData const> ocsd)
    : Orb::OrbPbrSm(std::move(intfConfig), std::move(pmapTypeConfig), std::move(cmapTypeConfig),
                    std::move(statusRequestDir), std::move(pmapTypeStatus), std::move(aclConfig),
                    std::move(fieldSetConfig), std::move(lagInputConfig), std::move(ipStatus),
                    std::move(ip6Status), std::move(routingVrfInfoDir),
                    std::move(routing6VrfInfoDir), std::move(aclHelper), std::move(aclDiff),
                    skipUnknownIntfs, makeBeforeBreak, atomicInstall, std::move(nexthopConfig),
                    std::move(nexthopStatus), std::move(nexthopGroupConfig),
                    std::move(nexthopGroupStatus), std::move(timerWheel), ocsd) {
  if (ocsd) {
    ocsdReactor_ = std::make_unique<OcsdReactor>(ocsd, this);
  }
}

FlowspecPbrSm::~FlowspecPbrSm() = default;

void FlowspecPbrSm::ocsdDel() { ocsdReactor_.reset(); }

Cog::Ptr<PolicyMap::PolicyMapSm> FlowspecPbrSm::createPolicyMapSm(
    PolicyMap::PolicyMapSmKey const& key, Cog::Ptr<PolicyMap::PolicyMapConfig const> config,
    Cog::Ptr<PolicyMap::PolicyMapStatus> status) {
  TRACE(gTrace, 8, fwkType(), " : ", key.strDesc());
  return Cog::make<FlowspecPolicyMapSm>(globalData(), key, std::move(config), cmapTypeConfig(),
                                        std::move(status), pmapTypeConfig(), intfConfig(),
                                        timerWheel());
}

void FlowspecPbrSm::hasNotificationActiveIs(bool active) {
  if (ocsdReactor_) {
    ocsdReactor_->notificationActiveIs(active);
  }
  Orb::OrbPbrSm::hasNotificationActiveIs(active);
}

}  // namespace OrbFlowspec
