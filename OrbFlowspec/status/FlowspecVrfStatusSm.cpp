#include "OrbFlowspec/status/FlowspecVrfStatusSm.h"

#include "platform/cog/Assert.h"
#include "platform/cog/Errors.h"
#include "platform/trace/Trace.h"

namespace OrbFlowspec {

namespace {
Trace::Handle gTrace("FlowspecVrfStatusSm");
constexpr Kiln::TaskPriority kTaskPriority{2};
using Flowspec::HwRuleProgrammingStatus;
}  // namespace

// Watches the state of one class-map; the class-map is named by its rule key's text, whose key
// is found once (a class-map's name never changes; its state changes often).
// Only a change of the status the state gives the rule re-evaluates the rule: a class-map that
// appears unknown, or goes pending, leaves its rule not installed, as it was without it. The
// status is kept in the owner's index under the rule's key, for a class-map named by the key's
// own text.
class FlowspecVrfStatusSm::ClassMapStatusSm
    : public Cog::BoundReactor<PolicyMap::ClassMapStatus, FlowspecVrfStatusSm> {
 public:
  using BoundReactor::BoundReactor;
  ~ClassMapStatusSm() override {
    if (indexed_) {
      owner()->classStatusIs(*key_, HwRuleProgrammingStatus::hwStatusNotInstalled);
    }
  }

  void handleClassState() override {
    Status const status = ruleStatusFor(notifier()->classState());
    if (status == reported_) {
      return;
    }
    reported_ = status;
    if (!parsed_) {
      auto found = owner()->classKey(notifier()->name());
      key_ = std::move(found.key);
      parsed_ = true;
      indexed_ = found.canonical;
    }
    if (indexed_) {
      owner()->classStatusIs(*key_, status);
    }
    owner()->handleClassState(notifier()->name(), key_);
  }

 private:
  Status reported_ = HwRuleProgrammingStatus::hwStatusNotInstalled;
  bool parsed_ = false;
  bool indexed_ = false;
  std::optional<Flowspec::FlowspecKey> key_;
};

// Watches the installed states of one interface, per match option.
class FlowspecVrfStatusSm::IntfStatusSm
    : public Cog::BoundReactor<PolicyMap::IntfStatus, FlowspecVrfStatusSm> {
 public:
  using BoundReactor::BoundReactor;
  void handleInstalled(PolicyMap::ClassMapMatchOption const& matchOption) override {
    owner()->handleIntfStatus(notifier()->intfId(), matchOption);
  }
};

struct FlowspecVrfStatusSm::Reactors {
  struct PmapStatusReactor : Cog::BoundReactor<PolicyMap::PolicyMapStatus, FlowspecVrfStatusSm> {
    using BoundReactor::BoundReactor;
    void handleIntfStatus(Nwk::IntfId const& intfId) override {
      if (auto const record = notifier()->intfStatus(intfId)) {
        owner()->intfStatusIs(record);
      } else {
        owner()->intfStatusDel(intfId);
      }
    }
    void handleCmap(Cog::SharedString const& name) override { owner()->handleClassStatus(name); }
  };
  struct RuleStatusReactor : Cog::BoundReactor<Flowspec::VrfRuleStatus, FlowspecVrfStatusSm> {
    using BoundReactor::BoundReactor;
    void handleRuleStatus(Flowspec::FlowspecKey const& key) override { owner()->handleRule(key); }
  };
  struct RuleConfigReactor : Cog::BoundReactor<Flowspec::VrfRuleConfig, FlowspecVrfStatusSm> {
    using BoundReactor::BoundReactor;
    // A rule configured before its status is created is evaluated when the status appears.
    void handleRule(Flowspec::FlowspecKey const& key) override {
      if (owner()->in_.vrfRuleStatus->ruleStatus(key)) {
        owner()->handleRule(key);
      }
    }
  };
  struct StatusReactor : Cog::BoundReactor<Flowspec::Status, FlowspecVrfStatusSm> {
    using BoundReactor::BoundReactor;
    void handleUnsupportedQual(Nwk::AddressFamily const& af) override {
      owner()->handleUnsupportedQual(af);
    }
  };

  explicit Reactors(FlowspecVrfStatusSm* sm)
      : pmapStatus(sm->in_.pmapStatus, sm),
        ruleStatus(sm->in_.vrfRuleStatus, sm),
        ruleConfig(sm->in_.vrfRuleConfig, sm),
        status(sm->in_.flowspecStatus, sm) {}

