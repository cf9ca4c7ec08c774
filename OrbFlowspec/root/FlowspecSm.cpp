#include "OrbFlowspec/root/FlowspecSm.h"

#include "platform/cog/Errors.h"
#include "platform/trace/Trace.h"

namespace OrbFlowspec {

namespace {
Trace::Handle gTrace("FlowspecSm");
Cog::String const kFlowspec = "Flowspec";
PolicyMap::MapType const kFlowspecMapType = PolicyMap::mapTypeFlowspec;
}  // namespace

Cog::Ptr<FlowspecSm> flowspecSmFactory(Cog::Ptr<FlowspecMounts> flowspecMounts,
                                       Cog::Ptr<PolicyMap::PolicyMapAclHelper> aclHelper,
                                       Cog::Ptr<Kiln::TaskScheduler> scheduler,
                                       Cog::Ptr<Kiln::TimerWheel> timerWheel,
                                       Cog::Ptr<Orb::OrbCommonSmData const> ocsd) {
  return Cog::make<FlowspecSm>(std::move(flowspecMounts), std::move(aclHelper),
                               std::move(scheduler), std::move(timerWheel), std::move(ocsd));
}

FlowspecSm::FlowspecSm(Cog::Ptr<FlowspecMounts> flowspecMounts,
                       Cog::Ptr<PolicyMap::PolicyMapAclHelper> aclHelper,
                       Cog::Ptr<Kiln::TaskScheduler> scheduler,
                       Cog::Ptr<Kiln::TimerWheel> timerWheel,
                       Cog::Ptr<Orb::OrbCommonSmData const> ocsd)
    : flowspecMounts_(std::move(flowspecMounts)),
      aclHelper_(std::move(aclHelper)),
      scheduler_(std::move(scheduler)),
      timerWheel_(std::move(timerWheel)),
      ocsd_(std::move(ocsd)) {
  Cog::requireArgument(flowspecMounts_, "flowspecMounts");
  Cog::requireArgument(aclHelper_, "aclHelper");
  Cog::requireArgument(scheduler_, "scheduler");
  Cog::requireArgument(timerWheel_, "timerWheel");
  Cog::requireArgument(ocsd_, "ocsd");
  handleInitialized();
}

Cog::Ptr<PolicyMap::ClassMapTypeConfig> FlowspecSm::cmapTypeConfigIs(Cog::String const& name) {
  return policyMapConfig()->cmapTypeIs(name);
}

Cog::Ptr<PolicyMap::PolicyMapTypeConfig> FlowspecSm::pmapTypeConfigIs(Cog::String const& name,
                                                                      PolicyMap::MapType mapType) {
  return policyMapConfig()->pmapTypeIs(name, mapType);
}

Cog::Ptr<RuleSetSm> FlowspecSm::ruleSetSmIs(Cog::Ptr<Kiln::TaskScheduler> const& scheduler,
                                            Cog::Ptr<Flowspec::RuleSet const> const& ruleSet,
                                            Cog::Ptr<Flowspec::Config> const& config) {
  ruleSetSm_ = ruleSetSmFactory(scheduler, ruleSet, config);
  return ruleSetSm_;
}

Cog::Ptr<FlowspecConfigSm> FlowspecSm::flowspecConfigSmIs(FlowspecConfigSm::Inputs inputs) {
  flowspecConfigSm_ = flowspecConfigSmFactory(std::move(inputs));
  return flowspecConfigSm_;
}

Cog::Ptr<FlowspecStatusSm> FlowspecSm::flowspecStatusSmIs(
    Cog::Ptr<PolicyMap::PolicyMapTypeStatus const> const& pmapTypeStatus,
    Cog::Ptr<Flowspec::Status> const& flowspecStatus,
    Cog::Ptr<Vrf::VrfIdMap::Status const> const& vrfIdStatus,
    Cog::Ptr<Flowspec::Config const> const& flowspecConfig,
    Cog::Ptr<Kiln::TaskScheduler> const& scheduler) {
  flowspecStatusSm_ = flowspecStatusSmFactory(pmapTypeStatus, flowspecStatus, vrfIdStatus,
                                              flowspecConfig, scheduler);
  return flowspecStatusSm_;
}

Cog::Ptr<UnsupportedQualSm> FlowspecSm::unsupportedQualSmIs(
    Cog::Ptr<Acl::StatusDp const> const& aclStatusDp,
    Cog::Ptr<Flowspec::Status> const& flowspecStatus) {
  unsupportedQualSm_ = unsupportedQualSmFactory(aclStatusDp, flowspecStatus);
  return unsupportedQualSm_;
}

void FlowspecSm::handleInitialized() {
  TRACE(gTrace, 2, "handleInitialized ", fwkType());
  TRACE(gTrace, 8, "handleInitialized");
  policyMapConfigIs("policyMapConfig");
  pmapTypeConfigIs(kFlowspec, kFlowspecMapType);
  cmapTypeConfigIs(kFlowspec)->typeIs(kFlowspecMapType);
  intfConfigIs(kFlowspec)->typeIs(kFlowspecMapType);
  pbrStatusIs(kFlowspec)->typeIs(kFlowspecMapType);
  pmapStatusReqIs(kFlowspec);
  flowspecMounts_->flowspecStatus()->flowspecSupportedIs(true);
  initializedIs(true);
  auto const& mounts = *flowspecMounts_;
  ruleSetSmIs(scheduler_, mounts.flowspecTidal(), mounts.flowspecConfig());
  flowspecConfigSmIs({mounts.flowspecConfig(), mounts.l3StatusDir(), mounts.vrfIdStatus(),
                      mounts.flowspecCliConfig(), pbrStatus(), intfConfig(),
                      policyMapConfig()->pmapType(kFlowspec),
                      policyMapConfig()->cmapType(kFlowspec), mounts.flowspecStatus(), scheduler_});
  flowspecStatusSmIs(pbrStatus(), mounts.flowspecStatus(), mounts.vrfIdStatus(),
                     mounts.flowspecConfig(), scheduler_);
  unsupportedQualSmIs(mounts.aclStatusDp(), mounts.flowspecStatus());
  // The agent has no ACL changes under way to hand over: the machinery gets no difference
  // record.
  orbFlowspecSmIs(intfConfig(), policyMapConfig()->pmapType(kFlowspec),
                  policyMapConfig()->cmapType(kFlowspec), pmapStatusReq(), pbrStatus(),
                  mounts.aclConfig(), mounts.fieldSetConfig(), mounts.lagInputConfig(),
                  mounts.ipStatus(), mounts.ip6Status(), mounts.routingVrfInfoDir(),
                  mounts.routing6VrfInfoDir(), aclHelper_, Cog::Ptr<Acl::AclDiff>(), false, true,
                  false, mounts.nexthopConfig(), mounts.nexthopStatus(),
                  mounts.nexthopGroupConfig(), mounts.nexthopGroupStatus(), timerWheel_, ocsd_);
  orbFlowspecSm_->initializedIs(true);
}

void FlowspecSm::dumpState(Kiln::DumpContext* ctx, int indent) const {
  Kiln::dumpf(ctx, indent, "FlowspecSm\n");
  if (policyMapConfig()) {
    policyMapConfig()->dumpState(ctx, indent + 2);
  }
  if (flowspecConfigSm_) {
    flowspecConfigSm_->dumpState(ctx, indent + 2);
  }
  if (auto const& config = flowspecMounts_->flowspecConfig()) {
    config->dumpState(ctx, indent + 2);
  }
  if (auto const& status = flowspecMounts_->flowspecStatus()) {
    status->dumpState(ctx, indent + 2);
  }
}

}  // namespace OrbFlowspec
