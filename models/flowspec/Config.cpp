#include "models/flowspec/Config.h"

#include "models/flowspec/FlowspecUtil.h"

namespace Flowspec {

void VrfRuleConfig::dumpState(Kiln::DumpContext* ctx, int indent) const {
  Kiln::dumpf(ctx, indent, "VrfRuleConfig vrfId %u: rules #%zu, infeasibleRules #%zu\n", vrfId_,
              rule().size(), infeasibleRule().size());
  for (auto const& [key, rule] : rule()) {
    Kiln::dumpf(ctx, indent + 2, "%s\n", key.stringValue().c_str());
    Kiln::dumpf(ctx, indent + 4, "%s\n", rule->toStrep().c_str());
  }
  for (auto const& [key, infeasible] : infeasibleRule()) {
    Kiln::dumpf(ctx, indent + 2, "%s: infeasible %s, ruleId %llu\n", key.stringValue().c_str(),
                FlowspecUtil().compTypeToDetailLabel(infeasible->matchCompType()).c_str(),
                static_cast<unsigned long long>(infeasible->ruleId()));
  }
}

void Config::dumpState(Kiln::DumpContext* ctx, int indent) const {
  Kiln::dumpf(ctx, indent, "Config: vrfRuleConfigs #%zu, enabledIntfAll %s\n",
              vrfRuleConfig().size(), enabledIntfAll() ? "true" : "false");
  for (auto const& [vrfId, vrfRuleConfig] : vrfRuleConfig()) {
    vrfRuleConfig->dumpState(ctx, indent + 2);
  }
}

}  // namespace Flowspec
