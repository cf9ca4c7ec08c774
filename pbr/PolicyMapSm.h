#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include "models/policymap/ClassMapTypeConfig.h"
#include "models/policymap/IntfConfig.h"
#include "models/policymap/PolicyMapConfig.h"
#include "models/policymap/PolicyMapGlobalData.h"
#include "models/policymap/PolicyMapSmKey.h"
#include "models/policymap/PolicyMapStatus.h"
#include "models/policymap/PolicyMapTypeConfig.h"
#include "pbr/ClassPrograms.h"
#include "pbr/Dataplane.h"
#include "platform/cog/FlatHashMap.h"
#include "platform/kiln/KilnBaseOutputSm.h"
#include "platform/kiln/TimerWheel.h"

namespace PolicyMap {

// How a policy is bound to an interface. The machinery binds policies to the traffic that
// arrives on an interface; the kind keeps the handlers' signature open for other bindings.
enum class IntfBindingKind : std::uint8_t { intfBindingInput = 0 };

// Programs one policy on the interfaces bound to it, through the dataplane behind the agent's
// ACL helper, and reports how far it got in the policy's status.
//
// Watches the policy's configuration (the version in use), the class-map type (class-maps
// published or withdrawn) and the class-maps the version uses (their version in use); the
// interface bindings come from the owner through handleIntf. Each version becomes one program
// per address family; every bound interface gets the programs of the families the version
// uses. Writes, in `status`: one ClassMapStatus per class of the version (its state over the
// bound interfaces of its family: 1 while one is being programmed, else 2 installed on all,
// 3 on some, 4 on none, 0 with none bound or nothing to program; the class-map version
// programmed; its packet count), one IntfStatus per bound interface (installed or failed per match
// option the version uses), the counter update time once a counter request is served, and the
// version once no interface is still being programmed.
//
// Lifetime: made by the owner's createPolicyMapSm and started with handleInitialized, so that
// the overrides of a subclass take part from the start. Destroying it removes the policy from
// every interface in the dataplane; the owner removes its status. Dataplane completions that
// arrive after it is gone are dropped.
class PolicyMapSm : public Kiln::KilnBaseOutputSm {
 public:
  PolicyMapSm(Cog::Ptr<PolicyMapGlobalData const> globalData, PolicyMapSmKey key,
              Cog::Ptr<PolicyMapConfig const> config,
              Cog::Ptr<ClassMapTypeConfig const> cmapTypeConfig, Cog::Ptr<PolicyMapStatus> status,
              Cog::Ptr<PolicyMapTypeConfig const> pmapTypeConfig,
              Cog::Ptr<IntfConfig const> intfConfig, Cog::Ptr<Kiln::TimerWheel> timerWheel);
  ~PolicyMapSm() override;

  // Takes up the version in use and the interfaces bound to the policy. Nothing happens before.
  void handleInitialized();
  bool initialized() const { return initialized_; }

  // Reaction to the policy's version in use.
  void handlePolicyVersion();
  // Reaction to a change of a class-map the version may use (published, withdrawn, or a new
  // version in use): the base programs the version again when a used class's class-map version
  // changed. An override that does nothing leaves the change to the next policy version, which
  // builds the class from its class-map as it then stands.
  virtual void handleClassMap(Cog::SharedString const& name);
  // Evaluates the policy's binding to one interface again: binds it when the interface
  // configuration names this policy, unbinds it otherwise. A bound interface is programmed
  // again when `reprogram` is set, or for the families that failed.
  void handleIntf(Nwk::IntfId const& intfId, bool reprogram, IntfBindingKind kind);
  // Reads the counters of every bound interface and, once they are in, writes each class's
  // packet count and then the counter update time. A request made while a read is under way is
  // served by that read, whose counts are taken when it completes.
  void handleCounterRequest();
  // Switches the policy's reactors; switching them on again catches up with what changed.
  void hasNotificationActiveIs(bool active);

  PolicyMapSmKey const& key() const { return key_; }
  Cog::Ptr<PolicyMapGlobalData const> const& globalData() const { return globalData_; }
  Cog::Ptr<PolicyMapConfig const> const& config() const { return config_; }
  Cog::Ptr<ClassMapTypeConfig const> const& cmapTypeConfig() const { return cmapTypeConfig_; }
  Cog::Ptr<PolicyMapStatus> const& status() const { return status_; }
  Cog::Ptr<PolicyMapTypeConfig const> const& pmapTypeConfig() const { return pmapTypeConfig_; }
  Cog::Ptr<IntfConfig const> const& intfConfig() const { return intfConfig_; }
  Cog::Ptr<Kiln::TimerWheel> const& timerWheel() const { return timerWheel_; }

  // Kiln::KilnBaseOutputSm:
  char const* fwkType() const override { return "PolicyMapSm"; }
  // "PolicyMapSm <name>/<type> version <id> classes #<n>", then per bound interface
  // "<intf> <family> <state>[ <error>]".
  void dumpState(Kiln::DumpContext* ctx, int indent) const override;

 private:
  struct Reactors;
  class ClassMapReactor;

