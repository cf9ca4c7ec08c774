#pragma once

#include <memory>

#include "OrbFlowspec/unsupported/UnsupportedQual.h"
#include "models/aclstatus/FeatureUnsupportedComponent.h"
#include "models/flowspec/Status.h"
#include "platform/cog/ReactorMap.h"
#include "platform/kiln/KilnBaseOutputSm.h"
#include "platform/nwk/AddressFamily.h"

namespace OrbFlowspec {

// Publishes the flowspec feature's unsupported qualifiers, one Flowspec::UnsupportedQual per
// address family in the status.
//
// Watches the feature's line cards through nested reactors: one LinecardQualSm per line card,
// one AclTypeQualSm per ACL type of a card, one ComponentQualSm per component of an ACL type
// (a card adds qualifiers to a component it already reported). Any change, including the
// removal of a nested reactor, recomputes everything from the report: the qualifier names
// per ACL type united over the cards, then one record per family with the component types
// those names stand for. A name that stands for no flowspec component is skipped.
//
// handleInitialized (run by the constructor) first removes every record an earlier instance
// published; doCleanup removes what this one published, before the owner drops it.
class FeatureUQualSm : public Kiln::KilnBaseOutputSm {
 public:
  FeatureUQualSm(Cog::Ptr<Acl::FeatureUnsupportedComponent const> featureQual,
                 Cog::Ptr<Flowspec::Status> flowspecStatus);
  ~FeatureUQualSm() override;
  bool constructedWith(Cog::Ptr<Acl::FeatureUnsupportedComponent const> const& featureQual,
                       Cog::Ptr<Flowspec::Status> const& flowspecStatus) const {
    return featureQual == featureQual_ && flowspecStatus == flowspecStatus_;
  }

  COG_RECORD(FeatureUQualSm,
             (orderedChildren, Acl::AclType, UnsupportedQual, unsupportedQual, UnsupportedQual),
             (value, bool, initialized, Initialized));

  void handleInitialized();
  void handleUnsupportedQual();
  void handleUnsupportedQual(Cog::String const& linecard, Acl::AclType aclType,
                             Cog::String const& qual);
  void updateUnsupportedQual(Acl::UnsupportedComponent const& component,
                             UnsupportedQual& unsupportedQual);
  void updateFlowspecQual(Acl::AclType aclType, Nwk::AddressFamily af);
  void doCleanup();

  // The component type a line card's qualifier name stands for; none when it stands for none.
  static Flowspec::MatchCompType compTypeOf(Cog::String const& qual);

  class LinecardQualSm;
  void linecardUQualIs(Cog::Ptr<Acl::LinecardUnsupportedComponent const> const& linecard);
  void linecardUQualDel(Cog::String const& name);
  void linecardUQualDelAll();

  // Kiln::KilnBaseOutputSm:
  char const* fwkType() const override { return "FeatureUQualSm"; }
  void dumpState(Kiln::DumpContext* ctx, int indent) const override;

 private:
  struct FeatureReactor;

  Cog::Ptr<Acl::FeatureUnsupportedComponent const> featureQual_;
  Cog::Ptr<Flowspec::Status> flowspecStatus_;
  Cog::OrderedReactorMap<Cog::String, LinecardQualSm> linecardUQual_;
  std::unique_ptr<FeatureReactor> reactor_;
};

Cog::Ptr<FeatureUQualSm> featureUQualSmFactory(
    Cog::Ptr<Acl::FeatureUnsupportedComponent const> featureQual,
    Cog::Ptr<Flowspec::Status> flowspecStatus);

}  // namespace OrbFlowspec