  PmapStatusReactor pmapStatus;
  RuleStatusReactor ruleStatus;
  RuleConfigReactor ruleConfig;
  StatusReactor status;
};

Cog::Ptr<FlowspecVrfStatusSm> flowspecVrfStatusSmFactory(
    Cog::Ptr<PolicyMap::PolicyMapStatus const> pmapStatus,
    Cog::Ptr<Flowspec::VrfRuleStatus> vrfRuleStatus,
    Cog::Ptr<Flowspec::VrfRuleConfig const> vrfRuleConfig,
    Cog::Ptr<Flowspec::Status const> flowspecStatus, Cog::Ptr<Kiln::TaskScheduler> taskScheduler) {
  return Cog::make<FlowspecVrfStatusSm>(FlowspecVrfStatusSm::Inputs{
      std::move(pmapStatus), std::move(vrfRuleStatus), std::move(vrfRuleConfig),
      std::move(flowspecStatus), std::move(taskScheduler)});
}

FlowspecVrfStatusSm::FlowspecVrfStatusSm(Inputs inputs)
    : in_(std::move(inputs)),
      intfStatus_(
          [this](Nwk::IntfId const& intfId) {
            handleIntfStatus(intfId, PolicyMap::ClassMapMatchOption::matchIpAccessGroup);
            handleIntfStatus(intfId, PolicyMap::ClassMapMatchOption::matchIpv6AccessGroup);
          },
          "intfStatus"),
      classMapStatus_([this](Cog::SharedString const& name) { handleClassState(name); },
                      "classMapStatus") {
  Cog::requireArgument(in_.pmapStatus, "pmapStatus");
  Cog::requireArgument(in_.vrfRuleStatus, "vrfRuleStatus");
  Cog::requireArgument(in_.vrfRuleConfig, "vrfRuleConfig");
  Cog::requireArgument(in_.flowspecStatus, "flowspecStatus");
  Cog::requireArgument(in_.taskScheduler, "taskScheduler");
  reactors_ = std::make_unique<Reactors>(this);
  ruleTask_ = std::make_unique<Kiln::Task>(in_.taskScheduler, kTaskPriority, vrfName(),
                                           [this] { handleRuleTask(); });
  for (auto const& [intfId, status] : in_.pmapStatus->intfStatus()) {
    intfStatusIs(status);
  }
  handleInitialized();
}

FlowspecVrfStatusSm::~FlowspecVrfStatusSm() {
  ruleTask_.reset();
  reactors_.reset();
  intfStatus_.clearSilently();
  classMapStatus_.clearSilently();
}

FlowspecVrfStatusSm::VrfId FlowspecVrfStatusSm::vrfId() const {
  return in_.vrfRuleStatus ? in_.vrfRuleStatus->vrfId() : Vrf::VrfIdMap::kInvalidVrfId;
}

Cog::String FlowspecVrfStatusSm::vrfName() const {
  return in_.pmapStatus ? in_.pmapStatus->name() : Cog::String();
}

void FlowspecVrfStatusSm::handleInitialized() {
  TRACE(gTrace, 7, "handleInitialized");
  initializedIs(true);
  doCleanup();
  handleIntfStatus();
  handleRule();
  handleClassStatus();
}

void FlowspecVrfStatusSm::doCleanup() {
  TRACE(gTrace, 7, "doCleanup");
  in_.vrfRuleStatus->intfErrorDelAll();
  in_.vrfRuleStatus->activeIntfPerAfDelAll();
}

void FlowspecVrfStatusSm::handleRule(Flowspec::FlowspecKey const& key) {
  if (!initialized()) {
    return;
  }
  TRACE(gTrace, 4, "vrfName ", vrfName(), " ruleKey ", key);
  ruleBacklogIs(key);
  ruleTask_->scheduleTask();
}

void FlowspecVrfStatusSm::handleRule() {
  if (!initialized()) {
    return;
  }
  TRACE(gTrace, 7, "handleRule");
  for (auto const& [key, status] : in_.vrfRuleStatus->ruleStatus()) {
    handleRule(key);
  }
}

void FlowspecVrfStatusSm::handleRuleFor(Nwk::AddressFamily af) {
  if (!initialized()) {
    return;
  }
  TRACE(gTrace, 7, "Installed state re-evaluation for ", Nwk::toStrep(af), " rules");
  for (auto const& [key, status] : in_.vrfRuleStatus->ruleStatus()) {
    // A rule whose class-map gives it a status does not look at its family's.
    if (key.af() == af && !classStatus_.contains(&key)) {
      handleRule(key);
    }
  }
}

void FlowspecVrfStatusSm::handleUnsupportedQual(Nwk::AddressFamily af) {
  if (!initialized()) {
    return;
  }
  TRACE(gTrace, 7, "af ", Nwk::toStrep(af), ", unsupported quals #",
        in_.flowspecStatus->unsupportedQual(af).qual().size());
  for (auto const& [key, status] : in_.vrfRuleStatus->ruleStatus()) {
    if (key.af() == af) {
      handleRule(key);
    }
  }
}

void FlowspecVrfStatusSm::handleRuleTask() {
  if (!initialized()) {
    return;
  }
  auto const processNext = [this] {
    Flowspec::FlowspecKey const key = *ruleBacklog().begin();
    processRule(key);
    ruleBacklogDel(key);
  };
  auto const numProcessed =
      ruleTask_->drainBacklog([this] { return ruleBacklog().size(); }, processNext);
  TRACE(gTrace, 4, "numProcessed: ", numProcessed, " backlog remaining: ", ruleBacklog().size());
  if (!ruleBacklog().empty()) {
    ruleTask_->scheduleTask();
  }
}

void FlowspecVrfStatusSm::processRule(Flowspec::FlowspecKey const& key) {
  auto const ruleStatus = in_.vrfRuleStatus->ruleStatus(key);
  auto const ruleConfig = in_.vrfRuleConfig->rule(key);
  if (!ruleStatus || !ruleConfig ||
      ruleStatus->statusCode() == HwRuleProgrammingStatus::hwStatusUnsupportedMatch) {
    TRACE(gTrace, 7, "Ignored ", key, ". No config, status or unsupported match");
    return;
  }
  TRACE(gTrace, 7, "Fetch rule installed state based on class state");
  Status status = classInstalledState(key);
  if (status == HwRuleProgrammingStatus::hwStatusNotInstalled) {
    if (auto const afStatus = afInstalled(key.af());
        afStatus != HwRuleProgrammingStatus::hwStatusNotInstalled) {
      status = afStatus;
    }
  }
  Cog::String errorReason = status == HwRuleProgrammingStatus::hwStatusInstalled
                                ? Cog::String()
                                : flowspecUtil_.statusCodeToStrep(status);
  if (auto const* unsupported = in_.flowspecStatus->unsupportedQual().find(key.af());
      unsupported && !unsupported->empty()) {
    for (auto const& [type, component] : ruleConfig->matchSet()) {
      if (unsupported->qual(type)) {
        status = HwRuleProgrammingStatus::hwStatusUnsupportedQualifier;
        errorReason = flowspecUtil_.statusCodeToStrep(status) + " - " +
                      flowspecUtil_.compTypeToDetailLabel(type);
        break;
      }
    }
  }
  TRACE(gTrace, 7, key, ", statusCode: ", status, ", errorReason: ", errorReason);
  ruleStatus->statusCodeIs(status);
  ruleStatus->errorReasonIs(errorReason);
}

FlowspecVrfStatusSm::Status FlowspecVrfStatusSm::classInstalledState(
    Flowspec::FlowspecKey const& key) const {
  auto const found = classStatus_.find(&key);
  return found == classStatus_.end() ? HwRuleProgrammingStatus::hwStatusNotInstalled
                                     : found->second;
}

void FlowspecVrfStatusSm::classStatusIs(Flowspec::FlowspecKey const& key, Status status) {
  if (status == HwRuleProgrammingStatus::hwStatusNotInstalled) {
    classStatus_.erase(&key);
  } else {
    classStatus_.try_emplace(&key).first->second = status;
  }
}

FlowspecVrfStatusSm::Status FlowspecVrfStatusSm::ruleStatusFor(PolicyMap::ClassState state) {
  switch (static_cast<unsigned>(state)) {
    case 0:
    case 1:
      return HwRuleProgrammingStatus::hwStatusNotInstalled;
    case 2:
      return HwRuleProgrammingStatus::hwStatusInstalled;
    case 3:
      return HwRuleProgrammingStatus::hwStatusPartiallyInstalled;
    case 4:
      return HwRuleProgrammingStatus::hwStatusFailed;
    case 5:
      COG_ASSERT(false && "unexpected state");
      break;
    default:
      break;
  }
  COG_ASSERT(false && "unexpected reach of control");
  return HwRuleProgrammingStatus::hwStatusNotInstalled;
}

FlowspecVrfStatusSm::Status FlowspecVrfStatusSm::afInstalled(Nwk::AddressFamily af) const {
  auto const found = afInstalled_.find(af);
  return found == afInstalled_.end() ? HwRuleProgrammingStatus::hwStatusNotInstalled
                                     : found->second;
}

// A family without an entry stands for not installed, so a first entry of not installed changes
// no rule's status and re-evaluates none.
void FlowspecVrfStatusSm::afInstalledIs(Nwk::AddressFamily af, Status status) {
  auto const before = afInstalled(af);
  afInstalled_[af] = status;
  if (status != before) {
    handleRuleFor(af);
  }
}

void FlowspecVrfStatusSm::handleClassStatus(Cog::SharedString const& name) {
  if (!initialized()) {
    return;
  }
  TRACE(gTrace, 8, "handleClassStatus for ", name);
  if (auto const status = in_.pmapStatus->cmap(name)) {
    TRACE(gTrace, 7, "Creating ClassMapStatusSm for ", name);
    classMapStatusIs(status);
  } else {
    TRACE(gTrace, 7, "Deleting ClassMapStatusSm for ", name);
    classMapStatusDel(name);
  }
}

void FlowspecVrfStatusSm::handleClassStatus() {
  if (!initialized()) {
    return;
  }
  for (auto const& [name, status] : in_.pmapStatus->cmap()) {
    handleClassStatus(name);
  }
}

void FlowspecVrfStatusSm::handleClassState(Cog::SharedString const& name,
                                           std::optional<Flowspec::FlowspecKey> const& key) {
  if (!initialized()) {
    return;
  }
  TRACE(gTrace, 8, "className ", name, ", classState ", classStateOf(name));
  if (key) {
    handleRule(*key);
  }
}

PolicyMap::ClassState FlowspecVrfStatusSm::classStateOf(Cog::SharedString const& name) const {
  auto const status = in_.pmapStatus->cmap(name);
  return status ? status->classState() : PolicyMap::ClassState::classStateUnknown;
}

FlowspecVrfStatusSm::ClassKey FlowspecVrfStatusSm::classKey(Cog::SharedString const& name) {
  auto const& rules = in_.vrfRuleStatus->ruleStatus();
  Flowspec::FlowspecKey const* const next =
      lastClassKey_ ? rules.nextKey(*lastClassKey_) : rules.firstKey();
  if (next && next->sharedStringValue() == name) {
    lastClassKey_ = *next;
    return {*next, true};
  }
  // Class-maps of this policy are named by their rule's key; a name that is not a key has no
  // rule to report on.
  std::string error;
  auto key = Flowspec::FlowspecKey::parse(name, &error);
  if (!key) {
    TRACE(gTrace, 2, "Class-map ", name, " names no rule: ", error);
    return {};
  }
  bool const canonical = key->hasStringValue(name);
  if (canonical) {
    lastClassKey_ = key;
  }
  return {std::move(key), canonical};
}

void FlowspecVrfStatusSm::classMapStatusIs(
    Cog::Ptr<PolicyMap::ClassMapStatus const> const& status) {
  classMapStatus_.is(status->name(), status, this);
}

void FlowspecVrfStatusSm::classMapStatusDel(Cog::SharedString const& name) {
  classMapStatus_.del(name);
}

void FlowspecVrfStatusSm::intfStatusIs(Cog::Ptr<PolicyMap::IntfStatus const> const& status) {
  intfStatus_.is(status->intfId(), status, this);
}

void FlowspecVrfStatusSm::intfStatusDel(Nwk::IntfId const& intfId) { intfStatus_.del(intfId); }

void FlowspecVrfStatusSm::dumpState(Kiln::DumpContext* ctx, int indent) const {
  Kiln::dumpf(ctx, indent, "FlowspecVrfStatusSm %s vrfId %u: classMaps #%zu, intfs #%zu\n",
              vrfName().c_str(), vrfId(), classMapStatus_.size(), intfStatus_.size());
  for (auto const& [af, status] : afInstalled_) {
    Kiln::dumpf(ctx, indent + 2, "afInstalled %s: %s\n", Nwk::toStrep(af),
                flowspecUtil_.statusCodeToStrep(status).c_str());
  }
  Kiln::dumpf(ctx, indent + 2, "ruleBacklog #%zu\n", ruleBacklog().size());
}

}  // namespace OrbFlowspec
