#pragma once

#include <map>
#include <memory>
#include <optional>

#include "OrbFlowspec/status/IntfInstalled.h"
#include "models/flowspec/Config.h"
#include "models/flowspec/FlowspecUtil.h"
#include "models/flowspec/Status.h"
#include "models/policymap/PolicyMapStatus.h"
#include "platform/cog/FlatHashMap.h"
#include "platform/cog/ReactorMap.h"
#include "platform/kiln/KilnBaseOutputSm.h"
#include "platform/kiln/Task.h"
#include "platform/kiln/TaskScheduler.h"

namespace OrbFlowspec {

// Publishes the hardware status of every rule of one VRF, and the VRF's interfaces on which
// the flowspec policy is installed or failed.
//
// Watches the VRF's policy-map status (class-map states and per-interface installed states,
// through one nested ClassMapStatusSm per class-map and one IntfStatusSm per interface), the
// VRF's rule configurations and rule statuses, and the unsupported qualifiers per address
// family. A rule's status comes from its class-map's state; when that gives nothing, from the
// aggregate of the interfaces of the rule's family; a rule using a component the line cards
// cannot qualify on gets status 4 whatever else holds. Status 3 belongs to the translation
// side and is never overwritten. Changes only queue the rule in a backlog that a cooperative
// task drains, so a burst of changes costs one evaluation per rule.
//
// Writes statusCode and errorReason of the rule statuses, and intfError and activeIntfPerAf of
// the VRF rule status. Created by the status root while the VRF has a name, a policy-map status,
// a rule status and rules; the root runs doCleanup before dropping it. A removed nested reactor
// runs the handler for its key once more, which then finds its record gone.
class FlowspecVrfStatusSm : public Kiln::KilnBaseOutputSm {
 public:
  using VrfId = Vrf::VrfIdMap::VrfId;
  using Status = Flowspec::HwRuleProgrammingStatus;

  // What the status root hands over, in the order the factory takes it. The framework's
  // reinstantiation check compares them.
  struct Inputs {
    Cog::Ptr<PolicyMap::PolicyMapStatus const> pmapStatus;
    Cog::Ptr<Flowspec::VrfRuleStatus> vrfRuleStatus;
    Cog::Ptr<Flowspec::VrfRuleConfig const> vrfRuleConfig;
    Cog::Ptr<Flowspec::Status const> flowspecStatus;
    Cog::Ptr<Kiln::TaskScheduler> taskScheduler;
    bool operator==(Inputs const&) const = default;
  };

  explicit FlowspecVrfStatusSm(Inputs inputs);
  ~FlowspecVrfStatusSm() override;
  bool constructedWith(Inputs const& inputs) const { return inputs == in_; }

  COG_RECORD(FlowspecVrfStatusSm, (orderedSet, Flowspec::FlowspecKey, ruleBacklog, RuleBacklog),
             (orderedChildren, Nwk::AddressFamily, IntfInstalled, intfInstalled, IntfInstalled),
             (value, bool, initialized, Initialized));

  VrfId vrfId() const;
  VrfId fwkKey() const { return vrfId(); }
  Cog::String vrfName() const;

  // Rules.
  void handleInitialized();
  void handleRule(Flowspec::FlowspecKey const& key);
  void handleRule();
  void handleRuleFor(Nwk::AddressFamily af);
  void handleRuleTask();
  void handleUnsupportedQual(Nwk::AddressFamily af);
  void processRule(Flowspec::FlowspecKey const& key);
  // The status the rule's class-map gives it; not installed when it has none.
  Status classInstalledState(Flowspec::FlowspecKey const& key) const;
  // What a class-map state says of its rule: not installed until the class is programmed.
  static Status ruleStatusFor(PolicyMap::ClassState state);
  void doCleanup();

  // The aggregate state of the interfaces of a family; not installed when none is recorded.
  Status afInstalled(Nwk::AddressFamily af) const;
  // Stores the aggregate and re-evaluates the family's rules when it changed.
  void afInstalledIs(Nwk::AddressFamily af, Status status);

