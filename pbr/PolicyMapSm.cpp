#include "pbr/PolicyMapSm.h"

#include <iterator>
#include <string_view>
#include <utility>
#include <vector>

#include "pbr/ClassAlignment.h"
#include "platform/cog/Errors.h"
#include "platform/cog/SharedPrefetch.h"
#include "platform/trace/Trace.h"

namespace PolicyMap {

namespace {

Trace::Handle gTrace("PolicyMapSm");
Cog::String const kNoDataplane = "no dataplane to program the policy";
constexpr Nwk::AddressFamily kFamilies[] = {Nwk::AddressFamily::ipv4, Nwk::AddressFamily::ipv6};

std::size_t slotOf(Nwk::AddressFamily af) { return af == Nwk::AddressFamily::ipv6 ? 1 : 0; }

ClassMapMatchOption optionOf(Nwk::AddressFamily af) {
  return af == Nwk::AddressFamily::ipv6 ? ClassMapMatchOption::matchIpv6AccessGroup
                                        : ClassMapMatchOption::matchIpAccessGroup;
}

}  // namespace

// Watches one class-map the version uses for a new version in use.
class PolicyMapSm::ClassMapReactor : public Cog::BoundReactor<ClassMapConfig, PolicyMapSm> {
 public:
  ClassMapReactor(Cog::Ptr<ClassMapConfig const> const& cmap, PolicyMapSm* owner)
      : BoundReactor(cmap, owner) {}
  void handleCurrCfg() override {
    Cog::SharedString const name = notifier()->name();  // the handler may drop this reactor
    owner()->classMapNotified(name);
  }
};

struct PolicyMapSm::Reactors {
  struct Config : Cog::BoundReactor<PolicyMapConfig, PolicyMapSm> {
    using BoundReactor::BoundReactor;
    void handleCurrCfg() override { owner()->handlePolicyVersion(); }
  };
  struct CmapType : Cog::BoundReactor<ClassMapTypeConfig, PolicyMapSm> {
    using BoundReactor::BoundReactor;
    void handleCmap(Cog::SharedString const& name) override {
      Cog::SharedString const copy = name;
      owner()->classMapReactorUpdate(copy);
      owner()->classMapNotified(copy);
    }
  };

  explicit Reactors(PolicyMapSm* sm) : config(sm->config_, sm), cmapType(sm->cmapTypeConfig_, sm) {}

