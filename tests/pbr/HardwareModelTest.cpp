// The hardware model as a dataplane: placement against banks and range checkers, unsupported
// qualifiers, programming time, make-before-break, removal and counters.
#include <gtest/gtest.h>

#include <optional>

#include "pbr/hwmodel/HardwareModel.h"
#include "tests/pbr/ProgramHelpers.h"

namespace {

using namespace PbrTest;
using Nwk::AddressFamily;
using Results = std::vector<std::string>;

class HardwareModelTest : public ::testing::Test {
 protected:
  HardwareModelTest() {
    hw->lineCardIs("lc1", 10, 10, 2);
    hw->lineCardIs("lc2", 100000, 100000, 16);
    hw->intfIs(Nwk::IntfId("Ethernet1"), "lc1");
    hw->intfIs(Nwk::IntfId("Ethernet2"), "lc1");
    hw->intfIs(Nwk::IntfId("Ethernet3"), "lc2");
  }

  // Asks for a program; its results, one text per class ("installed" or the error), land in
  // the returned holder when the model delivers them.
  std::shared_ptr<std::optional<Results>> programIs(
      std::string const& intf, std::shared_ptr<Pbr::PolicyProgram const> prog) {
    auto holder = std::make_shared<std::optional<Results>>();
    hw->programIs(Nwk::IntfId(intf), std::move(prog), [holder](Pbr::ProgramResult const& r) {
      Results texts;
      for (auto const& result : r) {
        texts.push_back(result.installed ? "installed" : result.errorText);
      }
      *holder = texts;
    });
    return holder;
  }

  Results programAndSettle(std::string const& intf,
                           std::shared_ptr<Pbr::PolicyProgram const> prog) {
    auto const holder = programIs(intf, std::move(prog));
    scheduler->runUntilNoWork(3600);
    return holder->value_or(Results{"not delivered"});
  }

