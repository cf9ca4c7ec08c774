#include "OrbFlowspec/digestion/RuleSetSm.h"

#include <utility>
#include <vector>

#include "OrbFlowspec/digestion/BitMaskGroup.h"
#include "OrbFlowspec/digestion/NumericalRangeGroup.h"
#include "platform/cog/Assert.h"
#include "platform/cog/Errors.h"
#include "platform/trace/Trace.h"

namespace OrbFlowspec {

namespace {
Trace::Handle gTrace("FlowspecRuleSetSm");
// The infeasible type of a rule whose pair has no type to report (type 0 would read as
// success): 16, past every type a key can carry.
constexpr Flowspec::MatchCompType kNoPairMeaning = static_cast<Flowspec::MatchCompType>(16);
}  // namespace

using Flowspec::MatchCompType;
using Flowspec::MatchOpValIndex;

class RuleSetSm::RuleSetReactor : public Cog::BoundReactor<Flowspec::RuleSet, RuleSetSm> {
 public:
  using BoundReactor::BoundReactor;
  void handleRule(Flowspec::FlowspecTidalKey const& key) override { owner()->handleRule(key); }
};

Cog::Ptr<RuleSetSm> ruleSetSmFactory(Cog::Ptr<Kiln::TaskScheduler> scheduler,
                                     Cog::Ptr<Flowspec::RuleSet const> ruleSet,
                                     Cog::Ptr<Flowspec::Config> config) {
  return Cog::make<RuleSetSm>(std::move(scheduler), std::move(ruleSet), std::move(config));
}

RuleSetSm::RuleSetSm(Cog::Ptr<Kiln::TaskScheduler> scheduler,
                     Cog::Ptr<Flowspec::RuleSet const> ruleSet, Cog::Ptr<Flowspec::Config> config)
    : WalkSmBase(Cog::requireArgument(scheduler, "scheduler"), Kiln::TaskPriority{2}, "RuleSetSm"),
      ruleSet_(std::move(ruleSet)),
      config_(std::move(config)) {
  Cog::requireArgument(config_, "config");
  if (ruleSet_) {
    ruleSetReactor_ = std::make_unique<RuleSetReactor>(ruleSet_, this);
  }
  handleInitialized();
}

RuleSetSm::~RuleSetSm() = default;

void RuleSetSm::handleInitialized() {
  TRACE(gTrace, 2, "handleInitialized");
  initializedIs(true);
  config_->vrfRuleConfigDelAll();
  handleRule();
}

void RuleSetSm::handleRule() {
  TRACE(gTrace, 5, "handleRule");
  scheduleWalk();
}

void RuleSetSm::handleRule(Flowspec::FlowspecTidalKey const& tidalKey) {
  if (!initialized() || !ruleSet_) {
    return;
  }
  Flowspec::Rule const rule = ruleSet_->rule(tidalKey);
  Vrf::VrfIdMap::VrfId const vrfId = tidalKey.vrfId();
  auto vrfRuleConfig = config_->vrfRuleConfig(vrfId);
  Flowspec::FlowspecKey const key = tidalKey.getFlowspecKey();
  TRACE(gTrace, 5, "key ", key, " ruleId ", rule.ruleId);
  if (rule == Flowspec::Rule()) {
    if (vrfRuleConfig) {
      vrfRuleConfig->ruleDel(key);
      vrfRuleConfig->infeasibleRuleDel(key);
      if (vrfRuleConfig->rule().empty() && vrfRuleConfig->infeasibleRule().empty()) {
        config_->vrfRuleConfigDel(vrfId);
      }
    }
    return;
  }
  vrfRuleConfig = config_->vrfRuleConfigIs(vrfId);
  // A new rule is digested aside and joins the VRF whole, or not at all: its watchers meet it
  // once, complete, instead of once per component and action. A known rule is updated in place,
  // so that only what changed is told.
  auto ruleConfig = vrfRuleConfig->rule(key);
  bool const fresh = !ruleConfig;
  if (fresh) {
    ruleConfig = Cog::make<Flowspec::RuleConfig>(key);
  }
  ruleConfig->ruleIdIs(rule.ruleId);
  MatchCompType status;
  try {
    status = digestFlowspecRule(ruleConfig, rule);
  } catch (Cog::Error const& error) {
    // A key the framework refuses half way (a 2048-pair key runs its index past the bound at
    // its last run): the rule must not stay half written, or its partial match set would
    // install a class that matches more than the rule.
    TRACE(gTrace, 0, "key ", key, ": ", error.what());
    std::size_t const count = key.opValCount();
    status =
        count == 0 ? kNoPairMeaning : Flowspec::OpVal::unpack(key.opVals().data()[count - 1]).type;
  }
  if (status != MatchCompType::none) {
    auto const infeasible = vrfRuleConfig->infeasibleRuleIs(key);
    infeasible->matchCompTypeIs(status);
    infeasible->ruleIdIs(rule.ruleId);
    vrfRuleConfig->ruleDel(key);
  } else {
    if (fresh) {
      vrfRuleConfig->ruleIs(key, Cog::built(ruleConfig));
    }
    vrfRuleConfig->infeasibleRuleDel(key);
  }
}

MatchCompType RuleSetSm::digestFlowspecRule(Cog::Ptr<Flowspec::RuleConfig> const& ruleConfig,
                                            Flowspec::Rule const& rule) {
  Flowspec::FlowspecKey const& key = ruleConfig->key();
  // RFC 8955 wants each component once, in ascending type; digesting a repeated run would
  // silently replace the first, so such a key is infeasible with the repeated type.
  if (auto const type = key.outOfOrderComponent()) {
    TRACE(gTrace, 3, "key ", key, " repeats or reorders component type ", *type);
    return *type == MatchCompType::none ? kNoPairMeaning : *type;
  }
  // A raw key may carry pairs of types that have no operator/value meaning: the rule is
  // infeasible with that type.
  for (auto const& pair : key.opVals()) {
    if (!Flowspec::isNumericalRangeType(pair.type) && !Flowspec::isBitMaskType(pair.type)) {
      TRACE(gTrace, 3, "key ", key, " has a pair of component type ", pair.type);
      return pair.type == MatchCompType::none ? kNoPairMeaning : pair.type;
    }
  }
  std::size_t const count = key.opValCount();
  if (count > 0) {
    MatchOpValIndex runStart(0);
    MatchCompType runType = key.getOptVal(runStart).matchCompType;
    for (long i = 1;; ++i) {
      MatchOpValIndex const index(i);  // a key of 2048 pairs ends its last run here
      MatchCompType const type = key.getOptVal(index).matchCompType;
      if (type == runType) {
        continue;
      }
      if (!digestMatchComponent(ruleConfig, key, runStart, MatchOpValIndex(i - 1))) {
        return runType;
      }
      if (static_cast<std::size_t>(i) >= count) {
        break;
      }
      runStart = index;
      runType = type;
    }
  }
  if (!key.destinationPrefix().isEmpty()) {
    Flowspec::MatchComponent component(MatchCompType::destinationPrefix);
    component.prefixIs(key.destinationPrefix());
    ruleConfig->matchSetIs(std::move(component));
  }
  if (!key.sourcePrefix().isEmpty()) {
    Flowspec::MatchComponent component(MatchCompType::sourcePrefix);
    component.prefixIs(key.sourcePrefix());
    ruleConfig->matchSetIs(std::move(component));
  }
  if (sanitizeRuleConfig()) {
    MatchCompType const infeasible = ruleConfig->sanitizeMatchSet();
    if (infeasible != MatchCompType::none) {
      TRACE(gTrace, 5, "ruleConfig found infeasibleCompType ", infeasible);
      return infeasible;
    }
  }
  Flowspec::ActionFieldSet actions = rule.actionFieldSet;
  if (actions.invalid()) {
    // The routing process could not decode the actions: the rule stays, without actions.
    TRACE(gTrace, 0, "key ", key, " has an invalid action field set; actions ignored");
    actions = Flowspec::ActionFieldSet();
  }
  ruleConfig->actionFieldSetIs(actions);
  ruleConfig->trafficRateLimitIs(rule.trafficRateLimit);
  ruleConfig->trafficActionIs(rule.trafficAction);
  ruleConfig->trafficRedirectIs(rule.trafficRedirect);
  ruleConfig->trafficMarkingDscpIs(rule.trafficMarkingDscp);
  TRACE(gTrace, 8, "success - ruleConfig ", ruleConfig);
  return MatchCompType::none;
}

namespace {

// Digests the pairs [start, end] of one component: pairs joined by AND form a term whose
// groups are intersected; terms are ORed into `processed`. A group is held by value
// (NumericalRangeGroup) or by pointer (BitMaskGroup); either is false when its pair selects
// nothing. `groupVector` is the caller's buffer for the groups of a term.
template <class Group, class Processed>
bool digestComponent(Flowspec::FlowspecKey const& key, MatchOpValIndex start, MatchOpValIndex end,
                     std::vector<Group>& groupVector, Processed& processed,
                     Flowspec::MatchComponent& component) {
  groupVector.clear();
  for (MatchOpValIndex index = start;;) {
    Flowspec::MatchOpValResult const pair = key.getOptVal(index);
    TRACE(gTrace, 8, "index ", index.value(), ", matchOpValResult ", pair);
    auto group = convertMatchOpValResultToGroup<Group>(pair);
    if (!group) {
      return false;
    }
    if (index == start || (pair.op & Flowspec::OpBits::kAnd)) {
      TRACE(gTrace, 8, "add opValGroup ", group);
      groupVector.push_back(std::move(group));
    } else {
      COG_ASSERT(groupVector.size() > 0);
      if (!processGroupVector(groupVector, processed)) {
        return false;
      }
      groupVector.clear();
      TRACE(gTrace, 8, "vector clear, add opValGroup ", group);
      groupVector.push_back(std::move(group));
    }
    if (pair.nextIndex.value() == 0 || pair.nextIndex > end) {
      break;
    }
    index = pair.nextIndex;
  }
  COG_ASSERT(groupVector.size() > 0);
  if (!processGroupVector(groupVector, processed)) {
    return false;
  }
  return processedOpValToMatchComponent(processed, component);
}

}  // namespace

bool RuleSetSm::digestMatchComponent(Cog::Ptr<Flowspec::RuleConfig> const& ruleConfig,
                                     Flowspec::FlowspecKey const& key, MatchOpValIndex start,
                                     MatchOpValIndex end) const {
  Flowspec::MatchComponent component(key.getOptVal(start).matchCompType);
  TRACE(gTrace, 8, " key ", key.stringValue(), ", start ", start.value(), ", end ", end.value(),
        ", matchCompType ", component.matchCompType());
  bool status = false;
  if (component.matchTypeNumericalRange()) {
    // Numeric components are most of a rule set: their buffers are kept between components,
    // as digestion is not re-entrant.
    static NumericalRangeGroupVector groups;
    static OrderedNumericalRangeGroup ordered;
    ordered.rangeDelAll();
    status = digestComponent(key, start, end, groups, ordered, component);
  } else if (component.matchTypeBitMask()) {
    BitMaskGroupVector groups;
    status = digestComponent(key, start, end, groups, component, component);
  } else {
    COG_ASSERT(0);
  }
  TRACE(gTrace, 8, "status ", status, ", matchComponent ", component);
  ruleConfig->matchSetIs(std::move(component));
  return status;
}

Kiln::WalkRet RuleSetSm::walk() {
  TRACE(gTrace, 5, "walk");
  if (!ruleSet_) {
    fullWalkDoneIs(true);
    return Kiln::WalkRet{false, 0};
  }
  std::optional<Flowspec::FlowspecTidalKey> key =
      ruleBookmark().isEmpty() ? ruleSet_->firstKey() : ruleSet_->firstKeyAtOrAfter(ruleBookmark());
  std::uint32_t processed = 0;
  bool moreWork = false;
  while (key) {
    ++processed;
    try {
      handleRule(*key);
    } catch (Cog::Error const& error) {
      // A raw rule the framework refuses: traced, and the walk goes on with the others.
      TRACE(gTrace, 0, error.what());
    }
    auto next = ruleSet_->nextKey(*key);
    if (!next) {
      break;
    }
    if (mustYield()) {
      ruleBookmarkIs(*next);
      moreWork = true;
      break;
    }
    key = std::move(next);
  }
  if (!moreWork) {
    ruleBookmarkIs(Flowspec::FlowspecTidalKey());
  }
  TRACE(gTrace, 5, "finished processed=", processed, " moreWork=", moreWork);
  fullWalkDoneIs(!moreWork);
  return Kiln::WalkRet{moreWork, processed};
}

void RuleSetSm::traceEvent(TraceEvent event) { TRACE(gTrace, 6, "traceEvent=", event); }

void RuleSetSm::dumpState(Kiln::DumpContext* ctx, int indent) const {
  Kiln::dumpf(ctx, indent, "RuleSetSm: sanitizeRuleConfig %s, fullWalkDone %s, bookmark %s\n",
              sanitizeRuleConfig() ? "true" : "false", fullWalkDone() ? "true" : "false",
              ruleBookmark().isEmpty() ? "none" : ruleBookmark().toStrep().c_str());
}

}  // namespace OrbFlowspec
