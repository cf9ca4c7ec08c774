// The nftables dataplane against real packets: rules programmed into a network namespace, frames
// sent through it, counters and arrivals compared with the hardware model's classifier.
#include <gtest/gtest.h>
#include <unistd.h>

#include <map>
#include <random>
#include <set>

#include "pbr/nft/NftDataplane.h"
#include "tests/pbr/PbrHarness.h"
#include "tests/pbr/ProgramHelpers.h"
#include "tests/pbr/nft/NetnsLab.h"

namespace PbrTest {
namespace {

using Pbr::Packet;

// Skips the test unless the lab and the dataplane are up.
#define NFT_LAB_OR_SKIP(lab, dp)                                                   \
  if (::geteuid() != 0) {                                                          \
    GTEST_SKIP() << "needs root to create network namespaces and nftables tables"; \
  }                                                                                \
  if (!(lab).error().empty()) {                                                    \
    GTEST_SKIP() << "no network namespaces: " << (lab).error();                    \
  }                                                                                \
  if (!(dp)->error().empty()) {                                                    \
    GTEST_SKIP() << "no nftables in the namespace: " << (dp)->error();             \
  }

Acl::IpFilter v4(std::string const& dst, int proto = -1, std::uint8_t protoMask = 0xff) {
  Acl::IpFilter f = ipDst(dst);
  if (proto >= 0) {
    f.protocolIs(static_cast<std::uint8_t>(proto));
    f.protocolMaskIs(protoMask);
  }
  return f;
}

Acl::Ip6Filter v6(std::string const& dst, int proto = -1) {
  Acl::Ip6Filter f = ip6Dst(dst);
  if (proto >= 0) {
    f.protocolIs(static_cast<std::uint8_t>(proto));
    f.protocolMaskIs(0xff);
  }
  return f;
}

// One class per feature of an ACL entry, in match order; deny classes show drops on the wire.
struct TestClass {
  std::string name;
  bool deny;
  std::vector<Acl::IpFilter> ip;
  std::vector<Acl::Ip6Filter> ip6;
};

std::vector<TestClass> featureClasses() {
  std::vector<TestClass> out;
  auto udpRange = v4("10.9.1.0/24", 17);
  udpRange.dportIs(Acl::PortSpec(Acl::RangeOperator::range, "1000 2000"));
  out.push_back({"udp-range", true, {udpRange}, {}});
  auto syn = v4("10.9.0.0/16", 6);
  syn.tcpFlagIs(Acl::TcpFlag(0x02));
  syn.tcpFlagMaskIs(Acl::TcpFlag(0x12));
  auto ns = v4("10.9.0.0/16", 6);
  ns.tcpFlagIs(Acl::TcpFlag(0x100));
  ns.tcpFlagMaskIs(Acl::TcpFlag(0x101));
  out.push_back({"tcp-flags", false, {syn, ns}, {}});
  auto dscp = v4("10.9.0.0/16");
  dscp.matchDscpIs(true);
  dscp.dscpIs(8);
  dscp.dscpMaskIs(0x38);
  out.push_back({"dscp", true, {dscp}, {}});
  auto icmp = v4("10.9.0.0/16", 1);
  icmp.icmpTypeIs(8);
  icmp.icmpCodeIs(0);
  out.push_back({"icmp", false, {icmp}, {}});
  out.push_back({"proto-mask", false, {v4("10.9.0.0/16", 0x20, 0xf0)}, {}});
  auto len = v4("10.9.0.0/16");
  len.ipLenIs(Acl::IpLenSpec(Acl::RangeOperator::range, "60 80"));
  out.push_back({"length", true, {len}, {}});
  auto frag = v4("10.9.0.0/16");
  frag.fragmentsIs(true);
  out.push_back({"fragment", false, {frag}, {}});
  auto src = v4("10.9.0.0/16");
  src.sourceIs(0x0a000005, 0xff0000ff);
  auto lt = v4("10.9.2.0/23", 6);
  lt.sportIs(Acl::PortSpec(Acl::RangeOperator::lt, "100"));
  out.push_back({"src-mask-or-lt", true, {src, lt}, {}});

  auto udp6 = v6("fd09:1::/32", 17);
  udp6.dportIs(Acl::PortSpec(Acl::RangeOperator::eq, "53"));
  out.push_back({"v6-udp", true, {}, {udp6}});
  auto tc = v6("fd09::/16");
  tc.trafficClassIs(0x28);
  tc.trafficClassMaskIs(0xfc);
  out.push_back({"v6-tc", true, {}, {tc}});
  auto icmp6 = v6("fd09::/16", 58);
  icmp6.icmpTypeIs(128);
  out.push_back({"v6-icmp", false, {}, {icmp6}});
  auto len6 = v6("fd09::/16");
  len6.ipLenIs(Acl::IpLenSpec(Acl::RangeOperator::range, "20 30"));
  out.push_back({"v6-length", true, {}, {len6}});
  auto frag6 = v6("fd09::/16");
  frag6.fragmentsIs(true);
  out.push_back({"v6-fragment", false, {}, {frag6}});
  auto fin6 = v6("fd09:2::/32", 6);
  fin6.tcpFlagIs(Acl::TcpFlag(0x01));
  fin6.tcpFlagMaskIs(Acl::TcpFlag(0x01));
  out.push_back({"v6-fin", true, {}, {fin6}});
  return out;
}

// Packets spread over the values the classes above tell apart.
Packet randomPacket(std::mt19937& rng) {
  auto pick = [&rng](std::vector<unsigned> const& values) {
    return values[std::uniform_int_distribution<std::size_t>(0, values.size() - 1)(rng)];
  };
  Packet p;
  bool const is6 = pick({0, 1});
  p.af = is6 ? Nwk::AddressFamily::ipv6 : Nwk::AddressFamily::ipv4;
  unsigned const net = pick({0, 1, 2, 3});
  unsigned const host = pick({1, 5, 77, 200});
  if (is6) {
    p.dst = *Nwk::IpGenAddr::parse("fd09:" + std::to_string(net) + "::" + std::to_string(host));
    p.src = *Nwk::IpGenAddr::parse("fd01::1");
  } else {
    p.dst = Nwk::IpGenAddr::ipv4(0x0a090000 | net << 8 | host);
    p.src = Nwk::IpGenAddr::ipv4(pick({0x0a010001, 0x0a000005, 0x0a110005, 0x0a000006}));
  }
  p.protocol = static_cast<std::uint8_t>(pick({6, 17, is6 ? 58u : 1u, 47, 33}));
  p.sport = static_cast<std::uint16_t>(pick({53, 99, 100, 4000}));
  p.dport = static_cast<std::uint16_t>(pick({53, 53, 999, 1000, 2000, 2001}));
  p.icmpType = static_cast<std::uint8_t>(pick({8, 0, 128, 129}));
  p.icmpCode = static_cast<std::uint8_t>(pick({0, 1}));
  p.tcpFlags = static_cast<std::uint16_t>(pick({0x02, 0x12, 0x01, 0x100, 0x101, 0x10}));
  p.trafficClass = static_cast<std::uint8_t>(pick({0, 0x20, 0x28, 0x2b, 0x3c, 0xe0}));
  p.fragment = pick({0, 0, 0, 1});
  p.length = static_cast<std::uint16_t>(pick({0, 4, 20, 33, 45}));  // payload; set to wire length
  return p;
}

TEST(NftDataplane, CountsDropsAndArrivalsMatchTheModelThroughTheMachinery) {
  NetnsLab lab;
  PbrHarness nft;
  auto const dp = Cog::make<Pbr::NftDataplane>(nft.scheduler, lab.router(), "orbtest");
  nft.aclHelper = dp;
  NFT_LAB_OR_SKIP(lab, dp);
  PbrHarness model;
  for (PbrHarness* h : {&nft, &model}) {
    h->start();
    std::vector<ClassSpec> specs;
    for (auto const& c : featureClasses()) {
      h->classMapIs(c.name, c.ip, c.ip6);
      specs.push_back({c.name, c.deny});
    }
    h->policyIs("red", specs);
  }
  nft.bind(NetnsLab::kIntf, "red");
  model.bind("Ethernet2", "red");
  nft.settle();
  model.settle();
  ASSERT_EQ(nft.installed("red", NetnsLab::kIntf), "installed");
  ASSERT_EQ(
      nft.installed("red", NetnsLab::kIntf, PolicyMap::ClassMapMatchOption::matchIpv6AccessGroup),
      "installed");

  std::mt19937 rng(7);
  std::map<std::string, std::uint64_t> expected;
  std::set<std::uint32_t> expectedArrivals;
  for (std::uint32_t id = 1; id <= 600; ++id) {
    Packet const sent = randomPacket(rng);
    Packet p = sent;
    frameOf(p, id);  // sets the length the wire carries
    auto const c = model.hw->classify(Nwk::IntfId("Ethernet2"), p);
    if (c.matched) {
      ++expected[c.className];
    }
    if (!c.action.deny) {
      expectedArrivals.insert(id);
    }
    lab.send(sent, id);
  }
  std::set<std::uint32_t> arrived;
  for (auto const& a : lab.drain()) {
    if (a.id != 0) {  // not the neighbour discovery of the lab's own addresses
      arrived.insert(a.id);
    }
  }
  EXPECT_EQ(arrived, expectedArrivals);

  nft.pmapTypeConfig->counterUpdateRequestTimeIs("red", nft.scheduler->now());
  nft.settle();
  for (auto const& c : featureClasses()) {
    EXPECT_EQ(nft.status("red")->cmap(c.name)->packetCount(), expected[c.name]) << c.name;
    EXPECT_GT(expected[c.name], 0u) << c.name << " is not exercised";
  }

  // Unbinding and dropping the policy leave the table without rules or counters.
  nft.unbind(NetnsLab::kIntf);
  nft.policyDel("red");
  nft.settle();
  std::string error;
  Pbr::NftSession session(lab.router());
  std::string const listing = session.list("list table inet orbtest", error);
  EXPECT_EQ(listing.find("counter"), std::string::npos) << listing;
  EXPECT_EQ(listing.find("chain s"), std::string::npos) << listing;
}

// Programs `classes` on the lab's router through the dataplane alone and waits for the result.
Pbr::ProgramResult programNow(Cog::Ptr<Kiln::TaskScheduler> const& scheduler, Pbr::NftDataplane& dp,
                              std::vector<Pbr::ClassProgram> classes,
                              Nwk::AddressFamily af = Nwk::AddressFamily::ipv4) {
  Pbr::ProgramResult out;
  dp.programIs(Nwk::IntfId(NetnsLab::kIntf), program(std::move(classes), af),
               [&out](Pbr::ProgramResult const& r) { out = r; });
  EXPECT_TRUE(out.empty()) << "completion inside the call";
  scheduler->runUntilNoWork(60);
  return out;
}

Packet udpTo(char const* dst, std::uint8_t tos = 0) {
  Packet p = packetTo(dst, 17, 53);
  p.src = Nwk::IpGenAddr::ipv4(0x0a010001);
  p.trafficClass = tos;
  p.length = 200;
  return p;
}

TEST(NftDataplane, PoliceDropsAboveItsRateAndDscpClassesRemark) {
  NetnsLab lab;
  auto const scheduler = Kiln::simulatedTaskSchedulerFactory();
  auto const dp = Cog::make<Pbr::NftDataplane>(scheduler, lab.router(), "orbtest");
  NFT_LAB_OR_SKIP(lab, dp);
  Pbr::ActionSpec police;
  police.policeRateBps = 8000;  // 1000 bytes per second: a burst of 200 frames cannot conform
  Pbr::ActionSpec remark;
  remark.setDscp = 46;
  Pbr::ActionSpec remark6;
  remark6.setDscp = 10;
  auto const result = programNow(scheduler, *dp,
                                 {ipClass("police", {ipDst("10.9.1.0/24")}, police),
                                  ipClass("remark", {ipDst("10.9.2.0/24")}, remark)});
  EXPECT_EQ(result, Pbr::ProgramResult(2, Pbr::ClassResult{true, ""}));
  EXPECT_EQ(programNow(scheduler, *dp, {ip6Class("remark6", {ip6Dst("fd09::/16")}, remark6)},
                       Nwk::AddressFamily::ipv6),
            Pbr::ProgramResult(1, Pbr::ClassResult{true, ""}));

  for (std::uint32_t id = 1; id <= 200; ++id) {
    lab.send(udpTo("10.9.1.1"), id);
  }
  lab.send(udpTo("10.9.2.1", 0x03), 1000);  // ECN bits stay
  Packet p6 = packetTo("fd09::1", 17, 53);
  p6.src = *Nwk::IpGenAddr::parse("fd01::1");
  p6.trafficClass = 0xfd;
  lab.send(p6, 2000);
  std::size_t policed = 0;
  std::map<std::uint32_t, std::uint8_t> tos;
  for (auto const& a : lab.drain()) {
    policed += a.id <= 200;
    tos[a.id] = a.trafficClass;
  }
  EXPECT_GT(policed, 0u);
  EXPECT_LT(policed, 200u);
  EXPECT_EQ(tos[1000], 46 << 2 | 0x03);
  EXPECT_EQ(tos[2000], 10 << 2 | 0x01);

  std::vector<Pbr::ClassCounters> counters;
  dp->countersRead({Pbr::Slot{Nwk::IntfId(NetnsLab::kIntf), Nwk::AddressFamily::ipv4}},
                   [&counters](auto const& c) { counters = c; });
  scheduler->runUntilNoWork(60);
  ASSERT_EQ(counters.size(), 1u);
  EXPECT_EQ(counters[0]["police"], 200u);  // counted whether or not they conform
  EXPECT_EQ(counters[0]["remark"], 1u);
}

TEST(NftDataplane, VersionSwitchesUnderAStreamLeaveNoPacketUnclassified) {
  NetnsLab lab;
  auto const scheduler = Kiln::simulatedTaskSchedulerFactory();
  auto const dp = Cog::make<Pbr::NftDataplane>(scheduler, lab.router(), "orbtest");
  NFT_LAB_OR_SKIP(lab, dp);
  // Every version re-marks all traffic to DSCP 10 from a differently built class, so a packet
  // that met an empty chain would arrive unmarked.
  Pbr::ActionSpec remark;
  remark.setDscp = 10;
  std::uint32_t id = 1;
  for (int version = 0; version < 20; ++version) {
    auto entries = hosts(50, 99);  // entries that never match, then the catch-all
    entries.push_back(ipDst("10.9.0.0/16"));
    std::string const name = "v" + std::to_string(version % 3);
    Pbr::ProgramResult result;
    dp->programIs(Nwk::IntfId(NetnsLab::kIntf), program({ipClass(name, entries, remark)}),
                  [&result](Pbr::ProgramResult const& r) { result = r; });
    for (int i = 0; i < 10; ++i) {
      lab.send(udpTo("10.9.3.3"), id++);
    }
    scheduler->runUntilNoWork(60);  // the switch happens while those frames are in flight
    ASSERT_EQ(result, Pbr::ProgramResult(1, Pbr::ClassResult{true, ""}));
    for (int i = 0; i < 10; ++i) {
      lab.send(udpTo("10.9.3.3"), id++);
    }
  }
  // Frames sent before the first version was in pass unmarked; every later one is marked.
  std::size_t marked = 0;
  std::size_t unmarkedLater = 0;
  for (auto const& a : lab.drain()) {
    marked += a.trafficClass == 10 << 2;
    unmarkedLater += a.id > 10 && a.trafficClass != 10 << 2;
  }
  EXPECT_EQ(unmarkedLater, 0u);
  EXPECT_EQ(marked, id - 1 - 10);
}

TEST(NftDataplane, RefusedAndUnusableClassesFailAloneWithTheirErrorText) {
  NetnsLab lab;
  auto const scheduler = Kiln::simulatedTaskSchedulerFactory();
  auto const dp = Cog::make<Pbr::NftDataplane>(scheduler, lab.router(), "orbtest");
  NFT_LAB_OR_SKIP(lab, dp);
  Pbr::ActionSpec redirect;
  redirect.redirect =
      std::make_shared<Pbr::ActionSpec::Redirect const>(Pbr::ActionSpec::Redirect{"blue", {}});
  auto result = programNow(
      scheduler, *dp,
      {ipClass("ok", {ipDst("10.9.0.0/16")}),
       ipClass("bad-port", {withDport(ipDst("10.9.0.0/16"), Acl::RangeOperator::range, "9 3")}),
       ipClass("no-vrf", {ipDst("10.9.0.0/16")}, redirect)});
  EXPECT_EQ(result[0], (Pbr::ClassResult{true, ""}));
  EXPECT_EQ(result[1], (Pbr::ClassResult{false, "unusable dport condition \"range 9 3\""}));
  EXPECT_EQ(result[2], (Pbr::ClassResult{false, "no routing table for VRF blue"}));

  dp->vrfTableIs("blue", 100);
  result = programNow(scheduler, *dp, {ipClass("to-blue", {ipDst("10.9.0.0/16")}, redirect)});
  EXPECT_EQ(result, Pbr::ProgramResult(1, Pbr::ClassResult{true, ""}));

  // A rate the kernel refuses fails its class alone with libnftables' text; in an atomic
  // program it fails the version and the one in place stays.
  Pbr::ActionSpec tooFast;
  tooFast.policeRateBps = ~std::uint64_t{0};
  std::string const refused =
      "Error: Could not process rule: Value too large for defined data type";
  std::vector<Pbr::ClassProgram> const withRefused = {
      ipClass("kept", {ipDst("10.9.0.0/16")}), ipClass("fast", {ipDst("10.9.0.0/16")}, tooFast)};
  result = programNow(scheduler, *dp, withRefused);
  EXPECT_EQ(result[0], (Pbr::ClassResult{true, ""}));
  EXPECT_EQ(result[1], (Pbr::ClassResult{false, refused}));
  Pbr::ProgramResult atomic;
  dp->programIs(Nwk::IntfId(NetnsLab::kIntf),
                program(withRefused, Nwk::AddressFamily::ipv4, true, /*atomic=*/true),
                [&atomic](Pbr::ProgramResult const& r) { atomic = r; });
  scheduler->runUntilNoWork(60);
  EXPECT_EQ(atomic, Pbr::ProgramResult(2, Pbr::ClassResult{false, refused}));
  std::vector<Pbr::ClassCounters> counters;
  dp->countersRead({Pbr::Slot{Nwk::IntfId(NetnsLab::kIntf), Nwk::AddressFamily::ipv4}},
                   [&counters](auto const& c) { counters = c; });
  scheduler->runUntilNoWork(60);
  EXPECT_EQ(counters, std::vector<Pbr::ClassCounters>({{{"kept", 0}}}));

  // A name that is no Linux interface name fails the whole slot.
  Pbr::ProgramResult bad;
  dp->programIs(Nwk::IntfId("a-name-far-too-long"), program({ipClass("x", {})}),
                [&bad](Pbr::ProgramResult const& r) { bad = r; });
  scheduler->runUntilNoWork(60);
  ASSERT_EQ(bad.size(), 1u);
  EXPECT_FALSE(bad[0].installed);
  EXPECT_EQ(bad[0].errorText, "interface a-name-far-too-long has no Linux interface name");
}

TEST(NftDataplane, RestartReplacesWhatAPreviousRunLeftAndNothingElse) {
  NetnsLab lab;
  auto const scheduler = Kiln::simulatedTaskSchedulerFactory();
  auto dp = Cog::make<Pbr::NftDataplane>(scheduler, lab.router(), "orbtest");
  NFT_LAB_OR_SKIP(lab, dp);
  Pbr::NftSession session(lab.router());
  ASSERT_EQ(session.run("add table inet other\nadd counter inet other keep\n"), "");
  programNow(scheduler, *dp, {ipClass("a", {ipDst("10.9.0.0/16")})});
  // A second dataplane on the same table, as after a crash, starts from an empty skeleton.
  auto restarted = Cog::make<Pbr::NftDataplane>(scheduler, lab.router(), "orbtest");
  std::string error;
  std::string listing = session.list("list ruleset", error);
  EXPECT_EQ(listing.find("counter c"), std::string::npos) << listing;
  EXPECT_NE(listing.find("counter keep"), std::string::npos) << listing;
  restarted = nullptr;
  dp = nullptr;
  listing = session.list("list table inet orbtest", error);
  EXPECT_EQ(listing.find("chain"), std::string::npos) << listing;
}

}  // namespace
}  // namespace PbrTest