  // Class-maps: one nested reactor per class-map status.
  class ClassMapStatusSm;
  void handleClassStatus(Cog::SharedString const& name);
  void handleClassStatus();
  void handleClassState(Cog::SharedString const& name) {
    handleClassState(name, classKey(name).key);
  }
  void handleClassState(Cog::SharedString const& name,
                        std::optional<Flowspec::FlowspecKey> const& key);
  // The rule key a class-map of this policy is named by, none for a name that is not a key, and
  // whether the name is the key's own text. Class-maps mostly report in rule order: the rule
  // after the one found last is tried first, by its shared text, before the name is parsed.
  struct ClassKey {
    std::optional<Flowspec::FlowspecKey> key;
    bool canonical = false;
  };
  ClassKey classKey(Cog::SharedString const& name);
  // The state of the class-map named `name`; unknown without one.
  PolicyMap::ClassState classStateOf(Cog::SharedString const& name) const;
  void classMapStatusIs(Cog::Ptr<PolicyMap::ClassMapStatus const> const& status);
  void classMapStatusDel(Cog::SharedString const& name);
  // Indexes the status a class-map gives its rule (the key is the class-map reactor's own).
  void classStatusIs(Flowspec::FlowspecKey const& key, Status status);

  // Interfaces: one nested reactor per interface status.
  class IntfStatusSm;
  static Nwk::AddressFamily addressFamilyFor(PolicyMap::ClassMapMatchOption matchOption);
  void handleIntfStatus();
  void handleIntfStatus(Nwk::IntfId const& intfId, PolicyMap::ClassMapMatchOption matchOption);
  void updateAfInstalled(Nwk::AddressFamily af, Nwk::IntfId const& intfId,
                         PolicyMap::InstalledState state);
  void intfStatusIs(Cog::Ptr<PolicyMap::IntfStatus const> const& status);
  void intfStatusDel(Nwk::IntfId const& intfId);

  // Kiln::KilnBaseOutputSm:
  char const* fwkType() const override { return "FlowspecVrfStatusSm"; }
  void dumpState(Kiln::DumpContext* ctx, int indent) const override;

 private:
  struct Reactors;

  Inputs const in_;
  Flowspec::FlowspecUtil flowspecUtil_;
  std::map<Nwk::AddressFamily, Status> afInstalled_;
  // Per rule whose class-map is installed, partial or failed, that status: the rules the
  // status of their family does not concern.
  struct KeyHash {
    std::size_t operator()(Flowspec::FlowspecKey const* key) const {
      return std::hash<Flowspec::FlowspecKey>()(*key);
    }
  };
  struct KeyEqual {
    bool operator()(Flowspec::FlowspecKey const* a, Flowspec::FlowspecKey const* b) const {
      return *a == *b;
    }
  };
  Cog::FlatHashMap<Flowspec::FlowspecKey const*, Status, KeyHash, KeyEqual> classStatus_;
  std::optional<Flowspec::FlowspecKey> lastClassKey_;  // found last by classKey
  std::unique_ptr<Reactors> reactors_;
  Cog::OrderedReactorMap<Nwk::IntfId, IntfStatusSm> intfStatus_;
  Cog::ReactorMap<Cog::SharedString, ClassMapStatusSm> classMapStatus_;
  std::unique_ptr<Kiln::Task> ruleTask_;
};

Cog::Ptr<FlowspecVrfStatusSm> flowspecVrfStatusSmFactory(
    Cog::Ptr<PolicyMap::PolicyMapStatus const> pmapStatus,
    Cog::Ptr<Flowspec::VrfRuleStatus> vrfRuleStatus,
    Cog::Ptr<Flowspec::VrfRuleConfig const> vrfRuleConfig,
    Cog::Ptr<Flowspec::Status const> flowspecStatus, Cog::Ptr<Kiln::TaskScheduler> taskScheduler);

}  // namespace OrbFlowspec
