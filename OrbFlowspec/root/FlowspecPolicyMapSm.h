#pragma once

#include "pbr/PolicyMapSm.h"

namespace OrbFlowspec {

// The per-policy state machine of a flowspec policy. A flowspec class-map is never rebuilt (a
// changed rule is a new key with a new class-map, built before the policy version that uses
// it), so a changed class-map alone never causes work here: only a new policy version does.
class FlowspecPolicyMapSm : public PolicyMap::PolicyMapSm {
 public:
  using PolicyMap::PolicyMapSm::PolicyMapSm;

  // PolicyMap::PolicyMapSm:
  void handleClassMap(Cog::SharedString const& name) override;
  char const* fwkType() const override { return "FlowspecPolicyMapSm"; }
};

}  // namespace OrbFlowspec
