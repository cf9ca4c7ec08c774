#pragma once

#include "OrbFlowspec/config/FlowspecVrfConfigSm.h"
#include "models/flowspec/CliConfig.h"
#include "models/flowspec/Config.h"
#include "models/flowspec/Status.h"
#include "models/l3/IntfStatus.h"
#include "models/policymap/IntfConfig.h"
#include "models/policymap/PolicyMapTypeConfig.h"
#include "models/policymap/PolicyMapTypeStatus.h"
#include "models/vrf/VrfIdMap.h"
#include "platform/cog/ReactorMap.h"
#include "platform/kiln/KilnBaseOutputSm.h"
#include "platform/kiln/TaskScheduler.h"

namespace OrbFlowspec {

// The root of the translation side.
// - Keeps one FlowspecVrfConfigSm and one flowspec policy-map, named after the VRF, for every
//   VRF id that has a name in the VRF id table, a rule configuration and a rule status; when
//   any of them goes, both are cleaned up. A renamed VRF is cleaned up under its old name before
//   it is built under the new one.
// - Keeps one Flowspec::VrfRuleStatus per VRF id that has a rule configuration.
// - Binds every routed interface on which flowspec is enabled (listed with an IP version, or
//   all interfaces) to the policy named after its VRF.
// - Watches the policy-map statuses for the counter update.
// Nothing happens before handleInitialized, which also reconciles what an earlier instance
// left behind (stale VRF statuses, stale interface bindings).
class FlowspecConfigSm : public Kiln::KilnBaseOutputSm {
 public:
  using VrfId = Vrf::VrfIdMap::VrfId;

  // What the root hands over, in the order the factory takes it.
  struct Inputs {
    Cog::Ptr<Flowspec::Config const> flowspecConfig;
    Cog::Ptr<L3::Intf::StatusDir const> l3StatusDir;
    Cog::Ptr<Vrf::VrfIdMap::Status const> vrfIdStatus;
    Cog::Ptr<Flowspec::CliConfig const> flowspecCliConfig;
    Cog::Ptr<PolicyMap::PolicyMapTypeStatus const> pmapTypeStatus;
    Cog::Ptr<PolicyMap::IntfConfig> intfConfig;
    Cog::Ptr<PolicyMap::PolicyMapTypeConfig> pmapTypeConfig;
    Cog::Ptr<PolicyMap::ClassMapTypeConfig> cmapTypeConfig;
    Cog::Ptr<Flowspec::Status> flowspecStatus;
    Cog::Ptr<Kiln::TaskScheduler> scheduler;
    bool operator==(Inputs const&) const = default;
  };

  explicit FlowspecConfigSm(Inputs inputs);
  ~FlowspecConfigSm() override;

  COG_RECORD(FlowspecConfigSm,
             (hashChildren, Cog::String, FlowspecVrfConfigSm, flowspecVrfConfigSm,
              FlowspecVrfConfigSm),
             (orderedMap, VrfId, Cog::String, vrfIdToNameCache, VrfIdToNameCache),
             (orderedSet, Cog::String, counterUpdatePending, CounterUpdatePending),
             (value, bool, initialized, Initialized));

  // The most ACL entries one rule may expand into, for every VRF (default 4096).
  std::uint64_t aclEntryLimit() const { return aclEntryLimit_; }
  void aclEntryLimitIs(std::uint64_t limit);

  void handleInitialized();
  void handleVrfRuleConfig();
  void handleVrfRuleConfig(VrfId vrfId);
  void handleVrf(VrfId vrfId);
  void doCleanupVrf(Cog::String const& vrfName);
  void handleIntf();
  void handleIntf(Nwk::IntfId const& intfId);
  void handleL3Intf();
  void handleL3Intf(Nwk::IntfId const& intfId);

  // Counter update: a request from the command line is stamped on every policy that has a
  // status; once every one of them has answered, one pass copies the packet counts into the
  // rule statuses and stamps the status's counterUpdateTime.
  void handleCounterUpdateRequest();
  void handleCounterUpdate(Cog::String const& policyName);
  void updateFlowspecCounter();
  std::size_t counterUpdatePendings() const { return counterUpdatePending().size(); }
  static Flowspec::HwRuleProgrammingStatus ruleStatusCodeFrom(
      PolicyMap::OperationProgress progress);

  // Nested reactors: one per L3 interface status, one per policy-map status.
  class L3IntfStatusSm;
  class PolicyMapStatusSm;
  void l3IntfStatusIs(Cog::Ptr<L3::Intf::Status const> const& status);
  void l3IntfStatusDel(Nwk::IntfId const& intfId);
  void l3IntfStatusDelAll();
  std::size_t l3IntfStatusCount() const { return l3IntfStatus_.size(); }
  void pmapStatusIs(Cog::Ptr<PolicyMap::PolicyMapStatus const> const& status);
  PolicyMapStatusSm* pmapStatus(Cog::String const& name) const { return pmapStatus_.find(name); }
  void pmapStatusDel(Cog::String const& name);
  void pmapStatusDelAll();

  // Kiln::KilnBaseOutputSm:
  void dumpState(Kiln::DumpContext* ctx, int indent) const override;
  char const* fwkType() const override { return "FlowspecConfigSm"; }

 private:
  struct Reactors;

  bool intfEnabled(Nwk::IntfId const& intfId) const;

  Inputs const in_;
  std::uint64_t aclEntryLimit_ = kDefaultAclEntryLimit;

  Cog::ReactorMap<Nwk::IntfId, L3IntfStatusSm> l3IntfStatus_;
  Cog::ReactorMap<Cog::String, PolicyMapStatusSm> pmapStatus_;
  std::unique_ptr<Reactors> reactors_;
};

// Creates the configuration root; its constructor runs handleInitialized.
Cog::Ptr<FlowspecConfigSm> flowspecConfigSmFactory(FlowspecConfigSm::Inputs inputs);
Cog::Ptr<FlowspecConfigSm> flowspecConfigSmFactory(
    Cog::Ptr<Flowspec::Config const> flowspecConfig,
    Cog::Ptr<L3::Intf::StatusDir const> l3StatusDir,
    Cog::Ptr<Vrf::VrfIdMap::Status const> vrfIdStatus,
    Cog::Ptr<Flowspec::CliConfig const> flowspecCliConfig,
    Cog::Ptr<PolicyMap::PolicyMapTypeStatus const> pmapTypeStatus,
    Cog::Ptr<PolicyMap::IntfConfig> intfConfig,
    Cog::Ptr<PolicyMap::PolicyMapTypeConfig> pmapTypeConfig,
    Cog::Ptr<PolicyMap::ClassMapTypeConfig> cmapTypeConfig,
    Cog::Ptr<Flowspec::Status> flowspecStatus, Cog::Ptr<Kiln::TaskScheduler> scheduler);

}  // namespace OrbFlowspec
