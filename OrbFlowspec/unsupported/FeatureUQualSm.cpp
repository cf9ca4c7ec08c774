#include "OrbFlowspec/unsupported/FeatureUQualSm.h"

#include <array>
#include <utility>

#include "platform/trace/Trace.h"

namespace OrbFlowspec {

namespace {
Trace::Handle gTrace("FeatureUQualSm");

struct QualName {
  char const* name;
  Flowspec::MatchCompType type;
};
// Line cards name prefix qualifiers with suffixes of their own ("dst-ip6", "src-ip-lo"): for
// those only the first six characters count.
constexpr std::array<QualName, 2> kPrefixQuals = {{
    {"dst-ip", Flowspec::MatchCompType::destinationPrefix},
    {"src-ip", Flowspec::MatchCompType::sourcePrefix},
}};
constexpr std::array<QualName, 9> kWholeQuals = {{
    {"ip-protocol", Flowspec::MatchCompType::ipProtocol},
    {"ipv6-next-header", Flowspec::MatchCompType::ipProtocol},
    {"l4-dst-port", Flowspec::MatchCompType::destinationPort},
    {"l4-src-port", Flowspec::MatchCompType::sourcePort},
    {"tcp-control", Flowspec::MatchCompType::tcpFlags},
    {"ip-length", Flowspec::MatchCompType::packetLength},
    {"dscp", Flowspec::MatchCompType::dscp},
    {"ipv6-traffic-class", Flowspec::MatchCompType::dscp},
    {"ip-frag", Flowspec::MatchCompType::fragment},
}};
constexpr char kL4SrcPort[] = "l4-src-port";

// Watches one component of an ACL type: a card adds qualifiers to a component it reported.
class ComponentQualSm : public Cog::BoundReactor<Acl::UnsupportedComponent, FeatureUQualSm> {
 public:
  ComponentQualSm(Cog::Ptr<Acl::UnsupportedComponent const> const& component, FeatureUQualSm* owner,
                  Cog::String linecard, Acl::AclType aclType)
      : BoundReactor(component, owner), linecard_(std::move(linecard)), aclType_(aclType) {}
  void handleQualifier(Cog::String const& qual) override {
    owner()->handleUnsupportedQual(linecard_, aclType_, qual);
  }

