#include "pbr/nft/NftDataplane.h"

#include <unordered_map>

#include "pbr/nft/NftRuleText.h"
#include "platform/trace/Trace.h"

namespace Pbr {

namespace {

Trace::Handle gTrace("NftDataplane");
constexpr Kiln::TaskPriority kTaskPriority{2};

char const* familyText(Nwk::AddressFamily af) {
  return af == Nwk::AddressFamily::ipv6 ? "ipv6" : "ipv4";
}

}  // namespace

NftDataplane::NftDataplane(Cog::Ptr<Kiln::TaskScheduler> scheduler, std::string const& netns,
                           std::string table)
    : scheduler_(std::move(scheduler)), table_(std::move(table)), session_(netns) {
  deliveryTask_ = std::make_unique<Kiln::Task>(scheduler_, kTaskPriority, "NftDataplane",
                                               [this] { runDeliveries(); });
  std::string const t = "inet " + table_;
  error_ = session_.run(reset() + "add map " + t +
                        " dispatch { type ifname . nf_proto : verdict; }\n"
                        "add chain " +
                        t +
                        " prerouting { type filter hook prerouting priority mangle; policy "
                        "accept; }\n"
                        "add rule " +
                        t + " prerouting iifname . meta nfproto vmap @dispatch\n");
  TRACE(gTrace, 3, "table ", t, error_.empty() ? " ready" : " failed: " + error_);
}

NftDataplane::~NftDataplane() { withdrawAll(); }

void NftDataplane::withdrawAll() {
  if (error_.empty()) {
    session_.run(reset());
    error_ = "withdrawn";
  }
}

std::string NftDataplane::reset() const {
  std::string const t = "inet " + table_;
  return "add table " + t + "\ndelete table " + t + "\nadd table " + t + "\n";
}

void NftDataplane::vrfTableIs(Cog::String const& vrfName, std::uint32_t routingTable) {
  vrfTables_[vrfName] = routingTable;
}

bool NftDataplane::intfPresent(Nwk::IntfId const& intf) const {
  return nftIntfNameValid(intf.name());
}

void NftDataplane::programIs(Nwk::IntfId const& intf, std::shared_ptr<PolicyProgram const> program,
                             ProgramDone done) {
  Slot const slot{intf, program->af};
  SlotState& state = slots_[slot];
  std::uint64_t const request = ++state.requests;
  TRACE(gTrace, 5, intf, " ", Nwk::toStrep(program->af), " ", program->policyName, " version ",
        program->version, " classes #", program->classes.size());
  if (!program->makeBeforeBreak && state.chainId) {
    // Without make-before-break the old version goes when the new one is asked for.
    std::string const error =
        session_.run("flush chain inet " + table_ + " s" + std::to_string(state.chainId) + "\n" +
                     objectsDel(state.forwarding));
    if (error.empty()) {
      state.forwarding.clear();
    }
  }
  deliver([this, slot, request, program = std::move(program), done = std::move(done)] {
    auto const found = slots_.find(slot);
    if (found != slots_.end() && found->second.requests == request) {
      apply(slot, program, done);
    }
  });
}

std::string NftDataplane::classRules(ClassProgram const& program, Nwk::AddressFamily af,
                                     Placed const& placed, std::vector<std::string>& rules) const {
  ActionSpec const& action = program.action;
  std::string actions = " counter name c" + std::to_string(placed.id);
  if (action.deny) {
    actions += " drop";
  } else {
    if (action.redirect) {
      auto const found = vrfTables_.find(action.redirect->vrfName);
      if (found == vrfTables_.end()) {
        return "no routing table for VRF " + action.redirect->vrfName;
      }
      actions += " meta mark set " + std::to_string(found->second);
    }
    if (action.setDscp) {
      actions += (af == Nwk::AddressFamily::ipv6 ? " ip6 dscp set " : " ip dscp set ") +
                 std::to_string(*action.setDscp & 0x3f);
    }
    actions += placed.police ? " goto p" + std::to_string(placed.id) : " accept";
  }
  std::string error;
  auto const add = [&](auto const& entries) {
    if (!entries) {
      return;
    }
    for (auto const& filter : *entries) {
      std::string const match = nftMatch(filter, error);
      if (!error.empty()) {
        return;
      }
      rules.push_back(match + actions);
    }
  };
  if (af == Nwk::AddressFamily::ipv6) {
    add(program.ip6Entries);
  } else {
    add(program.ipEntries);
  }
  return error;
}

std::string NftDataplane::objectsDel(std::vector<Placed> const& placed) const {
  std::string out;
  for (auto const& p : placed) {
    if (p.police) {
      out += "delete chain inet " + table_ + " p" + std::to_string(p.id) + "\n";
    }
    out += "delete counter inet " + table_ + " c" + std::to_string(p.id) + "\n";
  }
  return out;
}

std::string NftDataplane::batch(Slot const& slot, std::uint64_t chainId, bool chainExists,
                                std::vector<NewClass const*> const& classes,
                                std::vector<Placed> const& dropped) const {
  std::string const t = "inet " + table_;
  std::string const chain = " s" + std::to_string(chainId);
  std::string out;
  if (!chainExists) {
    out += "add chain " + t + chain + "\nadd element " + t + " dispatch { \"" + slot.intf.name() +
           "\" . " + familyText(slot.af) + " : jump" + chain + " }\n";
  }
  out += "flush chain " + t + chain + "\n";
  for (NewClass const* c : classes) {
    if (c->kept) {
      continue;
    }
    std::string const id = std::to_string(c->placed.id);
    out += "add counter " + t + " c" + id + "\n";
    if (c->placed.police) {
      std::uint64_t const bytes = *c->placed.program.action.policeRateBps / 8;
      out += "add chain " + t + " p" + id + "\nadd rule " + t + " p" + id +
             (bytes ? " limit rate over " + std::to_string(bytes) + " bytes/second drop\n"
                    : " drop\n") +
             "add rule " + t + " p" + id + " accept\n";
    }
  }
  for (NewClass const* c : classes) {
    for (auto const& rule : c->rules) {
      out += "add rule " + t + chain + rule + "\n";
    }
  }
  return out + objectsDel(dropped);
}

void NftDataplane::apply(Slot const& slot, std::shared_ptr<PolicyProgram const> const& program,
                         ProgramDone const& done) {
  SlotState& state = slots_[slot];
  ProgramResult results(program->classes.size());
  auto const failAll = [&](std::string const& error) {
    TRACE(gTrace, 3, slot.intf, " ", program->policyName, " failed: ", error);
    done(ProgramResult(program->classes.size(), ClassResult{false, error}));
  };
  if (!error_.empty()) {
    return failAll(error_);
  }
  if (!nftIntfNameValid(slot.intf.name())) {
    return failAll("interface " + slot.intf.name() + " has no Linux interface name");
  }
  if (program->af != Nwk::AddressFamily::ipv4 && program->af != Nwk::AddressFamily::ipv6) {
    return failAll("no address family to program");
  }

  std::unordered_map<Cog::SharedString, Placed const*> oldByName;
  for (auto const& p : state.forwarding) {
    oldByName.emplace(p.program.name, &p);
  }
  std::vector<NewClass> classes;
  std::string firstError;
  for (std::size_t i = 0; i < program->classes.size(); ++i) {
    ClassProgram const& cls = *program->classes[i];
    NewClass c;
    c.index = i;
    auto const found = oldByName.find(cls.name);
    if (found != oldByName.end() && found->second->program.samePlacement(cls)) {
      c.placed = *found->second;
      c.kept = true;
      oldByName.erase(found);
    } else {
      c.placed = Placed{cls, nextId_++, cls.action.policeRateBps.has_value() && !cls.action.deny};
    }
    std::string const error = classRules(cls, program->af, c.placed, c.rules);
    if (!error.empty()) {
      results[i] = ClassResult{false, error};
      firstError = firstError.empty() ? error : firstError;
      continue;
    }
    classes.push_back(std::move(c));
  }
  if (program->atomic && !firstError.empty()) {
    return failAll(firstError);
  }
  std::vector<Placed> dropped;
  for (auto const& p : state.forwarding) {
    if (oldByName.contains(p.program.name) && oldByName.at(p.program.name) == &p) {
      dropped.push_back(p);
    }
  }

  bool const chainExists = state.chainId != 0;
  std::uint64_t const chainId = chainExists ? state.chainId : nextId_++;
  std::vector<NewClass const*> writing;
  for (auto const& c : classes) {
    writing.push_back(&c);
  }
  std::string error = session_.run(batch(slot, chainId, chainExists, writing, dropped));
  if (!error.empty() && !program->atomic) {
    // Find the classes the kernel refuses, each checked alone, and commit the others.
    std::vector<NewClass const*> accepted;
    for (NewClass const* c : writing) {
      std::string const alone = c->kept ? std::string()
                                        : session_.run(batch(slot, chainId, chainExists, {c}, {}),
                                                       /*dryRun=*/true);
      if (alone.empty()) {
        accepted.push_back(c);
      } else {
        results[c->index] = ClassResult{false, alone};
      }
    }
    if (accepted.size() < writing.size()) {
      writing = std::move(accepted);
      error = session_.run(batch(slot, chainId, chainExists, writing, dropped));
    }
  }
  if (!error.empty()) {
    return failAll(error);
  }
  state.chainId = chainId;
  state.forwarding.clear();
  for (NewClass const* c : writing) {
    results[c->index].installed = true;
    state.forwarding.push_back(c->placed);
  }
  TRACE(gTrace, 5, slot.intf, " ", Nwk::toStrep(slot.af), " ", program->policyName, " version ",
        program->version, " forwarding, ", writing.size(), " classes");
  done(results);
}

void NftDataplane::programDel(Nwk::IntfId const& intf, Nwk::AddressFamily af) {
  auto const found = slots_.find(Slot{intf, af});
  if (found == slots_.end()) {
    return;
  }
  TRACE(gTrace, 5, intf, " ", Nwk::toStrep(af));
  SlotState const& state = found->second;
  if (state.chainId) {
    std::string const t = "inet " + table_;
    std::string const chain = " s" + std::to_string(state.chainId);
    std::string const error =
        session_.run("delete element " + t + " dispatch { \"" + intf.name() + "\" . " +
                     familyText(af) + " }\nflush chain " + t + chain + "\ndelete chain " + t +
                     chain + "\n" + objectsDel(state.forwarding));
    if (!error.empty()) {
      TRACE(gTrace, 1, intf, " ", Nwk::toStrep(af), " not removed: ", error);
    }
  }
  slots_.erase(found);
}

void NftDataplane::countersRead(std::vector<Slot> const& slots, CountersDone done) {
  deliver([this, slots, done = std::move(done)] {
    std::vector<ClassCounters> counters(slots.size());
    std::string error;
    auto const listed = parseCounters(session_.list("list counters table inet " + table_, error));
    if (!error.empty()) {
      TRACE(gTrace, 1, "counters not read: ", error);
    }
    for (std::size_t i = 0; i < slots.size(); ++i) {
      auto const found = slots_.find(slots[i]);
      if (found == slots_.end()) {
        continue;
      }
      for (auto const& p : found->second.forwarding) {
        auto const counter = listed.find("c" + std::to_string(p.id));
        counters[i][p.program.name] += counter == listed.end() ? 0 : counter->second;
      }
    }
    done(counters);
  });
}

void NftDataplane::deliver(std::function<void()> call) {
  deliveries_.push_back(std::move(call));
  deliveryTask_->scheduleTask();
}

void NftDataplane::runDeliveries() {
  std::deque<std::function<void()>> ready;
  ready.swap(deliveries_);
  for (auto& call : ready) {
    call();
  }
}

}  // namespace Pbr
