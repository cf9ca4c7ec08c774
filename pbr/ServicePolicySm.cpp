#include "pbr/ServicePolicySm.h"

#include <vector>

#include "platform/cog/Errors.h"
#include "platform/trace/Trace.h"

namespace PolicyMap {

namespace {
Trace::Handle gTrace("ServicePolicySm");
}  // namespace

struct ServicePolicySm::Reactors {
  struct PmapType : Cog::BoundReactor<PolicyMapTypeConfig, ServicePolicySm> {
    using BoundReactor::BoundReactor;
    void handlePmap(Cog::String const& name) override { owner()->handlePolicy(Cog::String(name)); }
    void handleCounterUpdateRequestTime(Cog::String const& name) override {
      owner()->handleCounterRequest(Cog::String(name));
    }
  };
  struct Intf : Cog::BoundReactor<IntfConfig, ServicePolicySm> {
    using BoundReactor::BoundReactor;
    void handleIntf(Nwk::IntfId const& intfId) override {
      owner()->handleIntf(Nwk::IntfId(intfId), false, IntfBindingKind::intfBindingInput);
    }
  };
  struct StatusRequest : Cog::BoundReactor<PolicyMapStatusRequestDir, ServicePolicySm> {
    using BoundReactor::BoundReactor;
    void handleRequest(Cog::String const& name) override {
      owner()->handleCounterRequest(Cog::String(name));
    }
  };

  explicit Reactors(ServicePolicySm* sm)
      : pmapType(sm->pmapTypeConfig_, sm),
        intf(sm->intfConfig_, sm),
        statusRequest(sm->statusRequestDir_, sm) {}

  void activeIs(bool active) {
    pmapType.notificationActiveIs(active);
    intf.notificationActiveIs(active);
    statusRequest.notificationActiveIs(active);
  }

