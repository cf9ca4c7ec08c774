// The unsupported qualifiers that the line cards report, as the status publishes them per
// address family.
#include <gtest/gtest.h>

#include "OrbFlowspec/unsupported/UnsupportedQualSm.h"
#include "platform/trace/CaptureSink.h"

namespace {

using Flowspec::MatchCompType;

class UnsupportedQual : public ::testing::Test {
 protected:
  // Reports qualifier `qual` of `linecard` for `aclType`, under component `component`.
  void report(std::string const& linecard, Acl::AclType aclType, std::string const& qual,
              Acl::AclFeature feature = Acl::aclFeatureFlowspec,
              std::string const& component = "tcam-key") {
    aclStatusDp->featureUnsupportedComponentIs(feature)
        ->linecardIs(linecard)
        ->aclTypeIs(aclType)
        ->unsupportedComponentIs(component)
        ->qualifierIs(qual, qual);
  }
  void unreport(std::string const& linecard, Acl::AclType aclType, std::string const& qual) {
    aclStatusDp->featureUnsupportedComponent(Acl::aclFeatureFlowspec)
        ->linecard(linecard)
        ->aclType(aclType)
        ->unsupportedComponent("tcam-key")
        ->qualifierDel(qual);
  }
  // The published record of a family as "<type> <name>, ...", or "absent".
  std::string published(Nwk::AddressFamily af) const {
    if (!status->unsupportedQual().contains(af)) {
      return "absent";
    }
    return status->unsupportedQual(af).toStrep();
  }

