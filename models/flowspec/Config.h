#pragma once

#include "models/flowspec/RuleConfig.h"
#include "models/vrf/VrfId.h"
#include "platform/cog/Record.h"
#include "platform/kiln/DumpContext.h"

namespace Flowspec {

// The digested rules of one VRF. A rule key stands in at most one of the two collections; a
// VrfRuleConfig with both empty is deleted by the rule set walker. Rules are ordered by key,
// which is the flowspec rule precedence.
class VrfRuleConfig : public Cog::Entity {
 public:
  explicit VrfRuleConfig(Vrf::VrfIdMap::VrfId vrfId) : vrfId_(vrfId) {}

  COG_RECORD(VrfRuleConfig, (orderedChildren, FlowspecKey, RuleConfig, rule, Rule),
             (orderedChildren, FlowspecKey, InfeasibleRule, infeasibleRule, InfeasibleRule));

  Vrf::VrfIdMap::VrfId vrfId() const { return vrfId_; }
  void dumpState(Kiln::DumpContext* ctx, int indent) const;

 private:
  Vrf::VrfIdMap::VrfId vrfId_;
};

// The digested configuration of every VRF, written by the rule set walker. enabledIntfAll is
// the operator's switch that enables flowspec on every routed interface; the walker never
// writes it.
class Config : public Cog::Entity {
 public:
  COG_RECORD(Config,
             (orderedChildren, Vrf::VrfIdMap::VrfId, VrfRuleConfig, vrfRuleConfig, VrfRuleConfig),
             (value, bool, enabledIntfAll, EnabledIntfAll));

  void dumpState(Kiln::DumpContext* ctx, int indent) const;
};

}  // namespace Flowspec
