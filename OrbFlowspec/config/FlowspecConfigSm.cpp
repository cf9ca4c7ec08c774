#include "OrbFlowspec/config/FlowspecConfigSm.h"

#include "platform/trace/Trace.h"

namespace OrbFlowspec {

namespace {
Trace::Handle gTrace("FlowspecConfigSm");
}  // namespace

// Watches the `vrf` of one L3 interface status and maps the interface again when it changes.
class FlowspecConfigSm::L3IntfStatusSm
    : public Cog::BoundReactor<L3::Intf::Status, FlowspecConfigSm> {
 public:
  using BoundReactor::BoundReactor;
  void handleVrf() override { owner()->handleIntf(notifier()->intfId()); }
};

// Watches one policy-map status for the counter update.
class FlowspecConfigSm::PolicyMapStatusSm
    : public Cog::BoundReactor<PolicyMap::PolicyMapStatus, FlowspecConfigSm> {
 public:
  using BoundReactor::BoundReactor;
  void handleCounterUpdateTime() override { owner()->handleCounterUpdate(notifier()->name()); }
};

struct FlowspecConfigSm::Reactors {
  struct ConfigReactor : Cog::BoundReactor<Flowspec::Config, FlowspecConfigSm> {
    using BoundReactor::BoundReactor;
    void handleVrfRuleConfig(VrfId const& vrfId) override { owner()->handleVrfRuleConfig(vrfId); }
    void handleEnabledIntfAll() override { owner()->handleIntf(); }
  };
  struct VrfIdReactor : Cog::BoundReactor<Vrf::VrfIdMap::Status, FlowspecConfigSm> {
    using BoundReactor::BoundReactor;
    void handleVrfEntry(VrfId const& vrfId) override { owner()->handleVrf(vrfId); }
  };
  struct L3DirReactor : Cog::BoundReactor<L3::Intf::StatusDir, FlowspecConfigSm> {
    using BoundReactor::BoundReactor;
    void handleIntfStatus(Nwk::IntfId const& intfId) override { owner()->handleL3Intf(intfId); }
  };
  struct CliReactor : Cog::BoundReactor<Flowspec::CliConfig, FlowspecConfigSm> {
    using BoundReactor::BoundReactor;
    void handleEnabledIntf(Nwk::IntfId const& intfId) override { owner()->handleIntf(intfId); }
    void handleCounterUpdateRequestTime() override { owner()->handleCounterUpdateRequest(); }
  };
  struct PmapTypeConfigReactor
      : Cog::BoundReactor<PolicyMap::PolicyMapTypeConfig, FlowspecConfigSm> {
    using BoundReactor::BoundReactor;
    void handleCounterUpdateRequestTime(Cog::String const& name) override {
      owner()->handleCounterUpdate(name);
    }
  };
  struct PmapStatusReactor : Cog::BoundReactor<PolicyMap::PolicyMapTypeStatus, FlowspecConfigSm> {
    using BoundReactor::BoundReactor;
    void handlePmapStatus(Cog::String const& name) override {
      if (auto status = notifier()->pmapStatus(name)) {
        owner()->pmapStatusIs(status);
      } else {
        owner()->pmapStatusDel(name);
      }
    }
  };

  Reactors(FlowspecConfigSm* sm)
      : config(sm->in_.flowspecConfig, sm),
        vrfIds(sm->in_.vrfIdStatus, sm),
        l3Dir(sm->in_.l3StatusDir, sm),
        cli(sm->in_.flowspecCliConfig, sm),
        pmapStatus(sm->in_.pmapTypeStatus, sm),
        pmapTypeConfig(sm->in_.pmapTypeConfig, sm) {}

