#pragma once

#include "OrbFlowspec/config/FlowspecConfigSm.h"
#include "OrbFlowspec/digestion/RuleSetSm.h"
#include "OrbFlowspec/root/FlowspecMounts.h"
#include "OrbFlowspec/root/FlowspecPbrSm.h"
#include "OrbFlowspec/status/FlowspecStatusSm.h"
#include "OrbFlowspec/unsupported/UnsupportedQualSm.h"
#include "models/mounted/MountedInputs.h"
#include "models/policymap/Config.h"
#include "models/policymap/IntfConfig.h"
#include "models/policymap/PolicyMapAclHelper.h"
#include "models/policymap/PolicyMapTypeStatus.h"
#include "platform/kiln/KilnBaseOutputSm.h"
#include "platform/kiln/TaskScheduler.h"
#include "platform/kiln/TimerWheel.h"

namespace OrbFlowspec {

// The one object the agent creates for the flowspec feature. Its constructor builds the
// feature's own policy-map configuration tree (policy-map type, class-map type, interface
// configuration, PBR status and status request directory, all named "Flowspec" with the
// flowspec map type), marks flowspec supported, and then creates the long-lived state
// machines of the system in a fixed order. It has no reactions of its own afterwards: it owns
// and wires the others, and dumps their state. Destroying it releases the children, whose own
// destructors remove what they wrote.
class FlowspecSm : public Kiln::KilnBaseOutputSm {
 public:
  FlowspecSm(Cog::Ptr<FlowspecMounts> flowspecMounts,
             Cog::Ptr<PolicyMap::PolicyMapAclHelper> aclHelper,
             Cog::Ptr<Kiln::TaskScheduler> scheduler, Cog::Ptr<Kiln::TimerWheel> timerWheel,
             Cog::Ptr<Orb::OrbCommonSmData const> ocsd);

  COG_RECORD(FlowspecSm, (child, PolicyMap::Config, policyMapConfig, PolicyMapConfig),
             (child, PolicyMap::IntfConfig, intfConfig, IntfConfig),
             (child, PolicyMap::PolicyMapTypeStatus, pbrStatus, PbrStatus),
             (child, PolicyMap::PolicyMapStatusRequestDir, pmapStatusReq, PmapStatusReq),
             (value, bool, initialized, Initialized));

  Cog::Ptr<FlowspecMounts> const& flowspecMounts() const { return flowspecMounts_; }
  Cog::Ptr<Kiln::TaskScheduler> const& scheduler() const { return scheduler_; }

  // Creates, inside policyMapConfig, the class-map type and the policy-map type configuration
  // of that name.
  Cog::Ptr<PolicyMap::ClassMapTypeConfig> cmapTypeConfigIs(Cog::String const& name);
  Cog::Ptr<PolicyMap::PolicyMapTypeConfig> pmapTypeConfigIs(Cog::String const& name,
                                                            PolicyMap::MapType mapType);

  // The rule set walker, created with exactly these inputs.
  Cog::Ptr<RuleSetSm> const& ruleSetSm() const { return ruleSetSm_; }
  Cog::Ptr<RuleSetSm> ruleSetSmIs(Cog::Ptr<Kiln::TaskScheduler> const& scheduler,
                                  Cog::Ptr<Flowspec::RuleSet const> const& ruleSet,
                                  Cog::Ptr<Flowspec::Config> const& config);
  void ruleSetSmDel() { ruleSetSm_ = nullptr; }

  // The configuration root, created with exactly these inputs, in this order.
  Cog::Ptr<FlowspecConfigSm> const& flowspecConfigSm() const { return flowspecConfigSm_; }
  Cog::Ptr<FlowspecConfigSm> flowspecConfigSmIs(FlowspecConfigSm::Inputs inputs);
  void flowspecConfigSmDel() { flowspecConfigSm_ = nullptr; }

  // The status root, created with exactly these inputs, in this order.
  Cog::Ptr<FlowspecStatusSm> const& flowspecStatusSm() const { return flowspecStatusSm_; }
  Cog::Ptr<FlowspecStatusSm> flowspecStatusSmIs(
      Cog::Ptr<PolicyMap::PolicyMapTypeStatus const> const& pmapTypeStatus,
      Cog::Ptr<Flowspec::Status> const& flowspecStatus,
      Cog::Ptr<Vrf::VrfIdMap::Status const> const& vrfIdStatus,
      Cog::Ptr<Flowspec::Config const> const& flowspecConfig,
      Cog::Ptr<Kiln::TaskScheduler> const& scheduler);
  void flowspecStatusSmDel() { flowspecStatusSm_ = nullptr; }

  // The unsupported-qualifier root, created with exactly these inputs.
  Cog::Ptr<UnsupportedQualSm> const& unsupportedQualSm() const { return unsupportedQualSm_; }
  Cog::Ptr<UnsupportedQualSm> unsupportedQualSmIs(Cog::Ptr<Acl::StatusDp const> const& aclStatusDp,
                                                  Cog::Ptr<Flowspec::Status> const& flowspecStatus);
  void unsupportedQualSmDel() { unsupportedQualSm_ = nullptr; }

  // The flowspec PBR state machine, created with the 23 arguments of its constructor.
  Cog::Ptr<FlowspecPbrSm> const& orbFlowspecSm() const { return orbFlowspecSm_; }
  template <class... Args>
  Cog::Ptr<FlowspecPbrSm> orbFlowspecSmIs(Args&&... args) {
    orbFlowspecSm_ = flowspecPbrSmFactory(std::forward<Args>(args)...);
    return orbFlowspecSm_;
  }
  void orbFlowspecSmDel() { orbFlowspecSm_ = nullptr; }

  // Kiln::KilnBaseOutputSm:
  void dumpState(Kiln::DumpContext* ctx, int indent) const override;
  char const* fwkType() const override { return "FlowspecSm"; }

 private:
  void handleInitialized();

  Cog::Ptr<FlowspecMounts> flowspecMounts_;
  Cog::Ptr<PolicyMap::PolicyMapAclHelper> aclHelper_;
  Cog::Ptr<Kiln::TaskScheduler> scheduler_;
  Cog::Ptr<Kiln::TimerWheel> timerWheel_;
  Cog::Ptr<Orb::OrbCommonSmData const> ocsd_;
  Cog::Ptr<RuleSetSm> ruleSetSm_;
  // Destroyed in reverse: the status side goes before the programming machinery drops the
  // policy statuses, so what it wrote stays for the next instance to take over.
  Cog::Ptr<FlowspecPbrSm> orbFlowspecSm_;
  Cog::Ptr<FlowspecConfigSm> flowspecConfigSm_;
  Cog::Ptr<FlowspecStatusSm> flowspecStatusSm_;
  Cog::Ptr<UnsupportedQualSm> unsupportedQualSm_;
};

// Creates the root state machine; the returned object is fully wired.
Cog::Ptr<FlowspecSm> flowspecSmFactory(Cog::Ptr<FlowspecMounts> flowspecMounts,
                                       Cog::Ptr<PolicyMap::PolicyMapAclHelper> aclHelper,
                                       Cog::Ptr<Kiln::TaskScheduler> scheduler,
                                       Cog::Ptr<Kiln::TimerWheel> timerWheel,
                                       Cog::Ptr<Orb::OrbCommonSmData const> ocsd);

}  // namespace OrbFlowspec
