#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "pbr/Dataplane.h"
#include "pbr/nft/NftSession.h"
#include "platform/kiln/Task.h"
#include "platform/kiln/TaskScheduler.h"

namespace Pbr {

// Programs policies into the Linux kernel with nftables, in one table of its own
// ("inet orbflowspec" unless named otherwise) inside one network namespace.
//
// Layout: the table is of family inet, with one base chain on the prerouting hook (priority
// mangle, so marks are set before the routing decision) that dispatches by input interface
// name and protocol family through a verdict map to one chain per slot. inet rather than
// netdev: the dispatch by name needs no device to exist when a policy is bound (a netdev
// ingress chain does, and disappears with its device), the packets are already validated IPv4
// or IPv6 when they get there, and DSCP rewriting and marking for policy routing work as they
// do for locally routed traffic. Nothing outside the table is read or written.
//
// A slot's chain holds one rule per ACL entry, classes in priority order, first match wins.
// Each rule updates the named counter of its class and applies its action: permit accepts,
// deny drops, a VRF redirect sets the packet mark to the VRF's routing table (the operator adds
// `ip rule add fwmark T lookup T`; a next-hop redirect uses the same mark and expects the
// route to the next hop in table T), set DSCP rewrites the DSCP, and police jumps to the
// class's own chain that drops above the rate and accepts the rest, so a conforming packet is
// not classified again by a later class.
//
// A program replaces the slot's rules in one transaction: the kernel switches from the old
// rules to the new ones between two packets. A class whose entries object and action equal
// those of a forwarding class keeps its counter. If the transaction fails the old version
// stays; for a non-atomic program each new class is checked on its own, the ones the kernel
// refuses fail with libnftables' error text and the rest is committed.
//
// Construction reconciles: whatever a previous run left in the table is replaced by an empty
// skeleton (the machinery programs every policy again). Destruction leaves the table empty.
// Completions run from this object's task on the scheduler, never inside the call; destroying
// it drops those not delivered yet.
class NftDataplane : public Dataplane {
 public:
  NftDataplane(Cog::Ptr<Kiln::TaskScheduler> scheduler, std::string const& netns = "",
               std::string table = "orbflowspec");
  ~NftDataplane() override;
  // Removes everything programmed, now rather than at destruction (for a process that exits
  // without tearing its objects down); afterwards nothing more is programmed.
  void withdrawAll();

  // Why the dataplane cannot program anything (no namespace, no nftables); empty when it can.
  std::string const& error() const { return error_; }
  std::string const& table() const { return table_; }
  // The routing table, and packet mark, of a VRF that classes redirect to.
  void vrfTableIs(Cog::String const& vrfName, std::uint32_t routingTable);

  // Dataplane: every valid Linux interface name is present, as the dispatch is by name.
  bool intfPresent(Nwk::IntfId const& intf) const override;
  void programIs(Nwk::IntfId const& intf, std::shared_ptr<PolicyProgram const> program,
                 ProgramDone done) override;
  void programDel(Nwk::IntfId const& intf, Nwk::AddressFamily af) override;
  void countersRead(std::vector<Slot> const& slots, CountersDone done) override;

 private:
  // A class in the kernel: counter "c<id>", police chain "p<id>" when it polices.
  struct Placed {
    ClassProgram program;
    std::uint64_t id = 0;
    bool police = false;
  };
  struct SlotState {
    std::uint64_t chainId = 0;  // chain "s<id>", 0 until it exists
    std::vector<Placed> forwarding;
    std::uint64_t requests = 0;  // numbers requests, so superseded ones are dropped
  };
  // A class to write: its entries' rule texts and actions.
  struct NewClass {
    std::size_t index = 0;  // in the program
    Placed placed;
    std::vector<std::string> rules;
    bool kept = false;
  };

  void apply(Slot const& slot, std::shared_ptr<PolicyProgram const> const& program,
             ProgramDone const& done);
  // The rule texts of a class, or an error text.
  std::string classRules(ClassProgram const& program, Nwk::AddressFamily af, Placed const& placed,
                         std::vector<std::string>& rules) const;
  // The transaction that makes `classes` the slot's rules, creating its chain unless it exists.
  std::string batch(Slot const& slot, std::uint64_t chainId, bool chainExists,
                    std::vector<NewClass const*> const& classes,
                    std::vector<Placed> const& dropped) const;
  std::string objectsDel(std::vector<Placed> const& placed) const;
  std::string reset() const;
  void deliver(std::function<void()> call);
  void runDeliveries();

  Cog::Ptr<Kiln::TaskScheduler> scheduler_;
  std::string table_;
  NftSession session_;
  std::string error_;
  std::map<Cog::String, std::uint32_t> vrfTables_;
  std::map<Slot, SlotState> slots_;
  std::uint64_t nextId_ = 1;
  std::deque<std::function<void()>> deliveries_;
  std::unique_ptr<Kiln::Task> deliveryTask_;
};

}  // namespace Pbr
