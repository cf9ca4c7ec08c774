// The status side, the ACL data-plane status tree and the mounted inputs.
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "models/aclstatus/StatusDp.h"
#include "models/mounted/MountedInputs.h"
#include "models/policymap/PolicyMapGlobalData.h"
#include "models/policymap/PolicyMapTypeStatus.h"

namespace {

using PolicyMap::ClassMapMatchOption;

TEST(PolicyMapTypeStatus, PolicyLookupIsByExactName) {
  auto const typeStatus = Cog::make<PolicyMap::PolicyMapTypeStatus>("Flowspec");
  typeStatus->typeIs(PolicyMap::mapTypeFlowspec);
  auto const red = typeStatus->pmapStatusIs("red");
  EXPECT_EQ(red->name(), "red");
  EXPECT_EQ(typeStatus->pmapStatus("red"), red);
  EXPECT_EQ(typeStatus->pmapStatus("Red"), nullptr);
  EXPECT_EQ(typeStatus->pmapStatus("red "), nullptr);
  EXPECT_EQ(typeStatus->pmapStatus("re"), nullptr);
}

TEST(PolicyMapStatus, ClassAndInterfaceStatusAsWritten) {
  auto const status = Cog::make<PolicyMap::PolicyMapStatus>("red");
  status->versionIs(Kiln::UniqueId(1, 2));
  status->counterUpdateTimeIs(30.0);
  auto const cmap = status->cmapIs("c1");
  EXPECT_EQ(cmap->classState(), PolicyMap::ClassState::classStateUnknown);
  EXPECT_EQ(cmap->packetCount(), 0u);
  EXPECT_FALSE(cmap->version().valid());
  cmap->classStateIs(PolicyMap::ClassState::classStateInstalled);
  cmap->packetCountIs(18446744073709551615ull);
  cmap->versionIs(Kiln::UniqueId(1, 2));
  EXPECT_EQ(status->cmap("c1")->packetCount(), 18446744073709551615ull);

  auto const intf = status->intfStatusIs(Nwk::IntfId("Ethernet1"));
  intf->installedIs(ClassMapMatchOption::matchIpv6AccessGroup,
                    {PolicyMap::InstalledState::failed, "out of TCAM"});
  intf->installedIs(ClassMapMatchOption::matchIpAccessGroup,
                    {PolicyMap::InstalledState::installed, ""});
  EXPECT_EQ(intf->intfId(), Nwk::IntfId("Ethernet1"));
  EXPECT_EQ(intf->installed(ClassMapMatchOption::matchIpv6AccessGroup).errorText, "out of TCAM");
  ASSERT_TRUE(intf->installed().firstKey());
  EXPECT_EQ(*intf->installed().firstKey(), ClassMapMatchOption::matchIpAccessGroup);
}

TEST(AclStatusDp, QualifierNamesReachableFromFeatureDown) {
  auto const statusDp = Cog::make<Acl::StatusDp>("aclStatusDp");
  auto const flowspec = statusDp->featureUnsupportedComponentIs(Acl::aclFeatureFlowspec);
  for (char const* linecard : {"Linecard3", "Linecard4"}) {
    auto const v6 = flowspec->linecardIs(linecard)->aclTypeIs(Acl::aclTypeIpv6);
    v6->unsupportedComponentIs("c1")->qualifierIs("q1", "l4-src-port");
    v6->unsupportedComponentIs("c1")->qualifierIs("q2", "ip-length");
  }
  flowspec->linecardIs("Linecard4")
      ->aclTypeIs(Acl::aclTypeIpv6)
      ->unsupportedComponentIs("c2")
      ->qualifierIs("q1", "flow-label");

  std::set<std::string> names;
  auto const feature = statusDp->featureUnsupportedComponent(Acl::aclFeatureFlowspec);
  ASSERT_TRUE(feature);
  EXPECT_EQ(feature->feature(), Acl::aclFeatureFlowspec);
  for (auto const& [linecardName, linecard] : feature->linecard()) {
    EXPECT_EQ(linecard->name(), linecardName);
    EXPECT_FALSE(linecard->aclType(Acl::aclTypeIpv4));
    for (auto const& [componentName, component] :
         linecard->aclType(Acl::aclTypeIpv6)->unsupportedComponent()) {
      for (auto const& [key, qualifier] : component->qualifier()) {
        names.insert(qualifier);
      }
    }
  }
  EXPECT_EQ(names, (std::set<std::string>{"flow-label", "ip-length", "l4-src-port"}));
}

TEST(MountedInputs, RecordsKeepTheirNamesAndEntries) {
  auto const ocsd = Cog::make<Orb::OrbCommonSmData>("ocsd");
  ocsd->intfIs(Nwk::IntfId("Ethernet1"), {7, "red"});
  EXPECT_EQ(ocsd->intf(Nwk::IntfId("Ethernet1")), (Orb::IntfData{7, "red"}));
  EXPECT_EQ(ocsd->intf(Nwk::IntfId("Ethernet2")), Orb::IntfData{});

  auto const nexthopStatus = Cog::make<Orb::NexthopStatus>("nexthopStatus");
  Orb::NexthopKey const hop{"red", *Nwk::IpGenAddr::parse("10.0.0.1")};
  nexthopStatus->resolvedIs(hop, true);
  EXPECT_TRUE(nexthopStatus->resolved(hop));
  EXPECT_FALSE(nexthopStatus->resolved(Orb::NexthopKey{"blue", hop.address}));

  auto const lag = Cog::make<Lag::Input::Config>("lagInputConfig");
  lag->memberIs(Nwk::IntfId("Ethernet1"), Nwk::IntfId("Port-Channel1"));
  EXPECT_EQ(lag->member(Nwk::IntfId("Ethernet1")), Nwk::IntfId("Port-Channel1"));

  EXPECT_EQ(Cog::make<Acl::Config>("aclConfig")->name(), "aclConfig");
  EXPECT_EQ(Cog::make<Acl::AclDiff>("aclDiff")->name(), "aclDiff");
  EXPECT_EQ(Cog::make<Classification::FieldSetConfig>("fieldSets")->name(), "fieldSets");
  EXPECT_EQ(Cog::make<Ip::Status>("ipStatus")->name(), "ipStatus");
  EXPECT_EQ(Cog::make<Ip6::Status>("ip6Status")->name(), "ip6Status");
  EXPECT_EQ(Cog::make<Orb::NexthopConfig>("nexthopConfig")->name(), "nexthopConfig");
  EXPECT_EQ(Cog::make<Orb::NexthopGroupConfig>("groups")->name(), "groups");
  EXPECT_EQ(Cog::make<Orb::NexthopGroupStatus>("groupStatus")->name(), "groupStatus");
}

TEST(PolicyMapGlobalData, SharesTheAclHelper) {
  auto const helper = Cog::make<PolicyMap::PolicyMapAclHelper>();
  auto const global = Cog::make<PolicyMap::PolicyMapGlobalData>(PolicyMap::mapTypeFlowspec, helper);
  EXPECT_EQ(global->aclHelper(), helper);
  EXPECT_EQ(global->mapType(), PolicyMap::mapTypeFlowspec);
}

}  // namespace
