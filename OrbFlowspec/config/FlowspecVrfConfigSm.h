#pragma once

#include <cstdint>
#include <memory>

#include "OrbFlowspec/config/ActionContainer.h"
#include "OrbFlowspec/config/RedirectVrfId.h"
#include "OrbFlowspec/config/RuleOrder.h"
#include "OrbFlowspec/translation/ClassMapMatchBuilder.h"
#include "models/flowspec/Config.h"
#include "models/flowspec/FlowspecUtil.h"
#include "models/flowspec/Status.h"
#include "models/policymap/ClassMapTypeConfig.h"
#include "models/policymap/PolicyMapConfig.h"
#include "models/vrf/VrfIdMap.h"
#include "platform/cog/ReactorMap.h"
#include "platform/kiln/KilnBaseOutputSm.h"
#include "platform/kiln/Task.h"
#include "platform/kiln/TaskScheduler.h"
#include "platform/kiln/TimerTask.h"

namespace OrbFlowspec {

// Translates the flowspec rules of one VRF. Created by the configuration root for a VRF that
// has a name, rules and a rule status; doCleanup runs before it is dropped.
//
// Every rule is watched by a nested RuleConfigSm. A changed rule's key goes into the backlog,
// which a cooperative rule task drains, building one class-map per rule. After the backlog
// drains, the policy timer (0.05 s, restarted by every drain) builds the VRF's policy-map as a
// new version with one class per rule, in rule precedence order, with its priority (IPv4 from
// 1, IPv6 from 0x80000000) and its actions; the starvation timer (60 s, the earliest arming
// kept) bounds the delay under a steady stream of changes. A new version starts as the one in
// use and changes what changed since: the class actions of the rules in the action backlog,
// and the class priorities when rules came or went. Rules that redirect into a VRF are
// indexed by that VRF's id so a change of the VRF's entry re-evaluates exactly them.
//
// Handlers do nothing before handleInitialized, which the constructor runs last.
class FlowspecVrfConfigSm : public Kiln::KilnBaseOutputSm {
 public:
  using VrfId = Vrf::VrfIdMap::VrfId;

  static constexpr std::uint32_t v4ClassPrioOffset = 1;
  static constexpr std::uint32_t v6ClassPrioOffset = 0x80000000;

  // What the configuration root hands over besides the name, in the order the factory takes
  // it. The framework's reinstantiation check compares them.
  struct Inputs {
    Cog::Ptr<Flowspec::VrfRuleConfig const> vrfRuleConfig;
    Cog::Ptr<Flowspec::VrfRuleStatus> vrfRuleStatus;
    Cog::Ptr<PolicyMap::ClassMapTypeConfig> cmapTypeConfig;
    Cog::Ptr<PolicyMap::PolicyMapConfig> policyMapConfig;
    Cog::Ptr<Vrf::VrfIdMap::Status const> vrfIdStatus;
    Cog::Ptr<Kiln::TaskScheduler> scheduler;
    bool operator==(Inputs const&) const = default;
  };

  FlowspecVrfConfigSm(Cog::String vrfName, Inputs inputs);
  ~FlowspecVrfConfigSm() override;
  bool constructedWith(Inputs const& inputs) const { return inputs == in_; }

  COG_RECORD(FlowspecVrfConfigSm, (orderedSet, Flowspec::FlowspecKey, ruleBacklog, RuleBacklog),
             (hashSet, Flowspec::FlowspecKey, actionBacklog, ActionBacklog),
             (value, bool, classListChanged, ClassListChanged),
             (hashChildren, Flowspec::FlowspecKey, ActionContainer, classActionContainer,
              ClassActionContainer),
             (hashMap, Flowspec::FlowspecKey, VrfId, cachedRedirectVrfId, CachedRedirectVrfId),
             (hashChildren, VrfId, RedirectVrfId, redirectVrfId, RedirectVrfId),
             (orderedMap, Nwk::AddressFamily, std::uint32_t, afPrioVal, AfPrioVal),
             (value, Kiln::UniqueId, curPmapVersion, CurPmapVersion),
             (valueInit, double, policyTimerTaskDelay, PolicyTimerTaskDelay, 0.05),
             (valueInit, double, starvationTimerTaskDelay, StarvationTimerTaskDelay, 60.0),
             (value, bool, initialized, Initialized));

