#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <unordered_map>
#include <vector>

#include "models/policymap/PolicyMapAclHelper.h"
#include "pbr/PolicyProgram.h"
#include "platform/nwk/IntfId.h"

namespace Pbr {

// Where a policy is programmed: one interface, one address family. A slot holds at most one
// policy version that forwards and at most one that is being programmed.
struct Slot {
  Nwk::IntfId intf;
  Nwk::AddressFamily af = Nwk::AddressFamily::none;
  auto operator<=>(Slot const&) const = default;
};

// The packets counted per class name in the version that forwards on one slot.
using ClassCounters = std::unordered_map<Cog::SharedString, std::uint64_t>;

// What the policy programming machinery needs of the hardware (or of any other classifier
// that policies are installed into). It is the agent's ACL helper: the machinery finds it
// behind PolicyMap::PolicyMapAclHelper. Everything runs on the agent's one thread.
//
// Completions are always delivered later from the agent's scheduler, never from inside the
// call that asked for them, so a caller may be in the middle of a notification when it asks.
// A program completion is not delivered once the request is superseded by another programIs
// for the slot or removed by programDel; counter reads always complete.
class Dataplane : public PolicyMap::PolicyMapAclHelper {
 public:
  using ProgramDone = std::function<void(ProgramResult const&)>;
  using CountersDone = std::function<void(std::vector<ClassCounters> const&)>;

  // Whether the dataplane holds the interface at all.
  virtual bool intfPresent(Nwk::IntfId const& intf) const = 0;

  // Programs `program` on the interface for program->af, replacing what the slot holds or is
  // programming. With make-before-break the version in place keeps forwarding until the new one
  // is in, and stays if the two cannot be held together; classes whose entries object and
  // action equal those of a forwarding class of the same name may be kept in place, counters
  // included. `done` gets one result per class.
  virtual void programIs(Nwk::IntfId const& intf, std::shared_ptr<PolicyProgram const> program,
                         ProgramDone done) = 0;

  // Removes whatever the slot holds or is programming, at once.
  virtual void programDel(Nwk::IntfId const& intf, Nwk::AddressFamily af) = 0;

  // Reads the counters of the forwarding version of each slot; `done` gets one entry per slot,
  // in the order asked (empty for a slot without a forwarding version).
  virtual void countersRead(std::vector<Slot> const& slots, CountersDone done) = 0;
};

}  // namespace Pbr
