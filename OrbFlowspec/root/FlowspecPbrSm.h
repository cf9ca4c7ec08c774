#pragma once

#include <memory>

#include "pbr/OrbPbrSm.h"

namespace OrbFlowspec {

// The flowspec feature's PBR state machine: the platform's programming machinery with
// FlowspecPolicyMapSm for every policy, and a watch on the agent's common PBR data, whose
// per-interface changes evaluate that interface's binding again. Created by FlowspecSm with the
// flags false, true, false; FlowspecSm starts it last.
class FlowspecPbrSm : public Orb::OrbPbrSm {
 public:
  FlowspecPbrSm(Cog::Ptr<PolicyMap::IntfConfig const> intfConfig,
                Cog::Ptr<PolicyMap::PolicyMapTypeConfig const> pmapTypeConfig,
                Cog::Ptr<PolicyMap::ClassMapTypeConfig const> cmapTypeConfig,
                Cog::Ptr<PolicyMap::PolicyMapStatusRequestDir const> statusRequestDir,
                Cog::Ptr<PolicyMap::PolicyMapTypeStatus> pmapTypeStatus,
                Cog::Ptr<Acl::Config const> aclConfig,
                Cog::Ptr<Classification::FieldSetConfig const> fieldSetConfig,
                Cog::Ptr<Lag::Input::Config const> lagInputConfig,
                Cog::Ptr<Ip::Status const> ipStatus, Cog::Ptr<Ip6::Status const> ip6Status,
                Cog::Ptr<Cog::Dir const> routingVrfInfoDir,
                Cog::Ptr<Cog::Dir const> routing6VrfInfoDir,
                Cog::Ptr<PolicyMap::PolicyMapAclHelper> aclHelper,
                Cog::Ptr<Acl::AclDiff> aclDiff, bool skipUnknownIntfs, bool makeBeforeBreak,
                bool atomicInstall, Cog::Ptr<Orb::NexthopConfig> nexthopConfig,
                Cog::Ptr<Orb::NexthopStatus const> nexthopStatus,
                Cog::Ptr<Orb::NexthopGroupConfig> nexthopGroupConfig,
                Cog::Ptr<Orb::NexthopGroupStatus const> nexthopGroupStatus,
                Cog::Ptr<Kiln::TimerWheel> timerWheel,
                Cog::Ptr<Orb::OrbCommonSmData const> ocsd);
  ~FlowspecPbrSm() override;

  // Stops watching the common PBR data.
  void ocsdDel();

  // PolicyMap::ServicePolicySm:
  Cog::Ptr<PolicyMap::PolicyMapSm> createPolicyMapSm(
      PolicyMap::PolicyMapSmKey const& key, Cog::Ptr<PolicyMap::PolicyMapConfig const> config,
      Cog::Ptr<PolicyMap::PolicyMapStatus> status) override;
  void hasNotificationActiveIs(bool active) override;
  char const* fwkType() const override { return "FlowspecPbrSm"; }

 private:
  class OcsdReactor;
  std::unique_ptr<OcsdReactor> ocsdReactor_;
};

// Creates the flowspec PBR state machine with the arguments of its constructor.
template <class... Args>
Cog::Ptr<FlowspecPbrSm> flowspecPbrSmFactory(Args&&... args) {
  return Cog::make<FlowspecPbrSm>(std::forward<Args>(args)...);
}

}  // namespace OrbFlowspec
