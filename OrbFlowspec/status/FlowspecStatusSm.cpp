#include "OrbFlowspec/status/FlowspecStatusSm.h"

#include "platform/cog/Errors.h"
#include "platform/trace/Trace.h"

namespace OrbFlowspec {

namespace {
Trace::Handle gTrace("FlowspecStatusSm");
}  // namespace

struct FlowspecStatusSm::Reactors {
  struct VrfIdReactor : Cog::BoundReactor<Vrf::VrfIdMap::Status, FlowspecStatusSm> {
    using BoundReactor::BoundReactor;
    void handleVrfEntry(VrfId const& vrfId) override { owner()->handleVrfId(vrfId); }
  };
  struct ConfigReactor : Cog::BoundReactor<Flowspec::Config, FlowspecStatusSm> {
    using BoundReactor::BoundReactor;
    void handleVrfRuleConfig(VrfId const& vrfId) override { owner()->handleVrfId(vrfId); }
  };
  struct StatusReactor : Cog::BoundReactor<Flowspec::Status, FlowspecStatusSm> {
    using BoundReactor::BoundReactor;
    void handleVrfRuleStatus(VrfId const& vrfId) override { owner()->handleVrfId(vrfId); }
  };
  struct PmapStatusReactor : Cog::BoundReactor<PolicyMap::PolicyMapTypeStatus, FlowspecStatusSm> {
    using BoundReactor::BoundReactor;
    void handlePmapStatus(Cog::String const& name) override { owner()->handleVrfName(name); }
  };
  struct NameReactor : Cog::BoundReactor<Vrf::VrfIdMap::NameToIdMap, FlowspecStatusSm> {
    using BoundReactor::BoundReactor;
    void handleVrfId(Cog::String const& name) override { owner()->handleVrfName(name); }
  };

  explicit Reactors(FlowspecStatusSm* sm)
      : pmapStatus(sm->pmapTypeStatus_, sm),
        status(sm->flowspecStatus_, sm),
        vrfIds(sm->vrfIdStatus_, sm),
        config(sm->flowspecConfig_, sm) {}

