#include "pbr/hwmodel/HardwareModel.h"

#include <algorithm>
#include <string_view>

#include "pbr/ClassAlignment.h"
#include "platform/cog/SharedPrefetch.h"
#include "platform/trace/Trace.h"

namespace Pbr {

namespace {

Trace::Handle gTrace("HardwareModel");
constexpr Kiln::TaskPriority kTaskPriority{2};
Cog::String const kTcamKey = "tcam-key";

Nwk::AddressFamily familyOf(Acl::AclType aclType) {
  return aclType == Acl::aclTypeIpv4   ? Nwk::AddressFamily::ipv4
         : aclType == Acl::aclTypeIpv6 ? Nwk::AddressFamily::ipv6
                                       : Nwk::AddressFamily::none;
}

Cog::String count(std::uint64_t used, std::uint64_t capacity) {
  return std::to_string(used) + " of " + std::to_string(capacity);
}

// The first qualifier of `set`, which must not be empty.
Qualifier firstQualifier(QualifierSet set) {
  for (int bit = 0; bit < kQualifierCount; ++bit) {
    if (set & (1u << bit)) {
      return static_cast<Qualifier>(1u << bit);
    }
  }
  return qualDstIp;
}

// How many of `keys` `refs` does not hold yet.
std::size_t missing(std::vector<RangeKey> const& keys, LineCard::CheckerRefs const& refs) {
  return static_cast<std::size_t>(std::count_if(
      keys.begin(), keys.end(), [&refs](RangeKey const& key) { return !refs.contains(key); }));
}

}  // namespace

HardwareModel::HardwareModel(Cog::Ptr<Kiln::TaskScheduler> scheduler,
                             Cog::Ptr<Acl::StatusDp> aclStatusDp)
    : scheduler_(std::move(scheduler)), aclStatusDp_(std::move(aclStatusDp)) {
  deliveryTask_ = std::make_unique<Kiln::Task>(scheduler_, kTaskPriority, "HardwareModel",
                                               [this] { runDeliveries(); });
}

HardwareModel::~HardwareModel() {
  // Classes give their resources back to their cards: drop them while the cards exist.
  slots_.clear();
  for (auto& [name, card] : cards_) {
    card->jobs.clear();
  }
}

void HardwareModel::lineCardIs(Cog::String const& name, std::uint32_t ipv4Entries,
                               std::uint32_t ipv6Entries, std::uint32_t rangeCheckers) {
  if (cards_.contains(name)) {
    return;
  }
  auto card = std::make_unique<Card>();
  card->lineCard = std::make_unique<LineCard>(name, ipv4Entries, ipv6Entries, rangeCheckers);
  Card* raw = card.get();
  card->timer = std::make_unique<Kiln::TimerTask>(scheduler_, kTaskPriority, name,
                                                  [this, raw] { jobDone(*raw); });
  cards_.emplace(name, std::move(card));
}

bool HardwareModel::intfIs(Nwk::IntfId const& intf, Cog::String const& lineCard) {
  auto const found = cards_.find(lineCard);
  Card* current = cardOf(intf);
  if (found == cards_.end() || (current && current != found->second.get())) {
    TRACE(gTrace, 1, "cannot put ", intf, " on line card ", lineCard);
    return false;
  }
  intfCard_[intf] = found->second.get();
  return true;
}

bool HardwareModel::unsupportedQualifierIs(Cog::String const& lineCard, Acl::AclType aclType,
                                           Qualifier qualifier, bool unsupported) {
  auto const found = cards_.find(lineCard);
  Nwk::AddressFamily const af = familyOf(aclType);
  if (found == cards_.end() || af == Nwk::AddressFamily::none) {
    return false;
  }
  found->second->lineCard->unsupportedIs(af, qualifier, unsupported);
  Cog::String const name = qualifierName(qualifier, af);
  TRACE(gTrace, 4, lineCard, " ", Nwk::toStrep(af), " ", name,
        unsupported ? " unsupported" : " supported");
  if (!aclStatusDp_) {
    return true;
  }
  if (unsupported) {
    aclStatusDp_->featureUnsupportedComponentIs(Acl::aclFeatureFlowspec)
        ->linecardIs(lineCard)
        ->aclTypeIs(aclType)
        ->unsupportedComponentIs(kTcamKey)
        ->qualifierIs(name, name);
    return true;
  }
  // Removes the qualifier and every record it leaves empty.
  auto const feature = aclStatusDp_->featureUnsupportedComponent(Acl::aclFeatureFlowspec);
  auto const card = feature ? feature->linecard(lineCard) : nullptr;
  auto const type = card ? card->aclType(aclType) : nullptr;
  auto const component = type ? type->unsupportedComponent(kTcamKey) : nullptr;
  if (!component) {
    return true;
  }
  component->qualifierDel(name);
  if (component->qualifier().empty()) {
    type->unsupportedComponentDel(kTcamKey);
  }
  if (type->unsupportedComponent().empty()) {
    card->aclTypeDel(aclType);
  }
  if (card->aclType().empty()) {
    feature->linecardDel(lineCard);
  }
  if (feature->linecard().empty()) {
    aclStatusDp_->featureUnsupportedComponentDel(Acl::aclFeatureFlowspec);
  }
  return true;
}

HardwareModel::BankUsage HardwareModel::bankUsage(Cog::String const& lineCard,
                                                  Nwk::AddressFamily af) const {
  auto const found = cards_.find(lineCard);
  if (found == cards_.end()) {
    return {};
  }
  auto const& bank = found->second->lineCard->bank(af);
  return {bank.used, bank.capacity};
}

std::uint32_t HardwareModel::rangeCheckersInUse(Cog::String const& lineCard) const {
  auto const found = cards_.find(lineCard);
  return found == cards_.end()
             ? 0
             : static_cast<std::uint32_t>(found->second->lineCard->checkerRefs().size());
}

bool HardwareModel::programming(Nwk::IntfId const& intf, Nwk::AddressFamily af) const {
  auto const found = slots_.find(Slot{intf, af});
  return found != slots_.end() && found->second.pending;
}

std::size_t HardwareModel::forwardingEntries(Nwk::IntfId const& intf, Nwk::AddressFamily af) const {
  auto const found = slots_.find(Slot{intf, af});
  return found != slots_.end() && found->second.forwarding ? found->second.forwarding->entryCount
                                                           : 0;
}

Classification HardwareModel::classify(Nwk::IntfId const& intf, Packet const& packet) {
  auto const found = slots_.find(Slot{intf, packet.af});
  if (found == slots_.end() || !found->second.forwarding) {
    return {};
  }
  Version const& version = *found->second.forwarding;
  EntryIndex const& index = version.index();
  std::uint32_t const pos = index.firstMatch(PacketKey(packet));
  if (pos == EntryIndex::kNoMatch) {
    return {};
  }
  HwClass& hwClass = *version.classes[index.entry(pos).classPos];
  hwClass.packetCountInc();
  return {true, hwClass.program().name.str(), hwClass.program().action};
}

bool HardwareModel::intfPresent(Nwk::IntfId const& intf) const { return cardOf(intf) != nullptr; }

HardwareModel::Card* HardwareModel::cardOf(Nwk::IntfId const& intf) const {
  auto const found = intfCard_.find(intf);
  return found == intfCard_.end() ? nullptr : found->second;
}

void HardwareModel::programIs(Nwk::IntfId const& intf, std::shared_ptr<PolicyProgram const> program,
                              ProgramDone done) {
  Slot const slot{intf, program->af};
  SlotState& state = slots_[slot];
  cancelPending(state);
  std::uint64_t const request = ++state.requests;
  TRACE(gTrace, 5, intf, " ", Nwk::toStrep(program->af), " ", program->policyName, " version ",
        program->version, " classes #", program->classes.size());
  Card* card = cardOf(intf);
  Cog::String versionError;
  std::shared_ptr<Job> job;
  if (!card) {
    versionError = "interface " + intf.name() + " is on no line card";
  } else if (program->af != Nwk::AddressFamily::ipv4 && program->af != Nwk::AddressFamily::ipv6) {
    versionError = "no address family to program";
  } else {
    job = plan(slot, *card, program, state.forwarding.get(), versionError);
  }
  if (!job) {
    TRACE(gTrace, 3, intf, " ", program->policyName, " failed: ", versionError);
    deliverLater(slot, request,
                 ProgramResult(program->classes.size(), ClassResult{false, versionError}),
                 std::move(done));
    return;
  }
  if (!program->makeBeforeBreak) {
    state.forwarding = nullptr;
  }
  LineCard& lineCard = *card->lineCard;
  for (std::uint32_t const i : job->placed) {
    job->classes[i]->reserve(lineCard, program->af);
  }
  job->done = std::move(done);
  state.pending = job;
  card->jobs.push_back(job);
  if (card->jobs.size() == 1) {
    startHead(*card);
  }
}

std::shared_ptr<HardwareModel::Job> HardwareModel::plan(
    Slot const& slot, Card& card, std::shared_ptr<PolicyProgram const> const& program,
    Version const* old, Cog::String& versionError) {
  LineCard const& lineCard = *card.lineCard;
  Nwk::AddressFamily const af = program->af;
  LineCard::Bank const& bank = lineCard.bank(af);
  auto job = std::make_shared<Job>();
  job->slot = slot;
  job->card = &card;
  job->program = program;
  job->classes.resize(program->classes.size());
  job->results.resize(program->classes.size());

  // Classes kept in place, and what the card would hold once the old version's others are
  // gone: the budget that the new classes are placed against.
  std::size_t const oldCount = old ? old->classes.size() : 0;
  std::vector<bool> oldKept(oldCount);
  auto const shared = [old, &program](std::size_t i, std::size_t j) {
    return old->programs[j] == program->classes[i].get();
  };
  auto const places = ClassAlignment::align(
      program->classes.size(),
      [&program](std::size_t i) -> std::string_view { return program->classes[i]->name; }, oldCount,
      [old](std::size_t j) -> std::string_view { return old->classes[j]->program().name; }, shared);
  for (std::size_t i = 0; i < places.size(); ++i) {
    if (std::size_t const ahead = i + Cog::kPrefetchDistance;
        ahead < places.size() && places[ahead] != ClassAlignment::kNone) {
      Cog::prefetchSharedCount(old->classes[places[ahead]].get());
    }
    std::size_t const j = places[i];
    if (j != ClassAlignment::kNone && !oldKept[j] &&
        (shared(i, j) || old->classes[j]->program().samePlacement(*program->classes[i]))) {
      job->classes[i] = old->classes[j];
      job->results[i].installed = true;
      oldKept[j] = true;
    }
  }
  std::uint64_t room = bank.capacity - bank.used;
  LineCard::CheckerRefs refs = lineCard.checkerRefs();
  job->entryCount = old ? old->entryCount : 0;
  for (std::size_t j = 0; j < oldCount; ++j) {
    if (oldKept[j]) {
      continue;
    }
    auto const& dropped = old->classes[j];
    room += dropped->entries().size();
    job->entryCount -= dropped->entries().size();
    for (auto const& key : dropped->ranges()) {
      if (--refs[key] == 0) {
        refs.erase(key);
      }
    }
  }

  // Why a class cannot be placed against the budget; empty when it can.
  auto const placementError = [&](HwClass const& hwClass) {
    if (QualifierSet const bad = hwClass.qualifiers() & lineCard.unsupported(af)) {
      return Cog::String("qualifier ") + qualifierName(firstQualifier(bad), af) +
             " unsupported on " + lineCard.name() + " for " + Nwk::toStrep(af);
    }
    if (refs.size() + missing(hwClass.ranges(), refs) > lineCard.checkerCapacity()) {
      return "range checkers of " + lineCard.name() + " exhausted (" +
             count(refs.size(), lineCard.checkerCapacity()) + " in use)";
    }
    if (hwClass.entries().size() > room) {
      return Cog::String("TCAM bank ") + Nwk::toStrep(af) + " of " + lineCard.name() + " full (" +
             count(bank.capacity - room, bank.capacity) + " entries used)";
    }
    return Cog::String();
  };
  Cog::String firstError;
  std::vector<RangeKey> newKeys;
  for (std::size_t i = 0; i < program->classes.size(); ++i) {
    if (job->classes[i]) {
      continue;
    }
    std::string error;
    auto hwClass = HwClass::compile(program->classes[i], error);
    if (hwClass) {
      error = placementError(*hwClass);
    }
    if (!error.empty()) {
      job->results[i] = ClassResult{false, error};
      firstError = firstError.empty() ? error : firstError;
      continue;
    }
    room -= hwClass->entries().size();
    for (auto const& key : hwClass->ranges()) {
      ++refs[key];
      newKeys.push_back(key);
    }
    job->newEntries += hwClass->entries().size();
    job->results[i].installed = true;
    job->classes[i] = std::move(hwClass);
    job->placed.push_back(static_cast<std::uint32_t>(i));
  }

  if (program->atomic && !firstError.empty()) {
    versionError = firstError;
    return nullptr;
  }
  if (old && program->makeBeforeBreak) {
    std::sort(newKeys.begin(), newKeys.end());
    newKeys.erase(std::unique(newKeys.begin(), newKeys.end()), newKeys.end());
    std::size_t const moreCheckers = missing(newKeys, lineCard.checkerRefs());
    if (job->newEntries > bank.capacity - bank.used) {
      versionError = Cog::String("TCAM bank ") + Nwk::toStrep(af) + " of " + lineCard.name() +
                     " cannot hold both versions (" + count(bank.used, bank.capacity) +
                     " entries used, " + std::to_string(job->newEntries) + " more needed)";
    } else if (lineCard.checkerRefs().size() + moreCheckers > lineCard.checkerCapacity()) {
      versionError = "range checkers of " + lineCard.name() + " cannot hold both versions (" +
                     count(lineCard.checkerRefs().size(), lineCard.checkerCapacity()) +
                     " in use, " + std::to_string(moreCheckers) + " more needed)";
    }
    if (!versionError.empty()) {
      return nullptr;
    }
  }
  return job;
}

void HardwareModel::cancelPending(SlotState& state) {
  if (!state.pending) {
    return;
  }
  std::shared_ptr<Job> const job = std::move(state.pending);
  auto& jobs = job->card->jobs;
  auto const found = std::find(jobs.begin(), jobs.end(), job);
  if (found == jobs.end()) {
    return;
  }
  bool const wasHead = found == jobs.begin();
  jobs.erase(found);
  if (wasHead) {
    startHead(*job->card);
  }
}

void HardwareModel::startHead(Card& card) {
  if (card.jobs.empty()) {
    card.timer->stopTimerTask();
    return;
  }
  auto const& job = *card.jobs.front();
  card.timer->scheduleTaskDelay(static_cast<double>(job.newEntries) * entryProgramTime_);
}

EntryIndex const& HardwareModel::Version::index() const {
  if (!index_) {
    std::vector<HwEntry> entries;
    entries.reserve(entryCount);
    for (std::uint32_t pos = 0; pos < classes.size(); ++pos) {
      for (auto const& entry : classes[pos]->entries()) {
        entries.push_back(entry);
        entries.back().classPos = pos;
      }
    }
    index_.emplace(std::move(entries));
  }
  return *index_;
}

void HardwareModel::jobDone(Card& card) {
  if (card.jobs.empty()) {
    return;
  }
  std::shared_ptr<Job> const job = card.jobs.front();
  card.jobs.pop_front();
  startHead(card);
  SlotState& state = slots_[job->slot];
  // The job is over: its classes move to the version that forwards.
  auto version = std::make_shared<Version>();
  version->classes.reserve(job->classes.size());
  version->programs.reserve(job->classes.size());
  for (std::size_t i = 0; i < job->classes.size(); ++i) {
    if (job->classes[i]) {
      version->classes.push_back(std::move(job->classes[i]));
      version->programs.push_back(job->program->classes[i].get());
    }
  }
  version->entryCount = job->entryCount + job->newEntries;
  version->program = job->program;
  state.forwarding = std::move(version);
  state.pending = nullptr;
  TRACE(gTrace, 5, job->slot.intf, " ", Nwk::toStrep(job->slot.af), " ", job->program->policyName,
        " version ", job->program->version, " forwarding, ", job->newEntries, " entries written");
  job->done(job->results);
}

void HardwareModel::programDel(Nwk::IntfId const& intf, Nwk::AddressFamily af) {
  auto const found = slots_.find(Slot{intf, af});
  if (found == slots_.end()) {
    return;
  }
  TRACE(gTrace, 5, intf, " ", Nwk::toStrep(af));
  cancelPending(found->second);
  slots_.erase(found);
}

void HardwareModel::countersRead(std::vector<Slot> const& slots, CountersDone done) {
  deliver([this, slots, done = std::move(done)] {
    std::vector<ClassCounters> counters(slots.size());
    for (std::size_t i = 0; i < slots.size(); ++i) {
      auto const found = slots_.find(slots[i]);
      if (found == slots_.end() || !found->second.forwarding) {
        continue;
      }
      for (auto const& hwClass : found->second.forwarding->classes) {
        counters[i][hwClass->program().name] += hwClass->packets();
      }
    }
    done(counters);
  });
}

void HardwareModel::deliverLater(Slot const& slot, std::uint64_t request, ProgramResult results,
                                 ProgramDone done) {
  deliver([this, slot, request, results = std::move(results), done = std::move(done)] {
    auto const found = slots_.find(slot);
    if (found != slots_.end() && found->second.requests == request) {
      done(results);
    }
  });
}

void HardwareModel::deliver(std::function<void()> call) {
  deliveries_.push_back(std::move(call));
  deliveryTask_->scheduleTask();
}

void HardwareModel::runDeliveries() {
  std::deque<std::function<void()>> ready;
  ready.swap(deliveries_);
  for (auto& call : ready) {
    call();
  }
}

}  // namespace Pbr