  static constexpr std::uint32_t kNoProgram = ~std::uint32_t{0};
  // One class of the version in use, with how its programming stands over the bound
  // interfaces of its family.
  struct ClassRecord {
    Cog::SharedString name;
    Kiln::UniqueId cmapVersion;
    Pbr::ClassEntries entries;
    std::unique_ptr<ClassMapReactor> reactor;  // on its class-map while published
    // Whether its programs are built from its action and class-map as they stand; where they
    // are in programs_.
    bool built = false;
    std::array<std::uint32_t, 2> programIndex{kNoProgram, kNoProgram};
    Cog::Ptr<ClassMapStatus> status;
    std::uint32_t pending = 0;
    std::uint32_t installed = 0;
    std::uint32_t failed = 0;
    bool dirty = true;
    // What the status says, so that a class whose state stayed is not written again: a
    // version that changes one class leaves every other status as it is.
    bool written = false;
    ClassState writtenState = ClassState::classStateUnknown;
    Kiln::UniqueId writtenVersion;
    std::uint32_t listed = 0;    // the last class-list walk that found it listed
    std::uint32_t position = 0;  // in order_
  };
  // One interface and family: the program asked for and its outcome.
  struct IntfSlot {
    enum class Phase : std::uint8_t { idle, pending, done };
    Phase phase = Phase::idle;
    std::shared_ptr<Pbr::PolicyProgram const> program;
    std::uint64_t serial = 0;
    Pbr::ProgramResult results;
    InstalledStatus shown;  // what IntfStatus says
    // While a make-before-break program is pending: its classes that the dataplane keeps in
    // place from the version installed before (same placement, installed). They count as
    // installed meanwhile, so that a new version changes the state of the classes it changes
    // only, and not of every class twice.
    std::vector<bool> kept;
  };
  using Binding = std::array<IntfSlot, 2>;  // by family: IPv4, IPv6

  // Whether the interface is to be bound: it names the policy and, when unknown interfaces are
  // skipped, the dataplane holds it.
  bool wants(Nwk::IntfId const& intfId) const;
  // Takes up the version in use after `previous`.
  void takeUpVersion(Cog::Ptr<PolicyMapSubConfig const> const& previous);
  // Takes up a version that lists other classes than the one before.
  void takeUpClassList();
  // A free slot for a new class record.
  std::uint32_t newSlot();
  // Whether the version in use lists the very classes of the one taken up before, in order
  // (their priorities may differ: only their order counts).
  bool listsSameClasses() const;
  static std::vector<bool> keptInPlace(IntfSlot const& slot,
                                       std::shared_ptr<Pbr::PolicyProgram const> const& next);
  // Watches the class-maps of the version in use as published now.
  void classMapReactorsUpdate();
  void classMapReactorUpdate(Cog::SharedString const& name);
  void classMapReactorUpdate(ClassRecord& record);
  // A class-map the version may use was published, withdrawn or has a new version in use.
  void classMapNotified(Cog::SharedString const& name);
  void rebuildPrograms();
  void programAll();
  void requestSlot(Nwk::IntfId const& intfId, Binding& binding, Nwk::AddressFamily af);
  void programDone(Nwk::IntfId const& intfId, Nwk::AddressFamily af, std::uint64_t serial,
                   Pbr::ProgramResult const& results);
  void unbind(Nwk::IntfId const& intfId);
  void tally(IntfSlot const& slot, Nwk::AddressFamily af, int sign);
  void intfStatusShow(Nwk::IntfId const& intfId, Nwk::AddressFamily af, InstalledStatus shown);
  void countersDone(std::vector<Pbr::ClassCounters> const& counters);
  // Writes the states of classes whose tally changed, and the version once nothing is pending.
  void flush();
  void writeClassStates();

  Cog::Ptr<PolicyMapGlobalData const> globalData_;
  PolicyMapSmKey key_;
  Cog::Ptr<PolicyMapConfig const> config_;
  Cog::Ptr<ClassMapTypeConfig const> cmapTypeConfig_;
  Cog::Ptr<PolicyMapStatus> status_;
  Cog::Ptr<PolicyMapTypeConfig const> pmapTypeConfig_;
  Cog::Ptr<IntfConfig const> intfConfig_;
  Cog::Ptr<Kiln::TimerWheel> timerWheel_;
  Cog::Ptr<Pbr::Dataplane> dataplane_;  // null when the ACL helper is not a dataplane
  bool initialized_ = false;

  std::unique_ptr<Reactors> reactors_;
  Cog::Ptr<PolicyMapSubConfig const> currCfg_;
  // Class records stay in their slot for as long as the class is listed, so that a new class
  // list (a rule come or gone among a hundred thousand) rewrites only the order of slots, not
  // the records or the index by name. Freed slots are reused.
  std::vector<ClassRecord> records_;
  std::vector<std::uint32_t> freeSlots_;
  std::vector<std::uint32_t> order_;  // the slots of the version's classes, in priority order
  Cog::FlatHashMap<Cog::SharedString, std::uint32_t> classIndex_;  // name to slot
  std::uint32_t listWalks_ = 0;
  std::vector<std::uint32_t> dirty_;  // slots
  // Per family: the program of the version in use (null when no class has the family) and,
  // per class of the program, its slot.
  std::array<std::shared_ptr<Pbr::PolicyProgram const>, 2> programs_;
  std::array<std::vector<std::uint32_t>, 2> programClasses_;
  std::map<Nwk::IntfId, Binding> bindings_;
  std::uint64_t serial_ = 0;
  bool counterReadPending_ = false;
  // Lets dataplane completions tell whether this state machine still exists.
  std::shared_ptr<PolicyMapSm*> alive_;
};

}  // namespace PolicyMap