  PmapStatusReactor pmapStatus;
  StatusReactor status;
  VrfIdReactor vrfIds;
  ConfigReactor config;
  std::unique_ptr<NameReactor> names;  // from handleInitialized on
};

Cog::Ptr<FlowspecStatusSm> flowspecStatusSmFactory(
    Cog::Ptr<PolicyMap::PolicyMapTypeStatus const> pmapTypeStatus,
    Cog::Ptr<Flowspec::Status> flowspecStatus, Cog::Ptr<Vrf::VrfIdMap::Status const> vrfIdStatus,
    Cog::Ptr<Flowspec::Config const> flowspecConfig, Cog::Ptr<Kiln::TaskScheduler> taskScheduler) {
  return Cog::make<FlowspecStatusSm>(std::move(pmapTypeStatus), std::move(flowspecStatus),
                                     std::move(vrfIdStatus), std::move(flowspecConfig),
                                     std::move(taskScheduler));
}

FlowspecStatusSm::FlowspecStatusSm(Cog::Ptr<PolicyMap::PolicyMapTypeStatus const> pmapTypeStatus,
                                   Cog::Ptr<Flowspec::Status> flowspecStatus,
                                   Cog::Ptr<Vrf::VrfIdMap::Status const> vrfIdStatus,
                                   Cog::Ptr<Flowspec::Config const> flowspecConfig,
                                   Cog::Ptr<Kiln::TaskScheduler> taskScheduler)
    : pmapTypeStatus_(std::move(pmapTypeStatus)),
      flowspecStatus_(std::move(flowspecStatus)),
      vrfIdStatus_(std::move(vrfIdStatus)),
      flowspecConfig_(std::move(flowspecConfig)),
      taskScheduler_(std::move(taskScheduler)) {
  Cog::requireArgument(pmapTypeStatus_, "pmapTypeStatus");
  Cog::requireArgument(flowspecStatus_, "flowspecStatus");
  Cog::requireArgument(vrfIdStatus_, "vrfIdStatus");
  Cog::requireArgument(flowspecConfig_, "flowspecConfig");
  Cog::requireArgument(taskScheduler_, "taskScheduler");
  reactors_ = std::make_unique<Reactors>(this);
  handleInitialized();
}

FlowspecStatusSm::~FlowspecStatusSm() {
  reactors_.reset();
  reverseMapper_.reset();
  flowspecVrfStatusSm_.clear();
}

void FlowspecStatusSm::handleInitialized() {
  TRACE(gTrace, 7, "handleInitialized");
  nameToIdMap_ = Cog::make<Vrf::VrfIdMap::NameToIdMap>();
  reactors_->names = std::make_unique<Reactors::NameReactor>(nameToIdMap_, this);
  reverseMapper_ = std::make_unique<Vrf::VrfIdMap::ReverseMapper>(vrfIdStatus_, nameToIdMap_);
  initialized_ = true;
  handleVrfId();
}

void FlowspecStatusSm::handleVrfId() {
  if (!initialized_) {
    return;
  }
  TRACE(gTrace, 7, "handleVrfId");
  for (auto const& [vrfId, vrfRuleStatus] : flowspecStatus_->vrfRuleStatus()) {
    handleVrfId(vrfId);
  }
}

void FlowspecStatusSm::handleVrfName(Cog::String const& name) {
  if (!initialized_) {
    return;
  }
  handleVrfId(nameToIdMap_->idOf(name));
}

void FlowspecStatusSm::handleVrfId(VrfId vrfId) {
  if (!initialized_) {
    return;
  }
  // A corrupt entry of the table yields the default entry (no name) after the table's own
  // corruption handling ran.
  Cog::String const vrfName = vrfIdStatus_->vrfName(vrfId);
  auto const pmapStatus = vrfName.empty() ? nullptr : pmapTypeStatus_->pmapStatus(vrfName);
  auto const vrfRuleStatus = flowspecStatus_->vrfRuleStatus(vrfId);
  auto const vrfRuleConfig = flowspecConfig_->vrfRuleConfig(vrfId);
  if (pmapStatus && vrfRuleStatus && vrfRuleConfig) {
    TRACE(gTrace, 7, "Creating FlowspecVrfStatusSm for ", vrfId);
    flowspecVrfStatusSmIs(pmapStatus, vrfRuleStatus, vrfRuleConfig, flowspecStatus_,
                          taskScheduler_);
    return;
  }
  TRACE(gTrace, 7, "Deleting FlowspecVrfStatusSm for ", vrfId);
  if (auto const child = flowspecVrfStatusSm(vrfId)) {
    child->doCleanup();
    flowspecVrfStatusSmDel(vrfId);
  }
}

Cog::Ptr<FlowspecVrfStatusSm> FlowspecStatusSm::flowspecVrfStatusSm(VrfId vrfId) const {
  auto const found = flowspecVrfStatusSm_.find(vrfId);
  return found == flowspecVrfStatusSm_.end() ? nullptr : found->second;
}

Cog::Ptr<FlowspecVrfStatusSm> FlowspecStatusSm::flowspecVrfStatusSmIs(
    Cog::Ptr<PolicyMap::PolicyMapStatus const> const& pmapStatus,
    Cog::Ptr<Flowspec::VrfRuleStatus> const& vrfRuleStatus,
    Cog::Ptr<Flowspec::VrfRuleConfig const> const& vrfRuleConfig,
    Cog::Ptr<Flowspec::Status const> const& flowspecStatus,
    Cog::Ptr<Kiln::TaskScheduler> const& taskScheduler) {
  Cog::requireArgument(vrfRuleStatus, "vrfRuleStatus");
  FlowspecVrfStatusSm::Inputs const inputs{pmapStatus, vrfRuleStatus, vrfRuleConfig, flowspecStatus,
                                           taskScheduler};
  VrfId const vrfId = vrfRuleStatus->vrfId();
  if (auto const existing = flowspecVrfStatusSm(vrfId)) {
    if (!existing->constructedWith(inputs)) {
      throw Cog::ReinstantiationError("flowspecVrfStatusSm");
    }
    return existing;
  }
  auto const child = Cog::make<FlowspecVrfStatusSm>(inputs);
  flowspecVrfStatusSm_.emplace(vrfId, child);
  return child;
}

void FlowspecStatusSm::flowspecVrfStatusSmDel(VrfId vrfId) { flowspecVrfStatusSm_.erase(vrfId); }

void FlowspecStatusSm::flowspecVrfStatusSmDelAll() { flowspecVrfStatusSm_.clear(); }

void FlowspecStatusSm::dumpState(Kiln::DumpContext* ctx, int indent) const {
  Kiln::dumpf(ctx, indent, "FlowspecStatusSm: perVrfSms #%zu\n", flowspecVrfStatusSm_.size());
  for (auto const& [vrfId, sm] : flowspecVrfStatusSm_) {
    sm->dumpState(ctx, indent + 2);
  }
}

}  // namespace OrbFlowspec