  Cog::Ptr<Kiln::TaskScheduler> scheduler = Kiln::simulatedTaskSchedulerFactory();
  Cog::Ptr<Acl::StatusDp> statusDp = Cog::make<Acl::StatusDp>("dp");
  Cog::Ptr<Pbr::HardwareModel> hw = Cog::make<Pbr::HardwareModel>(scheduler, statusDp);
};

TEST_F(HardwareModelTest, ClassesThatDoNotFitFailAloneAndLaterSmallerOnesStillFit) {
  auto const results = programAndSettle(
      "Ethernet1", program({ipClass("a", hosts(4, 1)), ipClass("b", hosts(8, 2)),
                            ipClass("c", hosts(5, 3)), ipClass("d", hosts(1, 4))}));
  EXPECT_EQ(results, (Results{"installed", "TCAM bank ipv4 of lc1 full (4 of 10 entries used)",
                              "installed", "installed"}));
  EXPECT_EQ(hw->bankUsage("lc1", AddressFamily::ipv4), (Pbr::HardwareModel::BankUsage{10, 10}));
  EXPECT_EQ(hw->forwardingEntries(Nwk::IntfId("Ethernet1"), AddressFamily::ipv4), 10u);
  // The other interface of the card finds the bank full; its IPv6 bank and the other card are
  // untouched.
  EXPECT_EQ(programAndSettle("Ethernet2", program({ipClass("a", hosts(1))})),
            Results{"TCAM bank ipv4 of lc1 full (10 of 10 entries used)"});
  EXPECT_EQ(programAndSettle("Ethernet2", program({ip6Class("v6", {ip6Dst("2001:db8::/32")})},
                                                  AddressFamily::ipv6)),
            Results{"installed"});
  EXPECT_EQ(programAndSettle("Ethernet3", program({ipClass("b", hosts(8, 2))})),
            Results{"installed"});
  EXPECT_EQ(classOf(*hw, "Ethernet1", packetTo("10.3.0.4")), "c");
  EXPECT_EQ(classOf(*hw, "Ethernet1", packetTo("10.2.0.0")), "");
}

TEST_F(HardwareModelTest, ProgrammingTakesTimePerEntryAndCardsWorkInArrivalOrder) {
  hw->entryProgramTimeIs(10e-6);
  double const start = scheduler->now();
  auto const first = programIs("Ethernet3", program({ipClass("big", hosts(10000))}));
  scheduler->runUntilIdle();
  EXPECT_TRUE(hw->programming(Nwk::IntfId("Ethernet3"), AddressFamily::ipv4));
  EXPECT_EQ(classOf(*hw, "Ethernet3", packetTo("10.0.0.1")), "");
  // A second request on the same card waits for the first.
  hw->intfIs(Nwk::IntfId("Ethernet4"), "lc2");
  auto const second = programIs("Ethernet4", program({ipClass("small", hosts(100))}));
  scheduler->runFor(0.1 - 1e-6);
  EXPECT_FALSE(first->has_value());
  scheduler->runFor(1e-6);
  ASSERT_TRUE(first->has_value());
  EXPECT_NEAR(scheduler->now() - start, 0.1, 1e-9);
  EXPECT_FALSE(second->has_value());
  EXPECT_EQ(classOf(*hw, "Ethernet3", packetTo("10.0.0.1")), "big");
  scheduler->runFor(0.001);
  EXPECT_TRUE(second->has_value());
}

TEST_F(HardwareModelTest, MakeBeforeBreakKeepsTheOldVersionForwardingUntilTheNewIsIn) {
  hw->entryProgramTimeIs(10e-6);
  auto const keep = ipClass("keep", hosts(1, 9));
  programAndSettle("Ethernet3", program({keep, ipClass("old", {ipDst("10.0.0.0/8")})}));
  EXPECT_EQ(classOf(*hw, "Ethernet3", packetTo("10.9.0.0")), "keep");
  // The new version puts 1000 entries before the kept class and changes the action of the
  // last one: 1001 entries to write, 10.01 ms.
  auto const done =
      programIs("Ethernet3", program({ipClass("new", hosts(1000, 5)), keep,
                                      ipClass("old", {ipDst("10.0.0.0/8")}, deny())}));
  for (int step = 0; step < 10; ++step) {
    scheduler->runFor(0.001);
    EXPECT_EQ(classOf(*hw, "Ethernet3", packetTo("10.5.0.1")), "old") << step;
  }
  EXPECT_FALSE(done->has_value());
  scheduler->runFor(0.0001);
  ASSERT_TRUE(done->has_value());
  EXPECT_EQ(classOf(*hw, "Ethernet3", packetTo("10.5.0.1")), "new");
  EXPECT_TRUE(hw->classify(Nwk::IntfId("Ethernet3"), packetTo("10.1.1.1")).action.deny);
  // The kept class went on counting across the switch; only the new entries were written.
  EXPECT_EQ(classOf(*hw, "Ethernet3", packetTo("10.9.0.0")), "keep");
  std::vector<Pbr::ClassCounters> counters;
  hw->countersRead({Pbr::Slot{Nwk::IntfId("Ethernet3"), AddressFamily::ipv4}},
                   [&counters](std::vector<Pbr::ClassCounters> const& c) { counters = c; });
  scheduler->runUntilIdle();
  ASSERT_EQ(counters.size(), 1u);
  EXPECT_EQ(counters[0].at("keep"), 2u);
  EXPECT_EQ(counters[0].at("new"), 1u);
  EXPECT_EQ(counters[0].at("old"), 1u);  // the denying class is a new class
  EXPECT_EQ(hw->bankUsage("lc2", AddressFamily::ipv4).used, 1002u);
}

TEST_F(HardwareModelTest, VersionsThatCannotBeHeldTogetherFailWholeAndTheOldStays) {
  auto const old = ipClass("old", hosts(6, 1));
  ASSERT_EQ(programAndSettle("Ethernet1", program({old})), Results{"installed"});
  // Replacing it needs room for both at once.
  EXPECT_EQ(programAndSettle("Ethernet1", program({ipClass("new", hosts(6, 2)), ipClass("x", {})})),
            Results(2,
                    "TCAM bank ipv4 of lc1 cannot hold both versions (6 of 10 entries used, "
                    "6 more needed)"));
  EXPECT_EQ(classOf(*hw, "Ethernet1", packetTo("10.1.0.5")), "old");
  // A class that would not fit even without the old version fails alone; the rest goes in.
  EXPECT_EQ(programAndSettle("Ethernet1", program({old, ipClass("huge", hosts(7, 3))})),
            (Results{"installed", "TCAM bank ipv4 of lc1 full (6 of 10 entries used)"}));
  // Without make-before-break the old version goes first and the new one fits.
  hw->entryProgramTimeIs(1e-3);
  auto const done =
      programIs("Ethernet1", program({ipClass("new", hosts(6, 2))}, AddressFamily::ipv4, false));
  scheduler->runFor(0.001);
  EXPECT_EQ(classOf(*hw, "Ethernet1", packetTo("10.1.0.5")), "");
  EXPECT_EQ(classOf(*hw, "Ethernet1", packetTo("10.2.0.5")), "");
  scheduler->runFor(0.01);
  EXPECT_EQ(*done, Results{"installed"});
  EXPECT_EQ(classOf(*hw, "Ethernet1", packetTo("10.2.0.5")), "new");
  EXPECT_EQ(hw->bankUsage("lc1", AddressFamily::ipv4).used, 6u);
}

TEST_F(HardwareModelTest, RangeCheckersAreSharedByEqualRangesAndRunOut) {
  Acl::IpFilter sportRange = ipDst("10.0.0.0/8");
  sportRange.protocolIs(17);
  sportRange.protocolMaskIs(0xff);
  sportRange.sportIs(Acl::PortSpec(Acl::RangeOperator::range, "5 9"));
  auto const dports = withDport(ipDst("10.1.0.0/16"), Acl::RangeOperator::range, "1000 2000");
  auto const single = withDport(ipDst("10.2.0.0/16"), Acl::RangeOperator::range, "7 7");
  auto const eq = withDport(ipDst("10.3.0.0/16"), Acl::RangeOperator::eq, "80");
  Acl::IpFilter length = ipDst("10.4.0.0/16");
  length.ipLenIs(Acl::IpLenSpec(Acl::RangeOperator::range, "100 200"));
  EXPECT_EQ(programAndSettle("Ethernet1", program({ipClass("two", {dports, sportRange, dports}),
                                                   ipClass("singles", {single, eq})})),
            (Results{"installed", "installed"}));
  EXPECT_EQ(hw->rangeCheckersInUse("lc1"), 2u);
  // The same range on another interface of the card shares the checker; a third range finds
  // none free.
  EXPECT_EQ(programAndSettle("Ethernet2",
                             program({ipClass("shared", {dports}), ipClass("third", {length})})),
            (Results{"installed", "range checkers of lc1 exhausted (2 of 2 in use)"}));
  EXPECT_EQ(hw->rangeCheckersInUse("lc1"), 2u);
  hw->programDel(Nwk::IntfId("Ethernet1"), AddressFamily::ipv4);
  EXPECT_EQ(hw->rangeCheckersInUse("lc1"), 1u);
  EXPECT_EQ(programAndSettle("Ethernet2", program({ipClass("third", {length})})),
            Results{"installed"});
  EXPECT_EQ(hw->rangeCheckersInUse("lc1"), 1u);
  hw->programDel(Nwk::IntfId("Ethernet2"), AddressFamily::ipv4);
  EXPECT_EQ(hw->rangeCheckersInUse("lc1"), 0u);
  EXPECT_EQ(hw->bankUsage("lc1", AddressFamily::ipv4).used, 0u);
}

TEST_F(HardwareModelTest, UnsupportedQualifiersArePublishedAndFailTheClassesUsingThem) {
  ASSERT_TRUE(hw->unsupportedQualifierIs("lc1", Acl::aclTypeIpv4, Pbr::qualL4SrcPort));
  ASSERT_TRUE(hw->unsupportedQualifierIs("lc1", Acl::aclTypeIpv6, Pbr::qualProtocol));
  EXPECT_FALSE(hw->unsupportedQualifierIs("lc9", Acl::aclTypeIpv4, Pbr::qualSrcIp));
  auto const feature = statusDp->featureUnsupportedComponent(Acl::aclFeatureFlowspec);
  ASSERT_TRUE(feature);
  auto const v4 = feature->linecard("lc1")->aclType(Acl::aclTypeIpv4);
  ASSERT_TRUE(v4);
  EXPECT_EQ(v4->unsupportedComponent("tcam-key")->qualifier("l4-src-port"), "l4-src-port");
  EXPECT_EQ(feature->linecard("lc1")
                ->aclType(Acl::aclTypeIpv6)
                ->unsupportedComponent("tcam-key")
                ->qualifier("ipv6-next-header"),
            "ipv6-next-header");

  Acl::IpFilter sport = ipDst("10.0.0.0/8");
  sport.sportIs(Acl::PortSpec(Acl::RangeOperator::eq, "53"));
  Acl::IpFilter icmp = ipDst("10.0.0.0/8");
  icmp.protocolIs(1);
  icmp.protocolMaskIs(0xff);
  icmp.icmpTypeIs(8);
  auto const dport = withDport(ipDst("10.0.0.0/8"), Acl::RangeOperator::eq, "53");
  EXPECT_EQ(
      programAndSettle("Ethernet1", program({ipClass("sport", {sport}), ipClass("icmp", {icmp}),
                                             ipClass("dport", {dport})})),
      (Results{"qualifier l4-src-port unsupported on lc1 for ipv4",
               "qualifier l4-src-port unsupported on lc1 for ipv4", "installed"}));
  // Other cards are not concerned.
  EXPECT_EQ(programAndSettle("Ethernet3", program({ipClass("sport", {sport})})),
            Results{"installed"});

  ASSERT_TRUE(hw->unsupportedQualifierIs("lc1", Acl::aclTypeIpv4, Pbr::qualL4SrcPort, false));
  EXPECT_FALSE(feature->linecard("lc1")->aclType(Acl::aclTypeIpv4));
  ASSERT_TRUE(hw->unsupportedQualifierIs("lc1", Acl::aclTypeIpv6, Pbr::qualProtocol, false));
  EXPECT_FALSE(statusDp->featureUnsupportedComponent(Acl::aclFeatureFlowspec));
  EXPECT_EQ(programAndSettle("Ethernet1", program({ipClass("sport", {sport})})),
            Results{"installed"});
}

TEST_F(HardwareModelTest, EntriesTheCardCannotExpressFailTheirClass) {
  auto const reversed = withDport(ipDst("10.0.0.0/8"), Acl::RangeOperator::range, "9 5");
  auto const garbage = withDport(ipDst("10.0.0.0/8"), Acl::RangeOperator::eq, "80x");
  auto const tooBig = withDport(ipDst("10.0.0.0/8"), Acl::RangeOperator::eq, "65536");
  auto const empty = withDport(ipDst("10.0.0.0/8"), Acl::RangeOperator::lt, "0");
  Acl::Ip6Filter longPrefix;
  longPrefix.sourceIs(Nwk::Ip6AddrWithMask(*Nwk::IpGenAddr::parse("2001:db8::"), 129));
  EXPECT_EQ(
      programAndSettle("Ethernet3",
                       program({ipClass("reversed", {reversed}), ipClass("garbage", {garbage}),
                                ipClass("tooBig", {tooBig}), ipClass("empty", {empty})})),
      (Results{"unusable dport condition \"range 9 5\"", "unusable dport condition \"eq 80x\"",
               "unusable dport condition \"eq 65536\"", "unusable dport condition \"lt 0\""}));
  EXPECT_EQ(
      programAndSettle("Ethernet3", program({ip6Class("long", {longPrefix})}, AddressFamily::ipv6)),
      Results{"unusable source prefix 2001:db8::/129"});
  EXPECT_EQ(programAndSettle("Ethernet9", program({ipClass("a", hosts(1))})),
            Results{"interface Ethernet9 is on no line card"});
}

TEST_F(HardwareModelTest, PortConditionsOtherThanRangesUseTheirOperator) {
  struct Case {
    Acl::RangeOperator op;
    char const* text;
    std::uint16_t port;
    bool matches;
  };
  Case const cases[] = {
      {Acl::RangeOperator::lt, "1024", 1023, true},   {Acl::RangeOperator::lt, "1024", 1024, false},
      {Acl::RangeOperator::gt, "1024", 1025, true},   {Acl::RangeOperator::gt, "1024", 1024, false},
      {Acl::RangeOperator::neq, "80", 81, true},      {Acl::RangeOperator::neq, "80", 80, false},
      {Acl::RangeOperator::gt, "65534", 65535, true}, {Acl::RangeOperator::lt, "1", 0, true},
  };
  for (auto const& c : cases) {
    programAndSettle("Ethernet3",
                     program({ipClass("c", {withDport(ipDst("10.0.0.0/8"), c.op, c.text)})}));
    EXPECT_EQ(classOf(*hw, "Ethernet3", packetTo("10.0.0.1", 6, c.port)), c.matches ? "c" : "")
        << Acl::PortSpec(c.op, c.text).toStrep() << " port " << c.port;
  }
}

TEST_F(HardwareModelTest, RemovedOrSupersededRequestsAreNeverDelivered) {
  hw->entryProgramTimeIs(1e-3);
  auto const removed = programIs("Ethernet1", program({ipClass("a", hosts(5))}));
  auto const failedThenRemoved = programIs("Ethernet9", program({ipClass("a", hosts(5))}));
  hw->programDel(Nwk::IntfId("Ethernet1"), AddressFamily::ipv4);
  hw->programDel(Nwk::IntfId("Ethernet9"), AddressFamily::ipv4);
  EXPECT_EQ(hw->bankUsage("lc1", AddressFamily::ipv4).used, 0u);
  auto const superseded = programIs("Ethernet2", program({ipClass("a", hosts(5))}));
  auto const latest = programIs("Ethernet2", program({ipClass("b", hosts(3))}));
  EXPECT_EQ(hw->bankUsage("lc1", AddressFamily::ipv4).used, 3u);
  scheduler->runUntilNoWork(60);
  EXPECT_FALSE(removed->has_value());
  EXPECT_FALSE(failedThenRemoved->has_value());
  EXPECT_FALSE(superseded->has_value());
  EXPECT_EQ(*latest, Results{"installed"});
  // The superseded request's time was not spent: the card went on with the latest at once.
  EXPECT_EQ(classOf(*hw, "Ethernet2", packetTo("10.0.0.2")), "b");
}

}  // namespace
