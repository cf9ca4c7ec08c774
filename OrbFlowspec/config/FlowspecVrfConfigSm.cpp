#include "OrbFlowspec/config/FlowspecVrfConfigSm.h"

#include <vector>

#include "OrbFlowspec/config/ClassNamer.h"
#include "OrbFlowspec/translation/ClassMapMatchBuilder.h"
#include "platform/trace/Trace.h"

namespace OrbFlowspec {

namespace {
Trace::Handle gTrace("FlowspecVrfConfigSm");
constexpr Kiln::TaskPriority kTaskPriority{2};
}  // namespace

// Watches one rule: a changed match or action set queues the rule, a changed redirect target
// re-indexes it. A change of the rate, the traffic action, the DSCP marking or the redirect
// needs no class-map work, only a new policy-map version with the rule's actions read anew.
class FlowspecVrfConfigSm::RuleConfigSm
    : public Cog::BoundReactor<Flowspec::RuleConfig, FlowspecVrfConfigSm> {
 public:
  using BoundReactor::BoundReactor;
  Flowspec::FlowspecKey const& ruleKey() const { return notifier()->key(); }
  void handleMatchSet(Flowspec::MatchCompType const&) override {
    owner()->handleRuleConfig(ruleKey());
  }
  void handleActionFieldSet() override { owner()->handleRuleConfig(ruleKey()); }
  void handleTrafficRedirect() override {
    owner()->handleRedirectVrfId(ruleKey());
    owner()->handleRuleAction(ruleKey());
  }
  void handleTrafficRateLimit() override { owner()->handleRuleAction(ruleKey()); }
  void handleTrafficAction() override { owner()->handleRuleAction(ruleKey()); }
  void handleTrafficMarkingDscp() override { owner()->handleRuleAction(ruleKey()); }
  // A rule met for the first time is queued once, not once per component and action.
  void replay() override {
    if (!notifier()) {
      return;
    }
    owner()->handleRuleConfig(ruleKey());
    owner()->handleRedirectVrfId(ruleKey());
    owner()->handleRuleAction(ruleKey());
  }
};

struct FlowspecVrfConfigSm::Reactors {
  struct RulesReactor : Cog::BoundReactor<Flowspec::VrfRuleConfig, FlowspecVrfConfigSm> {
    using BoundReactor::BoundReactor;
    void handleRule(Flowspec::FlowspecKey const& key) override {
      if (auto rule = notifier()->rule(key)) {
        owner()->ruleConfigIs(rule);
      } else {
        owner()->ruleConfigDel(key);
      }
    }
  };
  struct VrfIdReactor : Cog::BoundReactor<Vrf::VrfIdMap::Status, FlowspecVrfConfigSm> {
    using BoundReactor::BoundReactor;
    void handleVrfEntry(VrfId const& vrfId) override { owner()->handleVrf(vrfId); }
  };

  explicit Reactors(FlowspecVrfConfigSm* sm)
      : rules(sm->in_.vrfRuleConfig, sm), vrfIds(sm->in_.vrfIdStatus, sm) {}

