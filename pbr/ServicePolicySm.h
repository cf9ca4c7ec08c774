#pragma once

#include <map>
#include <memory>

#include "models/policymap/ClassMapTypeConfig.h"
#include "models/policymap/IntfConfig.h"
#include "models/policymap/PolicyMapGlobalData.h"
#include "models/policymap/PolicyMapStatusRequestDir.h"
#include "models/policymap/PolicyMapTypeConfig.h"
#include "models/policymap/PolicyMapTypeStatus.h"
#include "pbr/PolicyMapSm.h"
#include "platform/kiln/KilnBaseOutputSm.h"
#include "platform/kiln/TimerWheel.h"

namespace PolicyMap {

// Programs the policies of one map type: one PolicyMapSm per published policy, made through
// createPolicyMapSm so that a feature can supply its own.
//
// Watches the published policies (`pmap`) and their counter update requests in the policy-map
// type configuration, the interface configuration (which policy each interface names) and the
// status request directory. Writes one PolicyMapStatus per policy it takes up into
// `pmapTypeStatus`, created before the policy's state machine and removed with it; the policy
// state machines write inside it. An interface that moves from one policy to another is
// released by the first before the second takes it.
//
// Nothing happens until initializedIs(true). Destroying it drops every policy state machine
// (which removes its policy from the dataplane) and the statuses it created.
class ServicePolicySm : public Kiln::KilnBaseOutputSm {
 public:
  ServicePolicySm(Cog::Ptr<IntfConfig const> intfConfig,
                  Cog::Ptr<PolicyMapTypeConfig const> pmapTypeConfig,
                  Cog::Ptr<ClassMapTypeConfig const> cmapTypeConfig,
                  Cog::Ptr<PolicyMapStatusRequestDir const> statusRequestDir,
                  Cog::Ptr<PolicyMapTypeStatus> pmapTypeStatus,
                  Cog::Ptr<PolicyMapGlobalData> globalData, Cog::Ptr<Kiln::TimerWheel> timerWheel);
  ~ServicePolicySm() override;

  bool initialized() const { return initialized_; }
  // Starts (takes up every published policy and bound interface) or stops (drops them all).
  void initializedIs(bool initialized);
  // Switches the reactors of this state machine and of its policies; switching them on again
  // catches up with what changed meanwhile.
  virtual void hasNotificationActiveIs(bool active);

  // Makes the state machine of a policy; the default is a plain PolicyMapSm.
  virtual Cog::Ptr<PolicyMapSm> createPolicyMapSm(PolicyMapSmKey const& key,
                                                  Cog::Ptr<PolicyMapConfig const> config,
                                                  Cog::Ptr<PolicyMapStatus> status);

  // Reaction to a policy published, replaced or withdrawn.
  void handlePolicy(Cog::String const& name);
  // Evaluates the binding of one interface again (see PolicyMapSm::handleIntf).
  void handleIntf(Nwk::IntfId const& intfId, bool reprogram, IntfBindingKind kind);
  // Reaction to a counter update request or a status request for a policy.
  void handleCounterRequest(Cog::String const& name);

  Cog::Ptr<PolicyMapSm> policyMapSm(Cog::String const& name) const;

  Cog::Ptr<IntfConfig const> const& intfConfig() const { return intfConfig_; }
  Cog::Ptr<PolicyMapTypeConfig const> const& pmapTypeConfig() const { return pmapTypeConfig_; }
  Cog::Ptr<ClassMapTypeConfig const> const& cmapTypeConfig() const { return cmapTypeConfig_; }
  Cog::Ptr<PolicyMapStatusRequestDir const> const& statusRequestDir() const {
    return statusRequestDir_;
  }
  Cog::Ptr<PolicyMapTypeStatus> const& pmapTypeStatus() const { return pmapTypeStatus_; }
  Cog::Ptr<PolicyMapGlobalData> const& globalData() const { return globalData_; }
  Cog::Ptr<Kiln::TimerWheel> const& timerWheel() const { return timerWheel_; }

  // Kiln::KilnBaseOutputSm:
  char const* fwkType() const override { return "ServicePolicySm"; }
  // "<fwkType> policies #<n>", then each policy's dump two columns in.
  void dumpState(Kiln::DumpContext* ctx, int indent) const override;

 private:
  struct Reactors;

  void policyMapSmDel(Cog::String const& name);
  void handleAll();

  Cog::Ptr<IntfConfig const> intfConfig_;
  Cog::Ptr<PolicyMapTypeConfig const> pmapTypeConfig_;
  Cog::Ptr<ClassMapTypeConfig const> cmapTypeConfig_;
  Cog::Ptr<PolicyMapStatusRequestDir const> statusRequestDir_;
  Cog::Ptr<PolicyMapTypeStatus> pmapTypeStatus_;
  Cog::Ptr<PolicyMapGlobalData> globalData_;
  Cog::Ptr<Kiln::TimerWheel> timerWheel_;
  bool initialized_ = false;
  std::unique_ptr<Reactors> reactors_;
  std::map<Cog::String, Cog::Ptr<PolicyMapSm>> policyMapSm_;
};

}  // namespace PolicyMap
