#include "OrbFlowspec/unsupported/UnsupportedQualSm.h"

#include "platform/cog/Errors.h"
#include "platform/trace/Trace.h"

namespace OrbFlowspec {

namespace {
Trace::Handle gTrace("UnsupportedQualSm");
}  // namespace

struct UnsupportedQualSm::Reactor : Cog::BoundReactor<Acl::StatusDp, UnsupportedQualSm> {
  using BoundReactor::BoundReactor;
  void handleFeatureUnsupportedComponent(Acl::AclFeature const& feature) override {
    owner()->handleFeature(feature);
  }
};

Cog::Ptr<UnsupportedQualSm> unsupportedQualSmFactory(Cog::Ptr<Acl::StatusDp const> aclStatusDp,
                                                     Cog::Ptr<Flowspec::Status> flowspecStatus) {
  return Cog::make<UnsupportedQualSm>(std::move(aclStatusDp), std::move(flowspecStatus));
}

UnsupportedQualSm::UnsupportedQualSm(Cog::Ptr<Acl::StatusDp const> aclStatusDp,
                                     Cog::Ptr<Flowspec::Status> flowspecStatus)
    : aclStatusDp_(std::move(aclStatusDp)), flowspecStatus_(std::move(flowspecStatus)) {
  Cog::requireArgument(aclStatusDp_, "aclStatusDp");
  Cog::requireArgument(flowspecStatus_, "flowspecStatus");
  reactor_ = std::make_unique<Reactor>(aclStatusDp_, this);
  initialized_ = true;
  handleFeature(Acl::aclFeatureFlowspec);
}

UnsupportedQualSm::~UnsupportedQualSm() { reactor_.reset(); }

void UnsupportedQualSm::handleFeature(Acl::AclFeature feature) {
  if (!initialized_) {
    return;
  }
  if (feature != Acl::aclFeatureFlowspec) {
    TRACE(gTrace, 4, "Ignore update for feature ", feature);
    return;
  }
  if (auto const component = aclStatusDp_->featureUnsupportedComponent(feature)) {
    TRACE(gTrace, 4, "Instantiating FeatureUQualSm for flowspec");
    featureUQualSmIs(component, flowspecStatus_);
  } else {
    TRACE(gTrace, 4, "Deleting FeatureUQualSm for flowspec");
    featureUQualSmDel();
  }
}

Cog::Ptr<FeatureUQualSm> UnsupportedQualSm::featureUQualSmIs(
    Cog::Ptr<Acl::FeatureUnsupportedComponent const> const& featureQual,
    Cog::Ptr<Flowspec::Status> const& flowspecStatus) {
  if (featureUQualSm_) {
    if (!featureUQualSm_->constructedWith(featureQual, flowspecStatus)) {
      throw Cog::ReinstantiationError("featureUQualSm");
    }
    return featureUQualSm_;
  }
  featureUQualSm_ = featureUQualSmFactory(featureQual, flowspecStatus);
  return featureUQualSm_;
}

void UnsupportedQualSm::featureUQualSmDel() {
  if (!featureUQualSm_) {
    return;
  }
  featureUQualSm_->doCleanup();
  featureUQualSm_ = nullptr;
}

void UnsupportedQualSm::dumpState(Kiln::DumpContext* ctx, int indent) const {
  Kiln::dumpf(ctx, indent, "UnsupportedQualSm\n");
  if (featureUQualSm_) {
    featureUQualSm_->dumpState(ctx, indent + 2);
  }
}

}  // namespace OrbFlowspec
