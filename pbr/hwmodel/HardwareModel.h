#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>

#include "models/aclstatus/StatusDp.h"
#include "pbr/Dataplane.h"
#include "pbr/hwmodel/EntryIndex.h"
#include "pbr/hwmodel/HwClass.h"
#include "pbr/hwmodel/LineCard.h"
#include "pbr/hwmodel/Packet.h"
#include "platform/cog/SharedPrefetch.h"
#include "platform/kiln/Task.h"
#include "platform/kiln/TaskScheduler.h"
#include "platform/kiln/TimerTask.h"

namespace Pbr {

// A model of packet-classification hardware, deterministic under the scheduler's clock: line
// cards holding interfaces, per card an IPv4 and an IPv6 TCAM bank and a pool of range
// checkers, qualifiers a card cannot match, programming that takes time per entry, and a
// software classifier that answers as the hardware would.
//
// Programming: each card programs one request at a time, in arrival order, taking
// entryProgramTime (10 us unless set) per entry it writes; a request's resources are reserved when
// it arrives. Classes are placed in priority order; a class that cannot be placed (an entry the
// card cannot express or qualify on, no free checker, no room in the bank) fails alone, unless the
// program is atomic. A class whose entries object and action equal those of a class forwarding
// on the slot is kept in place: no new entries, no time, its counter goes on. With
// make-before-break the old version forwards until the new one is in, and if the card cannot
// hold both the new one fails as a whole and the old one stays; without it the old version is
// removed when the request arrives.
//
// Unsupported qualifiers are published into the ACL data-plane status for the flowspec feature
// under each card's name and ACL type, component "tcam-key", qualifier entries keyed and valued
// by the qualifier's name. They apply to programs requested afterwards.
//
// Completions run from the model's own tasks and timers on the scheduler (never inside the
// call that asked); destroying the model drops those not delivered yet.
class HardwareModel : public Dataplane {
 public:
  struct BankUsage {
    std::uint32_t used = 0;
    std::uint32_t capacity = 0;
    bool operator==(BankUsage const&) const = default;
  };

  HardwareModel(Cog::Ptr<Kiln::TaskScheduler> scheduler, Cog::Ptr<Acl::StatusDp> aclStatusDp);
  ~HardwareModel() override;

  // Adds a line card (a card of an existing name is left as it is).
  void lineCardIs(Cog::String const& name, std::uint32_t ipv4Entries, std::uint32_t ipv6Entries,
                  std::uint32_t rangeCheckers);
  // Puts an interface on a card; false when there is no such card or the interface is on
  // another card already (interfaces stay where they were put).
  bool intfIs(Nwk::IntfId const& intf, Cog::String const& lineCard);
  // Marks a qualifier unsupported (or supported again) on a card for an ACL type (0 IPv4,
  // 1 IPv6); false when there is no such card or type.
  bool unsupportedQualifierIs(Cog::String const& lineCard, Acl::AclType aclType,
                              Qualifier qualifier, bool unsupported = true);
  Cog::Seconds entryProgramTime() const { return entryProgramTime_; }
  void entryProgramTimeIs(Cog::Seconds time) { entryProgramTime_ = time; }

  // What the hardware holds, for tests and the agent's show output.
  BankUsage bankUsage(Cog::String const& lineCard, Nwk::AddressFamily af) const;
  std::uint32_t rangeCheckersInUse(Cog::String const& lineCard) const;
  // Whether a program is pending on the slot.
  bool programming(Nwk::IntfId const& intf, Nwk::AddressFamily af) const;
  // The entries of the version forwarding on the slot.
  std::size_t forwardingEntries(Nwk::IntfId const& intf, Nwk::AddressFamily af) const;

  // Classifies a packet arriving on the interface against the version forwarding there for
  // its family: the first class in priority order with a matching entry, whose counter counts
  // the packet.
  Classification classify(Nwk::IntfId const& intf, Packet const& packet);

  // Dataplane:
  bool intfPresent(Nwk::IntfId const& intf) const override;
  void programIs(Nwk::IntfId const& intf, std::shared_ptr<PolicyProgram const> program,
                 ProgramDone done) override;
  void programDel(Nwk::IntfId const& intf, Nwk::AddressFamily af) override;
  void countersRead(std::vector<Slot> const& slots, CountersDone done) override;

 private:
  // What forwards on a slot: its classes in priority order and their entries. The lookup index
  // over the entries is built when a packet first needs it: most versions are replaced before
  // any packet is classified by them.
  struct Version {
    std::vector<std::shared_ptr<HwClass>> classes;
    // Per class, the program it was placed for: the next version finds the classes it shares
    // with this one without reading them. `program` keeps them alive: a kept class's HwClass
    // holds the program it was first placed for, and an address freed could come back as
    // another class's.
    std::vector<ClassProgram const*> programs;
    std::shared_ptr<PolicyProgram const> program;
    std::size_t entryCount = 0;
    EntryIndex const& index() const;
    ~Version() { Cog::releaseShared(classes); }

   private:
    mutable std::optional<EntryIndex> index_;
  };
  struct Card;
  // A program request waiting for or under programming on its card.
  struct Job {
    Slot slot;
    Card* card = nullptr;
    std::shared_ptr<PolicyProgram const> program;
    // Per class of the program: the placed class (reserved, or kept from the old version),
    // null when it failed.
    std::vector<std::shared_ptr<HwClass>> classes;
    std::vector<std::uint32_t> placed;  // the classes placed anew, to reserve on the card
    ProgramResult results;
    std::uint64_t newEntries = 0;
    std::uint64_t entryCount = 0;  // of the version once forwarding
    ProgramDone done;
  };
  struct SlotState {
    std::shared_ptr<Version> forwarding;
    std::shared_ptr<Job> pending;
    std::uint64_t requests = 0;  // numbers requests, so stale deliveries are dropped
  };
  struct Card {
    std::unique_ptr<LineCard> lineCard;
    std::deque<std::shared_ptr<Job>> jobs;  // the head is being programmed
    std::unique_ptr<Kiln::TimerTask> timer;
  };

  // Places the program's classes against what the card can hold; the job, or null with
  // `versionError` set when the version fails as a whole.
  std::shared_ptr<Job> plan(Slot const& slot, Card& card,
                            std::shared_ptr<PolicyProgram const> const& program, Version const* old,
                            Cog::String& versionError);
  void cancelPending(SlotState& state);
  void startHead(Card& card);
  void jobDone(Card& card);
  // Delivers `results` for the request numbered `request` unless the slot moved on by then.
  void deliverLater(Slot const& slot, std::uint64_t request, ProgramResult results,
                    ProgramDone done);
  void deliver(std::function<void()> call);
  void runDeliveries();
  Card* cardOf(Nwk::IntfId const& intf) const;

  Cog::Ptr<Kiln::TaskScheduler> scheduler_;
  Cog::Ptr<Acl::StatusDp> aclStatusDp_;
  Cog::Seconds entryProgramTime_ = 10e-6;
  std::map<Cog::String, std::unique_ptr<Card>> cards_;
  std::map<Nwk::IntfId, Card*> intfCard_;
  std::map<Slot, SlotState> slots_;
  std::deque<std::function<void()>> deliveries_;
  std::unique_ptr<Kiln::Task> deliveryTask_;
};

}  // namespace Pbr