  Cog::String const& vrfName() const { return vrfName_; }
  Cog::Ptr<Flowspec::VrfRuleConfig const> const& vrfRuleConfig() const { return in_.vrfRuleConfig; }
  Cog::Ptr<Flowspec::VrfRuleStatus> const& vrfRuleStatus() const { return in_.vrfRuleStatus; }
  Cog::Ptr<PolicyMap::PolicyMapConfig> const& policyMapConfig() const {
    return in_.policyMapConfig;
  }
  Kiln::Task const& ruleTask() const { return *ruleTask_; }
  Kiln::TimerTask const& policyTimerTask() const { return *policyTimerTask_; }
  Kiln::TimerTask const& starvationTimerTask() const { return *starvationTimerTask_; }

  // Rules (the rule task and the policy-map rebuild).
  void handleInitialized();
  void handleRuleConfig();
  void handleRuleConfig(Flowspec::FlowspecKey const& key);
  void handleRuleTask();
  // A change of the key's actions alone: its class action is built anew in the next version.
  void handleRuleAction(Flowspec::FlowspecKey const& key);
  // Arms the policy timer (debounce) and the starvation timer (earliest kept): a rebuild soon.
  void schedulePolicy();
  void handlePolicy();
  void processRuleMatchSet(Flowspec::FlowspecKey const& key);
  // The most ACL entries one rule may expand into; a rule above it is refused with status 3.
  std::uint64_t aclEntryLimit() const { return aclEntryLimit_; }
  void aclEntryLimitIs(std::uint64_t limit);
  void doCleanup();
  void doCleanupRule(Flowspec::FlowspecKey const& key);
  void doCleanupCmapConfig(Cog::SharedString const& className, Cog::String const& reason);

  // Class actions of the key's rule, `ruleConfig`.
  void updateClassAction(Flowspec::FlowspecKey const& key,
                         Cog::Ptr<PolicyMap::ClassAction> const& classAction,
                         Cog::Ptr<Flowspec::RuleConfig const> const& ruleConfig);

  // Redirect VRF ids.
  void handleRedirectVrfId();
  void handleRedirectVrfId(Flowspec::FlowspecKey const& key);
  void doCleanupRedirectVrfId(Flowspec::FlowspecKey const& key);
  void handleVrf(VrfId vrfId);

  // One nested reactor per rule.
  class RuleConfigSm;
  void ruleConfigIs(Cog::Ptr<Flowspec::RuleConfig const> const& rule);
  void ruleConfigDel(Flowspec::FlowspecKey const& key);
  std::size_t ruleConfigCount() const { return ruleConfig_.size(); }

  // Kiln::KilnBaseOutputSm:
  void dumpState(Kiln::DumpContext* ctx, int indent) const override;
  char const* fwkType() const override { return "FlowspecVrfConfigSm"; }

 private:
  struct Reactors;

  void assignClassPriorities(PolicyMap::PolicyMapSubConfig& subconfig,
                             PolicyMap::PolicyMapSubConfig const* previous, bool updateActions);
  void updateClassAction(PolicyMap::PolicyMapSubConfig& subconfig, Flowspec::FlowspecKey const& key,
                         Cog::Ptr<Flowspec::RuleConfig const> const& rule,
                         Cog::SharedString const& className);
  void addRedirectAction(Flowspec::RuleConfig const& rule, Cog::SharedString const& className,
                         ActionContainer& container, PolicyMap::ClassAction& classAction);

  Cog::String vrfName_;
  Inputs const in_;
  std::uint64_t aclEntryLimit_ = kDefaultAclEntryLimit;
  Flowspec::FlowspecUtil flowspecUtil_;

  std::unique_ptr<Reactors> reactors_;
  Cog::ReactorMap<Flowspec::FlowspecKey, RuleConfigSm> ruleConfig_;
  RuleOrder ruleOrder_;  // of the rules when the last version was built
  std::unique_ptr<Kiln::Task> ruleTask_;
  std::unique_ptr<Kiln::TimerTask> policyTimerTask_;
  std::unique_ptr<Kiln::TimerTask> starvationTimerTask_;
};

Cog::Ptr<FlowspecVrfConfigSm> flowspecVrfConfigSmFactory(
    Cog::String const& vrfName, Cog::Ptr<Flowspec::VrfRuleConfig const> vrfRuleConfig,
    Cog::Ptr<Flowspec::VrfRuleStatus> vrfRuleStatus,
    Cog::Ptr<PolicyMap::ClassMapTypeConfig> cmapTypeConfig,
    Cog::Ptr<PolicyMap::PolicyMapConfig> policyMapConfig,
    Cog::Ptr<Vrf::VrfIdMap::Status const> vrfIdStatus, Cog::Ptr<Kiln::TaskScheduler> scheduler);

}  // namespace OrbFlowspec