  RulesReactor rules;
  VrfIdReactor vrfIds;
};

Cog::Ptr<FlowspecVrfConfigSm> flowspecVrfConfigSmFactory(
    Cog::String const& vrfName, Cog::Ptr<Flowspec::VrfRuleConfig const> vrfRuleConfig,
    Cog::Ptr<Flowspec::VrfRuleStatus> vrfRuleStatus,
    Cog::Ptr<PolicyMap::ClassMapTypeConfig> cmapTypeConfig,
    Cog::Ptr<PolicyMap::PolicyMapConfig> policyMapConfig,
    Cog::Ptr<Vrf::VrfIdMap::Status const> vrfIdStatus, Cog::Ptr<Kiln::TaskScheduler> scheduler) {
  return Cog::make<FlowspecVrfConfigSm>(
      vrfName, FlowspecVrfConfigSm::Inputs{std::move(vrfRuleConfig), std::move(vrfRuleStatus),
                                           std::move(cmapTypeConfig), std::move(policyMapConfig),
                                           std::move(vrfIdStatus), std::move(scheduler)});
}

FlowspecVrfConfigSm::FlowspecVrfConfigSm(Cog::String vrfName, Inputs inputs)
    : vrfName_(std::move(vrfName)),
      in_(std::move(inputs)),
      ruleConfig_([this](Flowspec::FlowspecKey const& key) { doCleanupRule(key); }, "ruleConfig") {
  Cog::requireArgument(in_.vrfRuleConfig, "vrfRuleConfig");
  Cog::requireArgument(in_.vrfRuleStatus, "vrfRuleStatus");
  Cog::requireArgument(in_.cmapTypeConfig, "cmapTypeConfig");
  Cog::requireArgument(in_.policyMapConfig, "policyMapConfig");
  Cog::requireArgument(in_.vrfIdStatus, "vrfIdStatus");
  Cog::requireArgument(in_.scheduler, "scheduler");
  reactors_ = std::make_unique<Reactors>(this);
  for (auto const& [key, rule] : in_.vrfRuleConfig->rule()) {
    ruleConfigIs(rule);
  }
  ruleTask_ = std::make_unique<Kiln::Task>(in_.scheduler, kTaskPriority, vrfName_,
                                           [this] { handleRuleTask(); });
  policyTimerTask_ = std::make_unique<Kiln::TimerTask>(in_.scheduler, kTaskPriority, vrfName_,
                                                       [this] { handlePolicy(); });
  starvationTimerTask_ = std::make_unique<Kiln::TimerTask>(in_.scheduler, kTaskPriority, vrfName_,
                                                           [this] { handlePolicy(); });
  handleInitialized();
}

FlowspecVrfConfigSm::~FlowspecVrfConfigSm() {
  classActionContainerDelAll();
  policyTimerTask_.reset();
  starvationTimerTask_.reset();
  redirectVrfIdDelAll();
  ruleTask_.reset();
  reactors_.reset();
  ruleConfig_.clearSilently();
}

void FlowspecVrfConfigSm::ruleConfigIs(Cog::Ptr<Flowspec::RuleConfig const> const& rule) {
  if (!ruleConfig_.find(rule->key())) {
    classListChangedIs(true);
  }
  ruleConfig_.is(rule->key(), rule, this);
}

void FlowspecVrfConfigSm::ruleConfigDel(Flowspec::FlowspecKey const& key) {
  classListChangedIs(true);
  ruleConfig_.del(key);
}

void FlowspecVrfConfigSm::handleInitialized() {
  TRACE(gTrace, 3, "policyName ", vrfName_);
  initializedIs(true);
  in_.policyMapConfig->subconfigDelAll();
  in_.policyMapConfig->currCfgIs(nullptr);
  handleRuleConfig();
  handleRedirectVrfId();
  // A VRF whose rules are all infeasible has nothing to queue, yet its policy-map must publish
  // a first (empty) version like any other: the same outcome whichever order the VRF's name and
  // rules arrived in.
  schedulePolicy();
}

void FlowspecVrfConfigSm::handleRuleConfig() {
  if (!initialized()) {
    return;
  }
  TRACE(gTrace, 5, "vrfName ", vrfName_);
  for (auto const& [key, rule] : in_.vrfRuleConfig->rule()) {
    handleRuleConfig(key);
  }
  for (auto const& [key, status] : in_.vrfRuleStatus->ruleStatus()) {
    if (!in_.vrfRuleConfig->rule(key)) {
      TRACE(gTrace, 3, "Cleanup stale rule status for ", key);
      in_.vrfRuleStatus->ruleStatusDel(key);
    }
  }
}

void FlowspecVrfConfigSm::handleRuleConfig(Flowspec::FlowspecKey const& key) {
  if (!initialized()) {
    return;
  }
  TRACE(gTrace, 5, "vrfName ", vrfName_, " className ", key);
  ruleBacklogIs(key);
  actionBacklogIs(key);
  ruleTask_->scheduleTask();
}

void FlowspecVrfConfigSm::handleRuleAction(Flowspec::FlowspecKey const& key) {
  if (!initialized()) {
    return;
  }
  actionBacklogIs(key);
  schedulePolicy();
}

void FlowspecVrfConfigSm::doCleanupRule(Flowspec::FlowspecKey const& key) {
  TRACE(gTrace, 5, key);
  handleRuleConfig(key);
  doCleanupRedirectVrfId(key);
}

void FlowspecVrfConfigSm::handleRuleTask() {
  if (!initialized()) {
    return;
  }
  auto const processNext = [this] {
    Flowspec::FlowspecKey const key = *ruleBacklog().begin();
    processRuleMatchSet(key);
    ruleBacklogDel(key);
  };
  auto const numProcessed =
      ruleTask_->drainBacklog([this] { return ruleBacklog().size(); }, processNext);
  TRACE(gTrace, 5, "numProcessed: ", numProcessed, " backlog remaining: ", ruleBacklog().size());
  if (!ruleBacklog().empty()) {
    ruleTask_->scheduleTask();
    starvationTimerTask_->scheduleTaskLowestDelay(starvationTimerTaskDelay());
  } else {
    schedulePolicy();
  }
}

void FlowspecVrfConfigSm::schedulePolicy() {
  if (!initialized()) {
    return;
  }
  policyTimerTask_->scheduleTaskDelay(policyTimerTaskDelay());
  starvationTimerTask_->scheduleTaskLowestDelay(starvationTimerTaskDelay());
}

void FlowspecVrfConfigSm::processRuleMatchSet(Flowspec::FlowspecKey const& key) {
  if (!initialized()) {
    return;
  }
  OrbFlowspec::processRuleMatchSet(key, vrfName_, in_.vrfRuleConfig, in_.vrfRuleStatus,
                                   in_.cmapTypeConfig, aclEntryLimit());
}

void FlowspecVrfConfigSm::aclEntryLimitIs(std::uint64_t limit) {
  if (limit == aclEntryLimit_) {
    return;
  }
  aclEntryLimit_ = limit;
  handleRuleConfig();  // rules refused under the old limit may fit now
}

void FlowspecVrfConfigSm::doCleanupCmapConfig(Cog::SharedString const& className,
                                              Cog::String const& reason) {
  OrbFlowspec::doCleanupCmapConfig(vrfName_, in_.cmapTypeConfig, className, reason);
}

void FlowspecVrfConfigSm::handlePolicy() {
  if (!initialized()) {
    return;
  }
  Cog::Seconds const start = Cog::System::currentTime();
  TRACE(gTrace, 6, "handlePolicy");
  Kiln::UniqueId const version = Kiln::UniqueId::next();
  auto const previous = in_.policyMapConfig->currCfg();
  auto const subconfig = in_.policyMapConfig->subconfigIs(vrfName_, version);
  if (previous) {
    subconfig->classActionShareFrom(*previous);
  }
  ruleOrder_.update(actionBacklog(), *in_.vrfRuleConfig);  // every rule come or gone is in it
  // While priorities are assigned, every rule's class is named anyway: when most rules have a
  // pending action (a first build), their actions are updated on the way with that name, rather
  // than naming each class twice. A few pending actions are updated on their own, sparing every
  // rule a lookup in the backlog.
  bool const assign = !previous || classListChanged();
  bool const onTheWay = assign && 2 * actionBacklog().size() >= in_.vrfRuleConfig->rule().size();
  if (assign) {
    assignClassPriorities(*subconfig, previous.get(), onTheWay);
  } else {
    subconfig->classPrioShareFrom(*previous);
  }
  TRACE(gTrace, 6, "Assigned ", subconfig->classPrio().size(), " class priorities");
  std::vector<Flowspec::FlowspecKey> withdrawn;
  for (auto const& key : actionBacklog()) {
    auto const rule = in_.vrfRuleConfig->rule(key);
    if (!rule) {
      subconfig->classActionDel(key.sharedStringValue());
      withdrawn.push_back(key);
    } else if (!onTheWay) {
      updateClassAction(*subconfig, key, rule, key.sharedStringValue());
    }
  }
  actionBacklogDelAll();
  classListChangedIs(false);
  in_.policyMapConfig->currCfgIs(subconfig);
  TRACE(gTrace, 6, "Cleanup old subconfig for ", curPmapVersion());
  in_.policyMapConfig->subconfigDel(curPmapVersion());
  curPmapVersionIs(version);
  TRACE(gTrace, 6, "Cur pmap subconfig version ", version);
  // The containers of withdrawn rules go once no version uses their actions. Every rule has
  // its container now, so any other stale one shows as a surplus, found by a sweep.
  auto const dropStale = [this](Flowspec::FlowspecKey const& key) {
    if (classActionContainer(key) && !in_.vrfRuleConfig->rule(key)) {
      TRACE(gTrace, 6, "Cleanup stale action container for ", key);
      classActionContainerDel(key);
    }
  };
  for (auto const& key : withdrawn) {
    dropStale(key);
  }
  if (classActionContainer().size() > in_.vrfRuleConfig->rule().size()) {
    for (auto const& [key, container] : classActionContainer()) {
      dropStale(key);
    }
  }
  policyTimerTask_->stopTimerTask();
  starvationTimerTask_->stopTimerTask();
  TRACE(gTrace, 6, "handlePolicy took ", Cog::System::currentTime() - start, " s");
}

// Priorities of the classes in rule precedence order, per family, the names taken from the
// `previous` version where they are unchanged; with `updateActions`, the actions of rules in
// the backlog are updated on the way.
void FlowspecVrfConfigSm::assignClassPriorities(PolicyMap::PolicyMapSubConfig& subconfig,
                                                PolicyMap::PolicyMapSubConfig const* previous,
                                                bool updateActions) {
  std::uint32_t nextV4 = v4ClassPrioOffset;
  std::uint32_t nextV6 = v6ClassPrioOffset;
  ClassNamer namer(previous, actionBacklog(), ruleOrder_);
  // A new version lists every rule: the walk reads the order only, and a rule's configuration
  // only when its action is to be updated.
  auto const& keys = ruleOrder_.keys();
  for (std::size_t position = 0; position < keys.size(); ++position) {
    Flowspec::FlowspecKey const& key = keys[position];
    std::uint32_t const prio = key.af() == Nwk::AddressFamily::ipv6 ? nextV6++ : nextV4++;
    Cog::SharedString className = namer.next(position);
    if (updateActions && actionBacklog(key)) {
      updateClassAction(subconfig, key, in_.vrfRuleConfig->rule(key), className);
    }
    subconfig.classPrioIs(prio, std::move(className));
  }
  namer.finish();
  afPrioValIs(Nwk::AddressFamily::ipv4, nextV4);
  afPrioValIs(Nwk::AddressFamily::ipv6, nextV6);
}

// The rule's class action in `subconfig`. An unchanged action keeps its ClassAction, so that
// the machinery sees the class unchanged.
void FlowspecVrfConfigSm::updateClassAction(PolicyMap::PolicyMapSubConfig& subconfig,
                                            Flowspec::FlowspecKey const& key,
                                            Cog::Ptr<Flowspec::RuleConfig const> const& rule,
                                            Cog::SharedString const& className) {
  auto const classAction = Cog::make<PolicyMap::ClassAction>(className);
  updateClassAction(key, classAction, rule);
  auto const current = subconfig.classAction(className);
  if (!current || !current->sameActions(*classAction)) {
    subconfig.classActionIs(className, classAction);
  }
}

void FlowspecVrfConfigSm::doCleanup() {
  TRACE(gTrace, 3, "vrfName ", vrfName_, " reason SM destruction");
  for (auto const& [key, rule] : in_.vrfRuleConfig->rule()) {
    doCleanupCmapConfig(key.sharedStringValue(), "SM destruction");
  }
  for (auto const& key : ruleBacklog()) {
    doCleanupCmapConfig(key.sharedStringValue(), "SM destruction");
    ruleBacklogDel(key);
  }
  in_.vrfRuleStatus->ruleStatusDelAll();
}

void FlowspecVrfConfigSm::dumpState(Kiln::DumpContext* ctx, int indent) const {
  Kiln::dumpf(ctx, indent, "FlowspecVrfConfigSm: %s, numRules #%zu\n", vrfName_.c_str(),
              in_.vrfRuleConfig->rule().size());
  Kiln::dumpf(ctx, indent + 2, "classActionContainers: #%zu\n", classActionContainer().size());
  for (auto const& [key, container] : classActionContainer()) {
    container->dumpState(ctx, indent + 4);
  }
  Kiln::dumpf(ctx, indent + 2, "cachedRedirectVrfIds: #%zu\n", cachedRedirectVrfId().size());
  for (auto const& [key, vrfId] : cachedRedirectVrfId()) {
    Kiln::dumpf(ctx, indent + 4, "%s --> %u\n", key.stringValue().c_str(), vrfId);
  }
  Kiln::dumpf(ctx, indent + 2, "redirectVrfIds: #%zu\n", redirectVrfId().size());
  for (auto const& [vrfId, record] : redirectVrfId()) {
    record->dumpState(ctx, indent + 4);
  }
  Kiln::dumpf(ctx, indent + 2, "numRuleBackLogs: #%zu\n", ruleBacklog().size());
  for (auto const& key : ruleBacklog()) {
    Kiln::dumpf(ctx, indent + 4, "%s\n", key.stringValue().c_str());
  }
}

}  // namespace OrbFlowspec