  Cog::Ptr<Acl::StatusDp> aclStatusDp = Cog::make<Acl::StatusDp>("dp");
  Cog::Ptr<Flowspec::Status> status = Cog::make<Flowspec::Status>();
};

TEST_F(UnsupportedQual, QualifierNamesStandForComponentTypes) {
  auto const sm = OrbFlowspec::unsupportedQualSmFactory(aclStatusDp, status);
  struct Case {
    std::string name;
    MatchCompType type;
  };
  for (auto const& [name, type] : std::vector<Case>{
           {"dst-ip", MatchCompType::destinationPrefix},
           {"dst-ipv6-high", MatchCompType::destinationPrefix},  // six characters decide
           {"src-ip", MatchCompType::sourcePrefix},
           {"src-ipx", MatchCompType::sourcePrefix},
           {"ip-protocol", MatchCompType::ipProtocol},
           {"ipv6-next-header", MatchCompType::ipProtocol},
           {"l4-dst-port", MatchCompType::destinationPort},
           {"tcp-control", MatchCompType::tcpFlags},
           {"ip-length", MatchCompType::packetLength},
           {"dscp", MatchCompType::dscp},
           {"ipv6-traffic-class", MatchCompType::dscp},
           {"ip-frag", MatchCompType::fragment},
           {"dst-i", MatchCompType::none},
           {"ip-protocol-x", MatchCompType::none},
           {"l4-port", MatchCompType::none},
           {"flow-label", MatchCompType::none},
       }) {
    EXPECT_EQ(OrbFlowspec::FeatureUQualSm::compTypeOf(name), type) << name;
  }
}

TEST_F(UnsupportedQual, SourcePortAloneAlsoMarksIcmpTypeAndCode) {
  auto const sm = OrbFlowspec::unsupportedQualSmFactory(aclStatusDp, status);
  report("lc1", Acl::aclTypeIpv6, "l4-src-port");
  EXPECT_EQ(published(Nwk::AddressFamily::ipv6), "{6 l4-src-port, 7 l4-src-port, 8 l4-src-port}");
  EXPECT_EQ(published(Nwk::AddressFamily::ipv4), "absent");
}

TEST_F(UnsupportedQual, UnionOverLineCardsRecomputedWhenOneGoes) {
  report("lc1", Acl::aclTypeIpv4, "l4-dst-port");
  auto const sm = OrbFlowspec::unsupportedQualSmFactory(aclStatusDp, status);
  EXPECT_EQ(published(Nwk::AddressFamily::ipv4), "{5 l4-dst-port}");
  report("lc2", Acl::aclTypeIpv4, "dst-ip");
  report("lc2", Acl::aclTypeIpv4, "tcp-control");  // added to a component already reported
  report("lc2", Acl::aclTypeIpv6, "dscp", Acl::aclFeatureFlowspec, "other-key");
  EXPECT_EQ(published(Nwk::AddressFamily::ipv4), "{1 dst-ip, 5 l4-dst-port, 9 tcp-control}");
  EXPECT_EQ(published(Nwk::AddressFamily::ipv6), "{11 dscp}");

  aclStatusDp->featureUnsupportedComponent(Acl::aclFeatureFlowspec)->linecardDel("lc1");
  EXPECT_EQ(published(Nwk::AddressFamily::ipv4), "{1 dst-ip, 9 tcp-control}");
  aclStatusDp->featureUnsupportedComponent(Acl::aclFeatureFlowspec)
      ->linecard("lc2")
      ->aclTypeDel(Acl::aclTypeIpv6);
  EXPECT_EQ(published(Nwk::AddressFamily::ipv6), "absent");
  unreport("lc2", Acl::aclTypeIpv4, "dst-ip");
  EXPECT_EQ(published(Nwk::AddressFamily::ipv4), "{9 tcp-control}");
}

TEST_F(UnsupportedQual, OnlyUnknownNamesPublishNothing) {
  auto const sm = OrbFlowspec::unsupportedQualSmFactory(aclStatusDp, status);
  report("lc1", Acl::aclTypeIpv4, "ip-length");
  report("lc1", Acl::aclTypeIpv4, "vlan-id");
  EXPECT_EQ(published(Nwk::AddressFamily::ipv4), "{10 ip-length}");
  unreport("lc1", Acl::aclTypeIpv4, "ip-length");
  EXPECT_EQ(published(Nwk::AddressFamily::ipv4), "absent");
}

TEST_F(UnsupportedQual, OtherFeaturesAreOnlyTraced) {
  Trace::ScopedTextLevel level("UnsupportedQualSm", 4);
  Trace::ScopedCapture capture;
  auto const sm = OrbFlowspec::unsupportedQualSmFactory(aclStatusDp, status);
  report("lc1", Acl::aclTypeIpv4, "dscp", 3);
  EXPECT_TRUE(capture->contains("Ignore update for feature 3"));
  EXPECT_FALSE(sm->featureUQualSm());
  EXPECT_TRUE(status->unsupportedQual().empty());
}

TEST_F(UnsupportedQual, FeatureReportGoingRemovesWhatWasPublished) {
  Trace::ScopedTextLevel level("FeatureUQualSm", 4);
  Trace::ScopedCapture capture;
  auto const sm = OrbFlowspec::unsupportedQualSmFactory(aclStatusDp, status);
  report("lc1", Acl::aclTypeIpv4, "ip-frag");
  report("lc1", Acl::aclTypeIpv6, "ip-frag");
  EXPECT_TRUE(capture->contains("Adding ipv4 unsuppQual {12 ip-frag}"));
  EXPECT_TRUE(capture->contains("compType 12, qual ip-frag"));
  aclStatusDp->featureUnsupportedComponentDel(Acl::aclFeatureFlowspec);
  EXPECT_FALSE(sm->featureUQualSm());
  EXPECT_TRUE(status->unsupportedQual().empty());
}

TEST_F(UnsupportedQual, StartReplacesWhatAnEarlierInstancePublished) {
  Flowspec::UnsupportedQual stale;
  stale.qualIs(MatchCompType::dscp, "dscp");
  status->unsupportedQualIs(Nwk::AddressFamily::ipv6, stale);
  report("lc1", Acl::aclTypeIpv4, "ip-protocol");
  auto const sm = OrbFlowspec::unsupportedQualSmFactory(aclStatusDp, status);
  EXPECT_EQ(published(Nwk::AddressFamily::ipv6), "absent");
  EXPECT_EQ(published(Nwk::AddressFamily::ipv4), "{3 ip-protocol}");
}

}  // namespace