  Config config;
  CmapType cmapType;
};

PolicyMapSm::PolicyMapSm(Cog::Ptr<PolicyMapGlobalData const> globalData, PolicyMapSmKey key,
                         Cog::Ptr<PolicyMapConfig const> config,
                         Cog::Ptr<ClassMapTypeConfig const> cmapTypeConfig,
                         Cog::Ptr<PolicyMapStatus> status,
                         Cog::Ptr<PolicyMapTypeConfig const> pmapTypeConfig,
                         Cog::Ptr<IntfConfig const> intfConfig,
                         Cog::Ptr<Kiln::TimerWheel> timerWheel)
    : globalData_(std::move(globalData)),
      key_(std::move(key)),
      config_(std::move(config)),
      cmapTypeConfig_(std::move(cmapTypeConfig)),
      status_(std::move(status)),
      pmapTypeConfig_(std::move(pmapTypeConfig)),
      intfConfig_(std::move(intfConfig)),
      timerWheel_(std::move(timerWheel)),
      alive_(std::make_shared<PolicyMapSm*>(this)) {
  Cog::requireNonNull(globalData_, "globalData");
  Cog::requireNonNull(config_, "config");
  Cog::requireNonNull(cmapTypeConfig_, "cmapTypeConfig");
  Cog::requireNonNull(status_, "status");
  Cog::requireNonNull(intfConfig_, "intfConfig");
  dataplane_ = Cog::ptrDynamicCast<Pbr::Dataplane>(globalData_->aclHelper());
  reactors_ = std::make_unique<Reactors>(this);
}

PolicyMapSm::~PolicyMapSm() {
  if (dataplane_) {
    for (auto const& [intfId, binding] : bindings_) {
      for (auto const af : kFamilies) {
        dataplane_->programDel(intfId, af);
      }
    }
  }
}

void PolicyMapSm::handleInitialized() {
  if (initialized_) {
    return;
  }
  TRACE(gTrace, 3, key_.strDesc(), dataplane_ ? "" : " without a dataplane");
  initialized_ = true;
  // Bound first, so that the version is programmed on them in one go.
  for (auto const& [intfId, name] : intfConfig_->intf()) {
    if (wants(intfId)) {
      bindings_[intfId];
      status_->intfStatusIs(intfId);
    }
  }
  handlePolicyVersion();
}

bool PolicyMapSm::wants(Nwk::IntfId const& intfId) const {
  if (intfConfig_->intf(intfId) != key_.name) {
    return false;
  }
  if (globalData_->flags().skipUnknownIntfs && !(dataplane_ && dataplane_->intfPresent(intfId))) {
    TRACE(gTrace, 5, key_.strDesc(), " ", intfId, " unknown to the dataplane: skipped");
    return false;
  }
  return true;
}

void PolicyMapSm::handlePolicyVersion() {
  if (!initialized_ || config_->currCfg() == currCfg_) {
    return;
  }
  auto const previous = std::exchange(currCfg_, config_->currCfg());
  TRACE(gTrace, 4, key_.strDesc(), " version ", currCfg_ ? currCfg_->version().toStrep() : "none");
  takeUpVersion(previous);
  programAll();
  flush();
}

void PolicyMapSm::classMapNotified(Cog::SharedString const& name) {
  // Marked before the handler runs, which may leave the class as it is until the next version
  // (a feature's own state machine may): that version builds it again, whether or not its
  // action changed.
  if (auto const found = classIndex_.find(name);
      found != classIndex_.end() &&
      !Pbr::entriesCurrent(name, records_[found->second].entries, *cmapTypeConfig_)) {
    records_[found->second].built = false;
  }
  handleClassMap(name);
}

void PolicyMapSm::handleClassMap(Cog::SharedString const& name) {
  // classMapNotified marked the class when its class-map changed.
  auto const found = classIndex_.find(name);
  if (!initialized_ || found == classIndex_.end() || records_[found->second].built) {
    return;
  }
  TRACE(gTrace, 4, key_.strDesc(), " class-map ", name, " changed");
  rebuildPrograms();
  programAll();
  flush();
}

void PolicyMapSm::takeUpVersion(Cog::Ptr<PolicyMapSubConfig const> const& previous) {
  bool const samePriorities =
      previous && currCfg_ && currCfg_->classPrio().sharesAllWith(previous->classPrio());
  if (!samePriorities && !listsSameClasses()) {
    takeUpClassList();
  }
  // Classes whose action changed are built again; the others keep their programs.
  if (previous && currCfg_) {
    for (auto const& name : currCfg_->classAction().keysDifferingFrom(previous->classAction())) {
      if (auto const found = classIndex_.find(name); found != classIndex_.end()) {
        records_[found->second].built = false;
      }
    }
  }
  rebuildPrograms();
}

void PolicyMapSm::takeUpClassList() {
  // A class of the list taken up before keeps its slot (status, programs, class-map reactor);
  // the others get new ones, and the classes that went give theirs up. A new list is mostly
  // the old one with a class come or gone, so each class is first compared with the next class
  // of the old list, and looked up by name only when it is not that one.
  std::uint32_t const walk = ++listWalks_;
  std::vector<std::uint32_t> order;
  if (currCfg_) {
    order.reserve(currCfg_->classPrio().size());
    classIndex_.reserve(currCfg_->classPrio().size());
    if (records_.empty()) {
      records_.reserve(currCfg_->classPrio().size());
    }
    std::size_t next = 0;
    for (auto const& [priority, name] : currCfg_->classPrio()) {  // in priority order
      while (next < order_.size() && records_[order_[next]].listed == walk) {
        ++next;
      }
      std::uint32_t slot;
      if (next < order_.size() && records_[order_[next]].name == name) {
        slot = order_[next];
      } else {
        auto const [found, created] = classIndex_.try_emplace(name, 0);
        if (created) {
          found->second = slot = newSlot();
          records_[slot].name = name;
        } else if (records_[slot = found->second].listed == walk) {
          continue;  // a class listed twice counts at its first place only
        } else if (records_[slot].position > next) {
          // Classes gone before it: the old list goes on after it.
          next = records_[slot].position;
        }
      }
      records_[slot].listed = walk;
      order.push_back(slot);
    }
  }
  for (std::uint32_t const slot : order_) {
    ClassRecord& record = records_[slot];
    if (record.listed != walk) {
      status_->cmapDel(record.name);
      classIndex_.erase(record.name);
      record = ClassRecord();
      freeSlots_.push_back(slot);
    }
  }
  if (status_->cmap().size() > order.size()) {
    for (auto const& [name, cmapStatus] : status_->cmap()) {
      if (!classIndex_.contains(name)) {
        status_->cmapDel(name);
      }
    }
  }
  order_ = std::move(order);
  for (std::uint32_t position = 0; position < order_.size(); ++position) {
    ClassRecord& record = records_[order_[position]];
    record.position = position;
    if (!record.status) {
      record.status = status_->cmapIs(record.name);
      classMapReactorUpdate(record);
    }
  }
}

std::uint32_t PolicyMapSm::newSlot() {
  if (freeSlots_.empty()) {
    // Records are large and kept by the hundred thousand: grow by an eighth, not twofold.
    if (records_.size() == records_.capacity()) {
      records_.reserve(records_.size() + records_.size() / 8 + 16);
    }
    records_.emplace_back();
    return static_cast<std::uint32_t>(records_.size() - 1);
  }
  std::uint32_t const slot = freeSlots_.back();
  freeSlots_.pop_back();
  return slot;
}

bool PolicyMapSm::listsSameClasses() const {
  if (!currCfg_ || order_.empty() || currCfg_->classPrio().size() != order_.size()) {
    return false;
  }
  std::size_t i = 0;
  for (auto const& [priority, name] : currCfg_->classPrio()) {
    if (records_[order_[i++]].name != name) {
      return false;
    }
  }
  return true;
}

void PolicyMapSm::classMapReactorsUpdate() {
  for (std::uint32_t const slot : order_) {
    classMapReactorUpdate(records_[slot]);
  }
}

void PolicyMapSm::classMapReactorUpdate(Cog::SharedString const& name) {
  if (auto const found = classIndex_.find(name); found != classIndex_.end()) {
    classMapReactorUpdate(records_[found->second]);
  }
}

void PolicyMapSm::classMapReactorUpdate(ClassRecord& record) {
  auto const published = cmapTypeConfig_->cmap(record.name);
  if (!published) {
    record.reactor = nullptr;
  } else if (!record.reactor || record.reactor->notifier() != published) {
    record.reactor = std::make_unique<ClassMapReactor>(published, this);
    record.reactor->notificationActiveIs(reactors_->config.notificationActive());
  }
}

void PolicyMapSm::rebuildPrograms() {
  std::shared_ptr<Pbr::PolicyProgram> programs[2];
  for (auto const af : kFamilies) {
    auto& program = programs[slotOf(af)] = std::make_shared<Pbr::PolicyProgram>();
    program->policyName = key_.name;
    program->version = currCfg_ ? currCfg_->version() : Kiln::UniqueId();
    program->af = af;
    program->makeBeforeBreak = globalData_->flags().makeBeforeBreak;
    program->atomic = globalData_->flags().atomicInstall;
    programClasses_[slotOf(af)].clear();
  }
  auto const before = programs_;
  for (std::size_t slot = 0; slot < 2; ++slot) {
    programs[slot]->classes.reserve(before[slot] ? before[slot]->classes.size() : 0);
  }
  auto const place = [&](std::uint32_t i, std::size_t slot,
                         std::shared_ptr<Pbr::ClassProgram const> program) {
    ClassRecord& record = records_[i];
    record.programIndex[slot] = static_cast<std::uint32_t>(programs[slot]->classes.size());
    programs[slot]->classes.push_back(std::move(program));
    programClasses_[slot].push_back(i);
  };
  for (std::size_t position = 0; position < order_.size(); ++position) {
    std::uint32_t const i = order_[position];
    if (position + Cog::kPrefetchDistance < order_.size()) {
      ClassRecord const& ahead = records_[order_[position + Cog::kPrefetchDistance]];
      for (std::size_t slot = 0; ahead.built && slot < 2; ++slot) {
        if (ahead.programIndex[slot] != kNoProgram) {
          Cog::prefetchSharedCount(before[slot]->classes[ahead.programIndex[slot]].get());
        }
      }
    }
    ClassRecord& record = records_[i];
    if (!record.built) {
      auto perFamily = Pbr::classPrograms(
          record.name, record.entries, currCfg_->classAction(record.name).get(), *cmapTypeConfig_);
      for (std::size_t slot = 0; slot < 2; ++slot) {
        record.programIndex[slot] = kNoProgram;
        if (perFamily[slot]) {
          record.cmapVersion = perFamily[slot]->cmapVersion;
          place(i, slot, std::make_shared<Pbr::ClassProgram const>(std::move(*perFamily[slot])));
        }
      }
      record.built = true;
      continue;
    }
    // Built before, and its action and class-map stayed: the same programs, wherever the class
    // is now.
    for (std::size_t slot = 0; slot < 2; ++slot) {
      if (record.programIndex[slot] != kNoProgram) {
        place(i, slot, before[slot]->classes[record.programIndex[slot]]);
      }
    }
  }
  for (std::size_t slot = 0; slot < 2; ++slot) {
    programs_[slot] = programs[slot]->classes.empty() ? nullptr : std::move(programs[slot]);
  }
  // Every slot is asked again with the new programs: forget what they counted.
  dirty_.clear();
  for (std::uint32_t const slot : order_) {
    ClassRecord& record = records_[slot];
    record.pending = record.installed = record.failed = 0;
    record.dirty = true;
    dirty_.push_back(slot);
  }
  for (auto& [intfId, binding] : bindings_) {
    for (auto const af : kFamilies) {
      IntfSlot& slot = binding[slotOf(af)];
      slot.kept = keptInPlace(slot, programs_[slotOf(af)]);
      slot.phase = IntfSlot::Phase::idle;
      slot.program = nullptr;
    }
  }
}

std::vector<bool> PolicyMapSm::keptInPlace(IntfSlot const& slot,
                                           std::shared_ptr<Pbr::PolicyProgram const> const& next) {
  std::vector<bool> kept;
  if (!next || !next->makeBeforeBreak || slot.phase != IntfSlot::Phase::done || !slot.program) {
    return kept;
  }
  auto const& before = slot.program->classes;
  auto const& after = next->classes;
  auto const places = Pbr::ClassAlignment::align(
      after.size(), [&after](std::size_t i) -> std::string_view { return after[i]->name; },
      before.size(), [&before](std::size_t j) -> std::string_view { return before[j]->name; },
      [&](std::size_t i, std::size_t j) { return after[i] == before[j]; });
  kept.resize(after.size());
  for (std::size_t i = 0; i < after.size(); ++i) {
    std::size_t const j = places[i];
    kept[i] = j != Pbr::ClassAlignment::kNone && slot.results[j].installed &&
              before[j]->samePlacement(*after[i]);
  }
  return kept;
}

void PolicyMapSm::programAll() {
  for (auto& [intfId, binding] : bindings_) {
    for (auto const af : kFamilies) {
      requestSlot(intfId, binding, af);
    }
  }
}

void PolicyMapSm::requestSlot(Nwk::IntfId const& intfId, Binding& binding, Nwk::AddressFamily af) {
  IntfSlot& slot = binding[slotOf(af)];
  tally(slot, af, -1);
  auto const& program = programs_[slotOf(af)];
  std::uint64_t const serial = ++serial_;
  slot.serial = serial;
  slot.results.clear();
  if (!program) {
    if (dataplane_) {
      dataplane_->programDel(intfId, af);
    }
    slot = IntfSlot{};
    if (auto const intfStatus = status_->intfStatus(intfId)) {
      intfStatus->installedDel(optionOf(af));
    }
    return;
  }
  slot.program = program;
  slot.phase = IntfSlot::Phase::pending;
  tally(slot, af, +1);
  if (!dataplane_) {
    programDone(intfId, af, serial,
                Pbr::ProgramResult(program->classes.size(), Pbr::ClassResult{false, kNoDataplane}));
    return;
  }
  // What forwarded stays visible while the new version is programmed beside it.
  intfStatusShow(intfId, af, program->makeBeforeBreak ? slot.shown : InstalledStatus{});
  std::weak_ptr<PolicyMapSm*> const alive = alive_;
  dataplane_->programIs(intfId, program,
                        [alive, intfId, af, serial](Pbr::ProgramResult const& results) {
                          if (auto const sm = alive.lock()) {
                            Cog::Ptr<PolicyMapSm> const keep(*sm);  // through the call
                            keep->programDone(intfId, af, serial, results);
                          }
                        });
}

void PolicyMapSm::programDone(Nwk::IntfId const& intfId, Nwk::AddressFamily af,
                              std::uint64_t serial, Pbr::ProgramResult const& results) {
  auto const found = bindings_.find(intfId);
  if (found == bindings_.end()) {
    return;
  }
  IntfSlot& slot = found->second[slotOf(af)];
  if (slot.serial != serial || slot.phase != IntfSlot::Phase::pending) {
    return;
  }
  tally(slot, af, -1);
  slot.phase = IntfSlot::Phase::done;
  slot.kept.clear();
  slot.results = results;
  slot.results.resize(slot.program->classes.size(), Pbr::ClassResult{false, "no result"});
  tally(slot, af, +1);
  InstalledStatus shown{InstalledState::installed, ""};
  for (auto const& result : slot.results) {
    if (!result.installed) {
      shown = InstalledStatus{InstalledState::failed, result.errorText};
      break;
    }
  }
  TRACE(gTrace, 4, key_.strDesc(), " ", intfId, " ", Nwk::toStrep(af),
        shown.state == InstalledState::installed ? " installed" : " failed: ", shown.errorText);
  // Class states first: a status reader re-evaluating the family on the interface's news then
  // finds every class of this program already reported.
  writeClassStates();
  intfStatusShow(intfId, af, shown);
  flush();
}

void PolicyMapSm::intfStatusShow(Nwk::IntfId const& intfId, Nwk::AddressFamily af,
                                 InstalledStatus shown) {
  auto const found = bindings_.find(intfId);
  if (found != bindings_.end()) {
    found->second[slotOf(af)].shown = shown;
  }
  status_->intfStatusIs(intfId)->installedIs(optionOf(af), shown);
}

void PolicyMapSm::tally(IntfSlot const& slot, Nwk::AddressFamily af, int sign) {
  if (slot.phase == IntfSlot::Phase::idle || !slot.program) {
    return;
  }
  auto const& positions = programClasses_[slotOf(af)];
  for (std::size_t i = 0; i < positions.size(); ++i) {
    ClassRecord& record = records_[positions[i]];
    bool const kept = i < slot.kept.size() && slot.kept[i];
    std::uint32_t& counter = slot.phase == IntfSlot::Phase::pending
                                 ? (kept ? record.installed : record.pending)
                             : slot.results[i].installed ? record.installed
                                                         : record.failed;
    counter += static_cast<std::uint32_t>(sign);
    if (!record.dirty) {
      record.dirty = true;
      dirty_.push_back(positions[i]);
    }
  }
}

void PolicyMapSm::flush() {
  writeClassStates();
  for (auto const& [intfId, binding] : bindings_) {
    for (auto const& slot : binding) {
      if (slot.phase == IntfSlot::Phase::pending) {
        return;
      }
    }
  }
  status_->versionIs(currCfg_ ? currCfg_->version() : Kiln::UniqueId());
}

void PolicyMapSm::writeClassStates() {
  for (std::uint32_t const slot : dirty_) {
    ClassRecord& record = records_[slot];
    record.dirty = false;
    ClassState const state = record.pending                        ? ClassState::classStatePending
                             : !record.installed && !record.failed ? ClassState::classStateUnknown
                             : !record.failed                      ? ClassState::classStateInstalled
                             : !record.installed                   ? ClassState::classStateFailed
                                                                   : ClassState::classStatePartial;
    if (record.written && record.writtenState == state &&
        record.writtenVersion == record.cmapVersion) {
      continue;
    }
    record.written = true;
    record.writtenState = state;
    record.writtenVersion = record.cmapVersion;
    record.status->versionIs(record.cmapVersion);
    record.status->classStateIs(state);
  }
  dirty_.clear();
}

void PolicyMapSm::handleIntf(Nwk::IntfId const& intfId, bool reprogram, IntfBindingKind kind) {
  if (!initialized_) {
    return;
  }
  bool const wanted = wants(intfId);
  auto const found = bindings_.find(intfId);
  if (!wanted && found == bindings_.end()) {
    return;
  }
  TRACE(gTrace, 5, key_.strDesc(), " ", intfId, " kind ", static_cast<int>(kind),
        wanted ? " bound" : " unbound", reprogram ? " reprogram" : "");
  if (!wanted) {
    unbind(intfId);
    flush();
    return;
  }
  if (found == bindings_.end()) {
    Binding& binding = bindings_[intfId];
    status_->intfStatusIs(intfId);
    for (auto const af : kFamilies) {
      requestSlot(intfId, binding, af);
    }
  } else {
    for (auto const af : kFamilies) {
      if (reprogram || found->second[slotOf(af)].shown.state == InstalledState::failed) {
        requestSlot(intfId, found->second, af);
      }
    }
  }
  flush();
}

void PolicyMapSm::unbind(Nwk::IntfId const& intfId) {
  auto const found = bindings_.find(intfId);
  for (auto const af : kFamilies) {
    tally(found->second[slotOf(af)], af, -1);
    if (dataplane_) {
      dataplane_->programDel(intfId, af);
    }
  }
  bindings_.erase(found);
  status_->intfStatusDel(intfId);
}

void PolicyMapSm::handleCounterRequest() {
  if (!initialized_ || counterReadPending_) {
    return;
  }
  std::vector<Pbr::Slot> slots;
  for (auto const& [intfId, binding] : bindings_) {
    for (auto const af : kFamilies) {
      if (binding[slotOf(af)].program) {
        slots.push_back(Pbr::Slot{intfId, af});
      }
    }
  }
  TRACE(gTrace, 5, key_.strDesc(), " reading counters of ", slots.size(), " slots");
  if (!dataplane_) {
    countersDone({});
    return;
  }
  counterReadPending_ = true;
  std::weak_ptr<PolicyMapSm*> const alive = alive_;
  dataplane_->countersRead(slots, [alive](std::vector<Pbr::ClassCounters> const& counters) {
    if (auto const sm = alive.lock()) {
      Cog::Ptr<PolicyMapSm> const keep(*sm);  // through the call
      keep->countersDone(counters);
    }
  });
}

void PolicyMapSm::countersDone(std::vector<Pbr::ClassCounters> const& counters) {
  counterReadPending_ = false;
  std::vector<std::uint64_t> sums(records_.size(), 0);
  for (auto const& slotCounters : counters) {
    for (auto const& [name, packets] : slotCounters) {
      auto const found = classIndex_.find(name);
      if (found != classIndex_.end()) {
        sums[found->second] += packets;
      }
    }
  }
  for (std::uint32_t const slot : order_) {
    records_[slot].status->packetCountIs(sums[slot]);
  }
  status_->counterUpdateTimeIs(Cog::System::currentTime());
}

void PolicyMapSm::hasNotificationActiveIs(bool active) {
  reactors_->config.notificationActiveIs(active);
  reactors_->cmapType.notificationActiveIs(active);
  for (std::uint32_t const slot : order_) {
    if (auto const& reactor = records_[slot].reactor) {
      reactor->notificationActiveIs(active);
    }
  }
  if (!active || !initialized_) {
    return;
  }
  // Class-maps may have changed unseen: their classes are built again.
  classMapReactorsUpdate();
  bool stale = false;
  for (std::uint32_t const slot : order_) {
    ClassRecord& record = records_[slot];
    if (!Pbr::entriesCurrent(record.name, record.entries, *cmapTypeConfig_)) {
      record.built = false;
      stale = true;
    }
  }
  if (config_->currCfg() != currCfg_) {
    handlePolicyVersion();
  } else if (stale) {
    rebuildPrograms();
    programAll();
    flush();
  }
}

void PolicyMapSm::dumpState(Kiln::DumpContext* ctx, int indent) const {
  Kiln::dumpf(ctx, indent, "PolicyMapSm %s version %s classes #%zu\n", key_.strDesc().c_str(),
              currCfg_ ? currCfg_->version().toStrep().c_str() : "none", order_.size());
  static char const* const kStates[] = {"unknown", "installed", "failed"};
  for (auto const& [intfId, binding] : bindings_) {
    for (auto const af : kFamilies) {
      IntfSlot const& slot = binding[slotOf(af)];
      if (!slot.program) {
        continue;
      }
      char const* state = slot.phase == IntfSlot::Phase::pending
                              ? "programming"
                              : kStates[static_cast<int>(slot.shown.state) % 3];
      Kiln::dumpf(ctx, indent + 2, "%s %s %s%s%s\n", intfId.name().c_str(), Nwk::toStrep(af), state,
                  slot.shown.errorText.empty() ? "" : " ", slot.shown.errorText.c_str());
    }
  }
}

}  // namespace PolicyMap