  PmapType pmapType;
  Intf intf;
  StatusRequest statusRequest;
};

ServicePolicySm::ServicePolicySm(Cog::Ptr<IntfConfig const> intfConfig,
                                 Cog::Ptr<PolicyMapTypeConfig const> pmapTypeConfig,
                                 Cog::Ptr<ClassMapTypeConfig const> cmapTypeConfig,
                                 Cog::Ptr<PolicyMapStatusRequestDir const> statusRequestDir,
                                 Cog::Ptr<PolicyMapTypeStatus> pmapTypeStatus,
                                 Cog::Ptr<PolicyMapGlobalData> globalData,
                                 Cog::Ptr<Kiln::TimerWheel> timerWheel)
    : intfConfig_(std::move(intfConfig)),
      pmapTypeConfig_(std::move(pmapTypeConfig)),
      cmapTypeConfig_(std::move(cmapTypeConfig)),
      statusRequestDir_(std::move(statusRequestDir)),
      pmapTypeStatus_(std::move(pmapTypeStatus)),
      globalData_(std::move(globalData)),
      timerWheel_(std::move(timerWheel)) {
  Cog::requireNonNull(intfConfig_, "intfConfig");
  Cog::requireNonNull(pmapTypeConfig_, "pmapTypeConfig");
  Cog::requireNonNull(cmapTypeConfig_, "cmapTypeConfig");
  Cog::requireNonNull(pmapTypeStatus_, "pmapTypeStatus");
  Cog::requireNonNull(globalData_, "globalData");
  reactors_ = std::make_unique<Reactors>(this);
}

ServicePolicySm::~ServicePolicySm() {
  reactors_.reset();
  while (!policyMapSm_.empty()) {
    policyMapSmDel(policyMapSm_.begin()->first);
  }
}

void ServicePolicySm::initializedIs(bool initialized) {
  if (initialized == initialized_) {
    return;
  }
  TRACE(gTrace, 2, fwkType(), initialized ? " starts" : " stops");
  initialized_ = initialized;
  if (!initialized) {
    while (!policyMapSm_.empty()) {
      policyMapSmDel(policyMapSm_.begin()->first);
    }
    return;
  }
  handleAll();
}

void ServicePolicySm::handleAll() {
  std::vector<Cog::String> gone;
  for (auto const& [name, sm] : policyMapSm_) {
    if (!pmapTypeConfig_->pmap().contains(name)) {
      gone.push_back(name);
    }
  }
  for (auto const& name : gone) {
    handlePolicy(name);
  }
  for (auto const& [name, config] : pmapTypeConfig_->pmap()) {
    handlePolicy(name);
  }
  for (auto const& [intfId, name] : intfConfig_->intf()) {
    handleIntf(intfId, false, IntfBindingKind::intfBindingInput);
  }
}

void ServicePolicySm::hasNotificationActiveIs(bool active) {
  reactors_->activeIs(active);
  for (auto const& [name, sm] : policyMapSm_) {
    sm->hasNotificationActiveIs(active);
  }
  if (active && initialized_) {
    handleAll();
  }
}

Cog::Ptr<PolicyMapSm> ServicePolicySm::createPolicyMapSm(PolicyMapSmKey const& key,
                                                         Cog::Ptr<PolicyMapConfig const> config,
                                                         Cog::Ptr<PolicyMapStatus> status) {
  return Cog::make<PolicyMapSm>(globalData_, key, std::move(config), cmapTypeConfig_,
                                std::move(status), pmapTypeConfig_, intfConfig_, timerWheel_);
}

void ServicePolicySm::handlePolicy(Cog::String const& name) {
  if (!initialized_) {
    return;
  }
  auto const config = pmapTypeConfig_->pmap(name);
  auto const found = policyMapSm_.find(name);
  if (found != policyMapSm_.end()) {
    if (found->second->config() == config) {
      return;
    }
    policyMapSmDel(name);
  }
  if (!config) {
    return;
  }
  PolicyMapSmKey const key{name, pmapTypeConfig_->mapType()};
  TRACE(gTrace, 3, "taking up ", key.strDesc());
  auto const sm = createPolicyMapSm(key, config, pmapTypeStatus_->pmapStatusIs(name));
  if (!sm) {
    pmapTypeStatus_->pmapStatusDel(name);
    return;
  }
  sm->hasNotificationActiveIs(reactors_->pmapType.notificationActive());
  policyMapSm_[name] = sm;
  sm->handleInitialized();
  bool const requested = pmapTypeConfig_->counterUpdateRequestTime(name) != 0.0 ||
                         (statusRequestDir_ && statusRequestDir_->request(name) != 0.0);
  if (requested) {
    sm->handleCounterRequest();
  }
}

void ServicePolicySm::policyMapSmDel(Cog::String const& name) {
  Cog::String const copy = name;  // `name` may be the key of the entry removed
  auto const found = policyMapSm_.find(copy);
  if (found == policyMapSm_.end()) {
    return;
  }
  TRACE(gTrace, 3, "dropping ", found->second->key().strDesc());
  policyMapSm_.erase(found);
  pmapTypeStatus_->pmapStatusDel(copy);
}

void ServicePolicySm::handleIntf(Nwk::IntfId const& intfId, bool reprogram, IntfBindingKind kind) {
  if (!initialized_) {
    return;
  }
  Cog::String const owner = intfConfig_->intf(intfId);
  // The policies that must let go first, then the one that takes the interface.
  std::vector<Cog::Ptr<PolicyMapSm>> order;
  for (auto const& [name, sm] : policyMapSm_) {
    if (name != owner) {
      order.push_back(sm);
    }
  }
  if (auto const sm = policyMapSm(owner)) {
    order.push_back(sm);
  }
  for (auto const& sm : order) {
    sm->handleIntf(intfId, reprogram, kind);
  }
}

void ServicePolicySm::handleCounterRequest(Cog::String const& name) {
  if (!initialized_) {
    return;
  }
  if (auto const sm = policyMapSm(name)) {
    sm->handleCounterRequest();
  }
}

Cog::Ptr<PolicyMapSm> ServicePolicySm::policyMapSm(Cog::String const& name) const {
  auto const found = policyMapSm_.find(name);
  return found == policyMapSm_.end() ? nullptr : found->second;
}

void ServicePolicySm::dumpState(Kiln::DumpContext* ctx, int indent) const {
  Kiln::dumpf(ctx, indent, "%s policies #%zu\n", fwkType(), policyMapSm_.size());
  for (auto const& [name, sm] : policyMapSm_) {
    sm->dumpState(ctx, indent + 2);
  }
}

}  // namespace PolicyMap