 private:
  Cog::String linecard_;
  Acl::AclType aclType_;
};

}  // namespace

// Watches the ACL types one line card reports, one AclTypeQualSm each.
class FeatureUQualSm::LinecardQualSm
    : public Cog::BoundReactor<Acl::LinecardUnsupportedComponent, FeatureUQualSm> {
 public:
  class AclTypeQualSm;
  LinecardQualSm(Cog::Ptr<Acl::LinecardUnsupportedComponent const> const& linecardUQual,
                 FeatureUQualSm* owner);
  ~LinecardQualSm() override;
  void handleAclType(Acl::AclType const& aclType) override;

 private:
  Cog::ReactorMap<Acl::AclType, AclTypeQualSm> aclTypeUQual_;
};

// Watches the components one line card reports for one ACL type.
class FeatureUQualSm::LinecardQualSm::AclTypeQualSm
    : public Cog::BoundReactor<Acl::AclTypeUnsupportedComponent, FeatureUQualSm> {
 public:
  AclTypeQualSm(Cog::Ptr<Acl::AclTypeUnsupportedComponent const> const& aclTypeUQual,
                FeatureUQualSm* owner, Cog::String linecard)
      : BoundReactor(aclTypeUQual, owner),
        linecard_(std::move(linecard)),
        component_(
            [this](Cog::String const& name) {
              this->owner()->handleUnsupportedQual(linecard_, notifier()->aclType(), name);
            },
            "unsupportedComponent") {}
  void handleUnsupportedComponent(Cog::String const& name) override {
    if (auto const component = notifier()->unsupportedComponent(name)) {
      component_.is(name, component, owner(), linecard_, notifier()->aclType());
    } else {
      component_.del(name);
    }
  }

 private:
  Cog::String linecard_;
  Cog::ReactorMap<Cog::String, ComponentQualSm> component_;
};

FeatureUQualSm::LinecardQualSm::LinecardQualSm(
    Cog::Ptr<Acl::LinecardUnsupportedComponent const> const& linecardUQual, FeatureUQualSm* owner)
    : BoundReactor(linecardUQual, owner),
      aclTypeUQual_(
          [this](Acl::AclType const& aclType) {
            this->owner()->handleUnsupportedQual(notifier()->name(), aclType, "aclType delete");
          },
          "aclTypeUQual") {}

FeatureUQualSm::LinecardQualSm::~LinecardQualSm() { aclTypeUQual_.clearSilently(); }

void FeatureUQualSm::LinecardQualSm::handleAclType(Acl::AclType const& aclType) {
  if (auto const record = notifier()->aclType(aclType)) {
    aclTypeUQual_.is(aclType, record, owner(), notifier()->name());
  } else {
    aclTypeUQual_.del(aclType);
  }
}

struct FeatureUQualSm::FeatureReactor
    : Cog::BoundReactor<Acl::FeatureUnsupportedComponent, FeatureUQualSm> {
  using BoundReactor::BoundReactor;
  void handleLinecard(Cog::String const& name) override {
    if (auto const linecard = notifier()->linecard(name)) {
      owner()->linecardUQualIs(linecard);
    } else {
      owner()->linecardUQualDel(name);
    }
  }
};

Cog::Ptr<FeatureUQualSm> featureUQualSmFactory(
    Cog::Ptr<Acl::FeatureUnsupportedComponent const> featureQual,
    Cog::Ptr<Flowspec::Status> flowspecStatus) {
  return Cog::make<FeatureUQualSm>(std::move(featureQual), std::move(flowspecStatus));
}

FeatureUQualSm::FeatureUQualSm(Cog::Ptr<Acl::FeatureUnsupportedComponent const> featureQual,
                               Cog::Ptr<Flowspec::Status> flowspecStatus)
    : featureQual_(std::move(featureQual)),
      flowspecStatus_(std::move(flowspecStatus)),
      linecardUQual_(
          [this](Cog::String const& name) { handleUnsupportedQual(name, 0, "linecard delete"); },
          "linecardUQual") {
  Cog::requireArgument(featureQual_, "featureQual");
  Cog::requireArgument(flowspecStatus_, "flowspecStatus");
  reactor_ = std::make_unique<FeatureReactor>(featureQual_, this);
  for (auto const& [name, linecard] : featureQual_->linecard()) {
    linecardUQualIs(linecard);
  }
  handleInitialized();
}

FeatureUQualSm::~FeatureUQualSm() {
  reactor_.reset();
  linecardUQual_.clearSilently();
}

void FeatureUQualSm::linecardUQualIs(
    Cog::Ptr<Acl::LinecardUnsupportedComponent const> const& linecard) {
  linecardUQual_.is(linecard->name(), linecard, this);
}

void FeatureUQualSm::linecardUQualDel(Cog::String const& name) { linecardUQual_.del(name); }

void FeatureUQualSm::linecardUQualDelAll() { linecardUQual_.delAll(); }

void FeatureUQualSm::handleInitialized() {
  TRACE(gTrace, 7, "handleInitialized");
  initializedIs(true);
  flowspecStatus_->unsupportedQualDelAll();
  handleUnsupportedQual();
}

void FeatureUQualSm::handleUnsupportedQual(Cog::String const& linecard, Acl::AclType aclType,
                                           Cog::String const& qual) {
  if (!initialized()) {
    return;
  }
  TRACE(gTrace, 4, linecard, ";", aclType, ";", qual);
  handleUnsupportedQual();
}

void FeatureUQualSm::handleUnsupportedQual() {
  if (!initialized()) {
    return;
  }
  unsupportedQualDelAll();
  for (auto const& [name, linecard] : featureQual_->linecard()) {
    for (auto const& [aclType, aclTypeUQual] : linecard->aclType()) {
      auto const unsupportedQual = unsupportedQualIs(aclType);
      for (auto const& [componentName, component] : aclTypeUQual->unsupportedComponent()) {
        updateUnsupportedQual(*component, *unsupportedQual);
      }
    }
  }
  updateFlowspecQual(Acl::aclTypeIpv4, Nwk::AddressFamily::ipv4);
  updateFlowspecQual(Acl::aclTypeIpv6, Nwk::AddressFamily::ipv6);
}

void FeatureUQualSm::updateUnsupportedQual(Acl::UnsupportedComponent const& component,
                                           UnsupportedQual& unsupportedQual) {
  for (auto const& [key, qual] : component.qualifier()) {
    unsupportedQual.qualIs(qual);
  }
}

Flowspec::MatchCompType FeatureUQualSm::compTypeOf(Cog::String const& qual) {
  for (auto const& [name, type] : kPrefixQuals) {
    if (qual.compare(0, 6, name) == 0) {
      return type;
    }
  }
  for (auto const& [name, type] : kWholeQuals) {
    if (qual == name) {
      return type;
    }
  }
  return Flowspec::MatchCompType::none;
}

void FeatureUQualSm::updateFlowspecQual(Acl::AclType aclType, Nwk::AddressFamily af) {
  auto const unsupported = unsupportedQual(aclType);
  if (!unsupported) {
    TRACE(gTrace, 4, "No unsupported qualifiers present for ", aclType);
    flowspecStatus_->unsupportedQualDel(af);
    return;
  }
  Flowspec::UnsupportedQual record;
  for (auto const& qual : unsupported->qual()) {
    auto const type = compTypeOf(qual);
    if (type != Flowspec::MatchCompType::none) {
      TRACE(gTrace, 4, "compType ", type, ", qual ", qual);
      record.qualIs(type, qual);
    }
  }
  // ICMP type and code travel in the layer-4 source port field of the key, so a card that
  // cannot match that field cannot match them either.
  if (unsupported->qual(kL4SrcPort)) {
    record.qualIs(Flowspec::MatchCompType::icmpType, kL4SrcPort);
    record.qualIs(Flowspec::MatchCompType::icmpCode, kL4SrcPort);
  }
  if (record.empty()) {
    TRACE(gTrace, 4, "Deleting ", Nwk::toStrep(af), " unsuppQual");
    flowspecStatus_->unsupportedQualDel(af);
    unsupportedQualDel(aclType);
    return;
  }
  TRACE(gTrace, 4, "Adding ", Nwk::toStrep(af), " unsuppQual ", record);
  flowspecStatus_->unsupportedQualIs(af, record);
}

void FeatureUQualSm::doCleanup() {
  TRACE(gTrace, 7, "doCleanup");
  flowspecStatus_->unsupportedQualDel(Nwk::AddressFamily::ipv4);
  flowspecStatus_->unsupportedQualDel(Nwk::AddressFamily::ipv6);
  unsupportedQualDelAll();
}

void FeatureUQualSm::dumpState(Kiln::DumpContext* ctx, int indent) const {
  Kiln::dumpf(ctx, indent, "FeatureUQualSm: linecards #%zu\n", linecardUQual_.size());
  for (auto const& [aclType, unsupported] : unsupportedQual()) {
    Cog::String quals;
    for (auto const& qual : unsupported->qual()) {
      quals += ' ';
      quals += qual;
    }
    Kiln::dumpf(ctx, indent + 2, "aclType %u:%s\n", unsigned{aclType}, quals.c_str());
  }
}

}  // namespace OrbFlowspec
