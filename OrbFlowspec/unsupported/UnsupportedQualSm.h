#pragma once

#include <memory>

#include "OrbFlowspec/unsupported/FeatureUQualSm.h"
#include "models/aclstatus/StatusDp.h"
#include "models/flowspec/Status.h"
#include "platform/kiln/KilnBaseOutputSm.h"

namespace OrbFlowspec {

// The root of unsupported-qualifier tracking. Watches the per-feature reports of the ACL
// data-plane status and keeps one FeatureUQualSm while the flowspec feature (2) has a report;
// reports of other features are only traced. When the flowspec report disappears, the
// FeatureUQualSm's clean-up removes the per-family records it published before it is dropped.
class UnsupportedQualSm : public Kiln::KilnBaseOutputSm {
 public:
  UnsupportedQualSm(Cog::Ptr<Acl::StatusDp const> aclStatusDp,
                    Cog::Ptr<Flowspec::Status> flowspecStatus);
  ~UnsupportedQualSm() override;

  void handleFeature(Acl::AclFeature feature);

  Cog::Ptr<FeatureUQualSm> const& featureUQualSm() const { return featureUQualSm_; }
  Cog::Ptr<FeatureUQualSm> featureUQualSmIs(
      Cog::Ptr<Acl::FeatureUnsupportedComponent const> const& featureQual,
      Cog::Ptr<Flowspec::Status> const& flowspecStatus);
  void featureUQualSmDel();
  bool initialized() const { return initialized_; }

  // Kiln::KilnBaseOutputSm:
  char const* fwkType() const override { return "UnsupportedQualSm"; }
  void dumpState(Kiln::DumpContext* ctx, int indent) const override;

 private:
  struct Reactor;

  Cog::Ptr<Acl::StatusDp const> aclStatusDp_;
  Cog::Ptr<Flowspec::Status> flowspecStatus_;
  Cog::Ptr<FeatureUQualSm> featureUQualSm_;
  bool initialized_ = false;
  std::unique_ptr<Reactor> reactor_;
};

Cog::Ptr<UnsupportedQualSm> unsupportedQualSmFactory(Cog::Ptr<Acl::StatusDp const> aclStatusDp,
                                                     Cog::Ptr<Flowspec::Status> flowspecStatus);

}  // namespace OrbFlowspec