  ConfigReactor config;
  VrfIdReactor vrfIds;
  L3DirReactor l3Dir;
  CliReactor cli;
  PmapStatusReactor pmapStatus;
  PmapTypeConfigReactor pmapTypeConfig;
};

Cog::Ptr<FlowspecConfigSm> flowspecConfigSmFactory(FlowspecConfigSm::Inputs inputs) {
  return Cog::make<FlowspecConfigSm>(std::move(inputs));
}

Cog::Ptr<FlowspecConfigSm> flowspecConfigSmFactory(
    Cog::Ptr<Flowspec::Config const> flowspecConfig,
    Cog::Ptr<L3::Intf::StatusDir const> l3StatusDir,
    Cog::Ptr<Vrf::VrfIdMap::Status const> vrfIdStatus,
    Cog::Ptr<Flowspec::CliConfig const> flowspecCliConfig,
    Cog::Ptr<PolicyMap::PolicyMapTypeStatus const> pmapTypeStatus,
    Cog::Ptr<PolicyMap::IntfConfig> intfConfig,
    Cog::Ptr<PolicyMap::PolicyMapTypeConfig> pmapTypeConfig,
    Cog::Ptr<PolicyMap::ClassMapTypeConfig> cmapTypeConfig,
    Cog::Ptr<Flowspec::Status> flowspecStatus, Cog::Ptr<Kiln::TaskScheduler> scheduler) {
  return flowspecConfigSmFactory(FlowspecConfigSm::Inputs{
      std::move(flowspecConfig), std::move(l3StatusDir), std::move(vrfIdStatus),
      std::move(flowspecCliConfig), std::move(pmapTypeStatus), std::move(intfConfig),
      std::move(pmapTypeConfig), std::move(cmapTypeConfig), std::move(flowspecStatus),
      std::move(scheduler)});
}

FlowspecConfigSm::FlowspecConfigSm(Inputs inputs)
    : in_(std::move(inputs)),
      l3IntfStatus_([this](Nwk::IntfId const& intfId) { handleIntf(intfId); }, "l3IntfStatus"),
      pmapStatus_(nullptr, "pmapStatus") {
  Cog::requireArgument(in_.flowspecConfig, "flowspecConfig");
  Cog::requireArgument(in_.l3StatusDir, "l3StatusDir");
  Cog::requireArgument(in_.vrfIdStatus, "vrfIdStatus");
  Cog::requireArgument(in_.flowspecCliConfig, "flowspecCliConfig");
  Cog::requireArgument(in_.pmapTypeStatus, "pmapTypeStatus");
  Cog::requireArgument(in_.intfConfig, "intfConfig");
  Cog::requireArgument(in_.pmapTypeConfig, "pmapTypeConfig");
  Cog::requireArgument(in_.cmapTypeConfig, "cmapTypeConfig");
  Cog::requireArgument(in_.flowspecStatus, "flowspecStatus");
  Cog::requireArgument(in_.scheduler, "scheduler");
  reactors_ = std::make_unique<Reactors>(this);
  for (auto const& [name, status] : in_.pmapTypeStatus->pmapStatus()) {
    pmapStatusIs(status);
  }
  handleInitialized();
}

FlowspecConfigSm::~FlowspecConfigSm() {
  reactors_.reset();
  l3IntfStatus_.clearSilently();
  pmapStatus_.clearSilently();
}

void FlowspecConfigSm::l3IntfStatusIs(Cog::Ptr<L3::Intf::Status const> const& status) {
  l3IntfStatus_.is(status->intfId(), status, this);
}

void FlowspecConfigSm::l3IntfStatusDel(Nwk::IntfId const& intfId) { l3IntfStatus_.del(intfId); }

void FlowspecConfigSm::l3IntfStatusDelAll() { l3IntfStatus_.delAll(); }

void FlowspecConfigSm::pmapStatusDel(Cog::String const& name) { pmapStatus_.del(name); }

void FlowspecConfigSm::pmapStatusDelAll() { pmapStatus_.delAll(); }

void FlowspecConfigSm::pmapStatusIs(Cog::Ptr<PolicyMap::PolicyMapStatus const> const& status) {
  pmapStatus_.is(status->name(), status, this);
}

void FlowspecConfigSm::aclEntryLimitIs(std::uint64_t limit) {
  aclEntryLimit_ = limit;
  for (auto const& [name, sm] : flowspecVrfConfigSm()) {
    sm->aclEntryLimitIs(limit);
  }
}

void FlowspecConfigSm::handleInitialized() {
  TRACE(gTrace, 2, "handleInitialized");
  initializedIs(true);
  handleL3Intf();
  handleVrfRuleConfig();
}

void FlowspecConfigSm::handleVrfRuleConfig() {
  if (!initialized()) {
    return;
  }
  for (auto const& [vrfId, vrfRuleConfig] : in_.flowspecConfig->vrfRuleConfig()) {
    handleVrfRuleConfig(vrfId);
  }
  for (auto const& [vrfId, vrfRuleStatus] : in_.flowspecStatus->vrfRuleStatus()) {
    if (!in_.flowspecConfig->vrfRuleConfig(vrfId)) {
      TRACE(gTrace, 3, "Cleanup stale flowspec VRF status for ", vrfId);
      in_.flowspecStatus->vrfRuleStatusDel(vrfId);
    }
  }
}

void FlowspecConfigSm::handleVrfRuleConfig(VrfId vrfId) {
  if (!initialized()) {
    return;
  }
  if (in_.flowspecConfig->vrfRuleConfig(vrfId)) {
    TRACE(gTrace, 3, "Creating vrfRuleStatus for ", vrfId);
    in_.flowspecStatus->vrfRuleStatusIs(vrfId);
  } else {
    TRACE(gTrace, 3, "Deleting vrfRuleStatus for ", vrfId);
    in_.flowspecStatus->vrfRuleStatusDel(vrfId);
  }
  handleVrf(vrfId);
}

void FlowspecConfigSm::handleVrf(VrfId vrfId) {
  if (!initialized()) {
    return;
  }
  Cog::String const* cached = vrfIdToNameCache().find(vrfId);
  Cog::String const oldName = cached ? *cached : Cog::String();
  Cog::String const newName = in_.vrfIdStatus->vrfName(vrfId);
  TRACE(gTrace, 3, "vrfId ", vrfId, ", newVrfName ", newName, ", oldVrfName ", oldName);
  if (cached && oldName != newName) {
    TRACE(gTrace, 3, "Cleanup old VRF ", oldName);
    doCleanupVrf(oldName);
  }
  auto const vrfRuleConfig = in_.flowspecConfig->vrfRuleConfig(vrfId);
  auto const vrfRuleStatus = in_.flowspecStatus->vrfRuleStatus(vrfId);
  if (!newName.empty() && vrfRuleConfig && vrfRuleStatus) {
    TRACE(gTrace, 3, "Instantiating FlowspecVrfConfigSm for ", newName);
    vrfIdToNameCacheIs(vrfId, newName);
    auto const policyMapConfig =
        in_.pmapTypeConfig->pmapInputIs(newName, in_.pmapTypeConfig->mapType());
    in_.pmapTypeConfig->pmapIs(policyMapConfig);
    flowspecVrfConfigSmIs(
        newName, FlowspecVrfConfigSm::Inputs{vrfRuleConfig, vrfRuleStatus, in_.cmapTypeConfig,
                                             policyMapConfig, in_.vrfIdStatus, in_.scheduler})
        ->aclEntryLimitIs(aclEntryLimit_);
    return;
  }
  Cog::String const name = newName.empty() ? oldName : newName;
  TRACE(gTrace, 3, "Cleanup FlowspecVrfConfigSm for ", name);
  vrfIdToNameCacheDel(vrfId);
  doCleanupVrf(name);
}

void FlowspecConfigSm::doCleanupVrf(Cog::String const& vrfName) {
  TRACE(gTrace, 3, "Cleaning up ", vrfName);
  if (auto const sm = flowspecVrfConfigSm(vrfName)) {
    sm->doCleanup();
    flowspecVrfConfigSmDel(vrfName);
  }
  in_.pmapTypeConfig->pmapDel(vrfName);
  in_.pmapTypeConfig->pmapInputDel(vrfName);
  in_.pmapTypeConfig->counterUpdateRequestTimeDel(vrfName);
}

bool FlowspecConfigSm::intfEnabled(Nwk::IntfId const& intfId) const {
  return in_.flowspecCliConfig->enabledIntf(intfId) != Flowspec::IpVersion::none ||
         in_.flowspecConfig->enabledIntfAll();
}

void FlowspecConfigSm::handleIntf(Nwk::IntfId const& intfId) {
  if (!initialized()) {
    return;
  }
  auto const status = in_.l3StatusDir->intfStatus(intfId);
  if (status && intfEnabled(intfId)) {
    TRACE(gTrace, 4, "Map ", intfId, " --> ", status->vrf());
    in_.intfConfig->intfIs(intfId, status->vrf());
  } else {
    TRACE(gTrace, 4, "Unmap ", intfId);
    in_.intfConfig->intfDel(intfId);
  }
}

void FlowspecConfigSm::handleIntf() {
  if (!initialized()) {
    return;
  }
  TRACE(gTrace, 4, "enabledIntfAll ", in_.flowspecConfig->enabledIntfAll());
  for (auto const& [intfId, status] : in_.l3StatusDir->intfStatus()) {
    handleIntf(intfId);
  }
}

void FlowspecConfigSm::handleL3Intf(Nwk::IntfId const& intfId) {
  if (!initialized()) {
    return;
  }
  if (auto const status = in_.l3StatusDir->intfStatus(intfId)) {
    TRACE(gTrace, 4, "Instantiating L3IntfStatusSm for ", intfId);
    l3IntfStatusIs(status);
  } else {
    TRACE(gTrace, 4, "Deleting L3IntfStatusSm for ", intfId);
    l3IntfStatusDel(intfId);
  }
}

void FlowspecConfigSm::handleL3Intf() {
  if (!initialized()) {
    return;
  }
  TRACE(gTrace, 4, "handleL3Intf");
  for (auto const& [intfId, status] : in_.l3StatusDir->intfStatus()) {
    handleL3Intf(intfId);
  }
  for (auto const& [intfId, policyName] : in_.intfConfig->intf()) {
    if (!in_.l3StatusDir->intfStatus(intfId)) {
      TRACE(gTrace, 3, "Deleting stale interface ", intfId);
      in_.intfConfig->intfDel(intfId);
    }
  }
}

void FlowspecConfigSm::dumpState(Kiln::DumpContext* ctx, int indent) const {
  Kiln::dumpf(ctx, indent, "FlowspecConfigSm: perVrfSms #%zu\n", flowspecVrfConfigSm().size());
  for (auto const& [name, sm] : flowspecVrfConfigSm()) {
    sm->dumpState(ctx, indent + 2);
  }
  Kiln::dumpf(ctx, indent, "vrfIdToNameCache #%zu\n", vrfIdToNameCache().size());
  for (auto const& [vrfId, name] : vrfIdToNameCache()) {
    Kiln::dumpf(ctx, indent + 2, "vrfId %u --> %s\n", vrfId, name.c_str());
  }
  Kiln::dumpf(ctx, indent, "counterUpdatePending #%zu\n", counterUpdatePending().size());
  for (auto const& name : counterUpdatePending()) {
    Kiln::dumpf(ctx, indent + 2, "%s\n", name.c_str());
  }
}

}  // namespace OrbFlowspec
