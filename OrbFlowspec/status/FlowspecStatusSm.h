#pragma once

#include <map>
#include <memory>

#include "OrbFlowspec/status/FlowspecVrfStatusSm.h"
#include "models/flowspec/Config.h"
#include "models/flowspec/Status.h"
#include "models/policymap/PolicyMapTypeStatus.h"
#include "models/vrf/VrfIdMap.h"
#include "platform/kiln/KilnBaseOutputSm.h"
#include "platform/kiln/TaskScheduler.h"

namespace OrbFlowspec {

// The root of status reporting. Keeps exactly one FlowspecVrfStatusSm per VRF id for which a
// name, a policy-map status under that name, a VRF rule status and a VRF rule configuration all
// exist; the child is created when the last of the four appears and cleaned up (doCleanup) and
// dropped as soon as one goes.
//
// Watches the VRF id table, the rule configurations and rule statuses (keyed by VRF id), and
// the policy-map statuses and the inverse of the VRF id table (keyed by name, so a policy-map
// status that appears or goes is traced back to its VRF id). Writes nothing into the status
// records itself; the VRF rule statuses belong to the configuration root.
//
// A renamed VRF loses its child when the id's new name has no policy-map status yet (the
// programming machinery publishes it only once the configuration side has moved the policy),
// and gets a new child when it appears.
class FlowspecStatusSm : public Kiln::KilnBaseOutputSm {
 public:
  using VrfId = Vrf::VrfIdMap::VrfId;

  FlowspecStatusSm(Cog::Ptr<PolicyMap::PolicyMapTypeStatus const> pmapTypeStatus,
                   Cog::Ptr<Flowspec::Status> flowspecStatus,
                   Cog::Ptr<Vrf::VrfIdMap::Status const> vrfIdStatus,
                   Cog::Ptr<Flowspec::Config const> flowspecConfig,
                   Cog::Ptr<Kiln::TaskScheduler> taskScheduler);
  ~FlowspecStatusSm() override;

  void handleInitialized();
  void handleVrfId();
  void handleVrfId(VrfId vrfId);
  void handleVrfName(Cog::String const& name);
  bool initialized() const { return initialized_; }

  std::map<VrfId, Cog::Ptr<FlowspecVrfStatusSm>> const& flowspecVrfStatusSm() const {
    return flowspecVrfStatusSm_;
  }
  Cog::Ptr<FlowspecVrfStatusSm> flowspecVrfStatusSm(VrfId vrfId) const;
  // Finds or creates the child keyed by the VRF id of `vrfRuleStatus`. Null-argument error
  // for a null `vrfRuleStatus`; reinstantiation error when the child exists with other inputs.
  Cog::Ptr<FlowspecVrfStatusSm> flowspecVrfStatusSmIs(
      Cog::Ptr<PolicyMap::PolicyMapStatus const> const& pmapStatus,
      Cog::Ptr<Flowspec::VrfRuleStatus> const& vrfRuleStatus,
      Cog::Ptr<Flowspec::VrfRuleConfig const> const& vrfRuleConfig,
      Cog::Ptr<Flowspec::Status const> const& flowspecStatus,
      Cog::Ptr<Kiln::TaskScheduler> const& taskScheduler);
  void flowspecVrfStatusSmDel(VrfId vrfId);
  void flowspecVrfStatusSmDelAll();

  // Kiln::KilnBaseOutputSm:
  char const* fwkType() const override { return "FlowspecStatusSm"; }
  void dumpState(Kiln::DumpContext* ctx, int indent) const override;

 private:
  struct Reactors;

  Cog::Ptr<PolicyMap::PolicyMapTypeStatus const> pmapTypeStatus_;
  Cog::Ptr<Flowspec::Status> flowspecStatus_;
  Cog::Ptr<Vrf::VrfIdMap::Status const> vrfIdStatus_;
  Cog::Ptr<Flowspec::Config const> flowspecConfig_;
  Cog::Ptr<Kiln::TaskScheduler> taskScheduler_;
  Cog::Ptr<Vrf::VrfIdMap::NameToIdMap> nameToIdMap_;
  std::unique_ptr<Vrf::VrfIdMap::ReverseMapper> reverseMapper_;
  std::map<VrfId, Cog::Ptr<FlowspecVrfStatusSm>> flowspecVrfStatusSm_;
  bool initialized_ = false;
  std::unique_ptr<Reactors> reactors_;
};

Cog::Ptr<FlowspecStatusSm> flowspecStatusSmFactory(
    Cog::Ptr<PolicyMap::PolicyMapTypeStatus const> pmapTypeStatus,
    Cog::Ptr<Flowspec::Status> flowspecStatus, Cog::Ptr<Vrf::VrfIdMap::Status const> vrfIdStatus,
    Cog::Ptr<Flowspec::Config const> flowspecConfig, Cog::Ptr<Kiln::TaskScheduler> taskScheduler);

}  // namespace OrbFlowspec
