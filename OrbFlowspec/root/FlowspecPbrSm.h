#pragma once

#include <memory>

#include "pbr/OrbPbrSm.h"

namespace OrbFlowspec {

// The flowspec feature's PBR state machine: the platform's programming machinery with
// FlowspecPolicyMapSm for every policy, and a watch on the agent's common PBR data, whose
// per-interface changes evaluate that interface's binding again. Created by FlowspecSm with the
// flags false, true, false; FlowspecSm starts it last.
class FlowspecPbrSm : public Orb::OrbPbrSm {
 public:
  // The platform's 23 arguments, passed unchanged.
  using Orb::OrbPbrSm::OrbPbrSm;

  // Stops watching the common PBR data.
  void ocsdDel() { ocsdReactor_.reset(); }

  // PolicyMap::ServicePolicySm:
  Cog::Ptr<PolicyMap::PolicyMapSm> createPolicyMapSm(
      PolicyMap::PolicyMapSmKey const& key, Cog::Ptr<PolicyMap::PolicyMapConfig const> config,
      Cog::Ptr<PolicyMap::PolicyMapStatus> status) override;
  void hasNotificationActiveIs(bool active) override;
  char const* fwkType() const override { return "FlowspecPbrSm"; }

 private:
  // A changed interface entry of the common PBR data may change how the flowspec policy binds
  // there: the binding is evaluated again, without reprogramming what is in place.
  class OcsdReactor : public Cog::BoundReactor<Orb::OrbCommonSmData, FlowspecPbrSm> {
   public:
    using BoundReactor::BoundReactor;
    void handleIntf(Nwk::IntfId const& intfId) override {
      owner()->handleIntf(intfId, false, PolicyMap::IntfBindingKind::intfBindingInput);
    }
  };

  std::unique_ptr<OcsdReactor> ocsdReactor_ =
      ocsd() ? std::make_unique<OcsdReactor>(ocsd(), this) : nullptr;
};

// Creates the flowspec PBR state machine with the arguments of its constructor.
template <class... Args>
Cog::Ptr<FlowspecPbrSm> flowspecPbrSmFactory(Args&&... args) {
  return Cog::make<FlowspecPbrSm>(std::forward<Args>(args)...);
}

}  // namespace OrbFlowspec
