#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "models/flowspec/Actions.h"
#include "models/flowspec/FlowspecKey.h"
#include "models/flowspec/MatchComponent.h"
#include "platform/cog/Record.h"
#include "platform/nwk/IpTos.h"

namespace Flowspec {

// One digested rule: its canonical match set (at most one component per type, ascending) and
// copies of the raw rule's actions. Written by the rule set walker, keyed by the rule's key in
// its VRF's VrfRuleConfig.
class RuleConfig : public Cog::Entity {
 public:
  explicit RuleConfig(FlowspecKey key) : key_(std::move(key)) {}

  COG_RECORD(RuleConfig, (value, std::uint64_t, ruleId, RuleId),
             (smallMap, MatchCompType, MatchComponent, matchSet, MatchSet),
             (value, ActionFieldSet, actionFieldSet, ActionFieldSet),
             (value, TrafficAction, trafficAction, TrafficAction),
             (value, float, trafficRateLimit, TrafficRateLimit),
             (value, TrafficRedirect, trafficRedirect, TrafficRedirect),
             (value, Nwk::IpTos, trafficMarkingDscp, TrafficMarkingDscp));

  FlowspecKey const& key() const { return key_; }

  // Inserts or replaces the component of the component's type.
  void matchSetIs(MatchComponent component) {
    MatchCompType const type = component.matchCompType();
    matchSetIs(type, std::move(component));
  }

  // 0 when the match set can be installed as it is, else the type of the offending component;
  // the combinations refused are listed with sanitizeMatchSet in SanitizeMatchSet.h.
  MatchCompType sanitizeMatchSet() const;

  // "ruleId 7 match [proto [6, 6]] actions permit".
  std::string toStrep() const;

 private:
  FlowspecKey key_;
};

// The component type that made a rule impossible to digest, kept in place of its RuleConfig.
class InfeasibleRule : public Cog::Entity {
 public:
  explicit InfeasibleRule(FlowspecKey key) : key_(std::move(key)) {}

  COG_RECORD(InfeasibleRule, (value, MatchCompType, matchCompType, MatchCompType),
             (value, std::uint64_t, ruleId, RuleId));

  FlowspecKey const& key() const { return key_; }

 private:
  FlowspecKey key_;
};

}  // namespace Flowspec
