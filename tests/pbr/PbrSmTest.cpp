// The programming machinery over the hardware model: policies programmed on their interfaces,
// class and interface status, version switches, unbinding and deletion, counters, flags and
// the hooks a feature overrides.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "tests/pbr/PbrHarness.h"
#include "tests/pbr/ProgramHelpers.h"

namespace {

using namespace PbrTest;
using Nwk::AddressFamily;
using PolicyMap::ClassMapMatchOption;

constexpr int kUnknown = 0;
constexpr int kPending = 1;
constexpr int kInstalled = 2;
constexpr int kPartial = 3;
constexpr int kFailed = 4;

class PbrSmTest : public ::testing::Test {
 protected:
  PbrHarness h;
};

TEST_F(PbrSmTest, PoliciesBecomeProgrammedOnEveryBoundInterface) {
  auto const webVersion =
      h.classMapIs("web", {withDport(ipDst("10.1.0.0/16"), Acl::RangeOperator::eq, "80")});
  h.classMapIs("dns6", {}, {ip6Dst("2001:db8::/32")});
  h.classMapIs("rest", {ipDst("10.0.0.0/8")});
  auto const version = h.policyIs("red", {{"web"}, {"dns6"}, {"rest", true}});
  h.bind("Ethernet1", "red");
  h.bind("Ethernet2", "red");
  auto const sm = h.start({}, false);
  EXPECT_FALSE(h.status("red"));
  EXPECT_EQ(h.hw->forwardingEntries(Nwk::IntfId("Ethernet1"), AddressFamily::ipv4), 0u);

  sm->initializedIs(true);
  for (auto const* cls : {"web", "dns6", "rest"}) {
    EXPECT_EQ(h.classState("red", cls), kPending) << cls;
  }
  EXPECT_EQ(h.installed("red", "Ethernet1"), "unknown");
  // A reader hears of a class's new state before the interface news that follows from it, so
  // that it can tell the classes reported from those that are not.
  struct Heard {
    int classState = kUnknown;
    std::vector<int> atIntfNews;  // the class state heard at each IPv4 interface news
  } heard;
  struct ClassWatch : PolicyMap::ClassMapStatus::Reactor {
    ClassWatch(Cog::Ptr<PolicyMap::ClassMapStatus const> const& status, Heard& into)
        : Reactor(status), heard(into) {}
    void handleClassState() override {
      heard.classState = static_cast<int>(notifier()->classState());
    }
    Heard& heard;
  } const classWatch(h.status("red")->cmap("web"), heard);
  struct IntfWatch : PolicyMap::IntfStatus::Reactor {
    IntfWatch(Cog::Ptr<PolicyMap::IntfStatus const> const& status, Heard& into)
        : Reactor(status), heard(into) {}
    void handleInstalled(ClassMapMatchOption const& option) override {
      if (option == ClassMapMatchOption::matchIpAccessGroup) {  // the family of "web"
        heard.atIntfNews.push_back(heard.classState);
      }
    }
    Heard& heard;
  };
  IntfWatch const watch1(h.status("red")->intfStatus(Nwk::IntfId("Ethernet1")), heard);
  IntfWatch const watch2(h.status("red")->intfStatus(Nwk::IntfId("Ethernet2")), heard);
  h.settle();
  ASSERT_EQ(heard.atIntfNews.size(), 2u);
  EXPECT_EQ(heard.atIntfNews.back(), kInstalled);  // the second interface completed the class
  for (auto const* cls : {"web", "dns6", "rest"}) {
    EXPECT_EQ(h.classState("red", cls), kInstalled) << cls;
  }
  for (auto const* intf : {"Ethernet1", "Ethernet2"}) {
    EXPECT_EQ(h.installed("red", intf), "installed");
    EXPECT_EQ(h.installed("red", intf, ClassMapMatchOption::matchIpv6AccessGroup), "installed");
  }
  EXPECT_EQ(h.status("red")->version(), version);
  EXPECT_EQ(h.status("red")->cmap("web")->version(), webVersion);
  EXPECT_EQ(classOf(*h.hw, "Ethernet1", packetTo("10.1.2.3", 6, 80)), "web");
  auto const denied = h.hw->classify(Nwk::IntfId("Ethernet2"), packetTo("10.2.0.0"));
  EXPECT_EQ(denied.className, "rest");
  EXPECT_TRUE(denied.action.deny);
  EXPECT_EQ(classOf(*h.hw, "Ethernet2", packetTo("2001:db8::1")), "dns6");
  EXPECT_EQ(classOf(*h.hw, "Ethernet3", packetTo("10.2.0.0")), "");
}

TEST_F(PbrSmTest, ALargePolicyIsVisiblyInProgressBeforeItIsInstalled) {
  h.hw->entryProgramTimeIs(10e-6);
  h.classMapIs("big", hosts(10000));
  h.policyIs("red", {{"big"}});
  h.bind("Ethernet2", "red");
  h.start();
  h.scheduler->runFor(0.05);
  EXPECT_EQ(h.classState("red", "big"), kPending);
  EXPECT_TRUE(h.hw->programming(Nwk::IntfId("Ethernet2"), AddressFamily::ipv4));
  EXPECT_NE(h.status("red")->version(), h.pmapTypeConfig->pmap("red")->currCfg()->version());
  h.scheduler->runFor(0.06);
  EXPECT_EQ(h.classState("red", "big"), kInstalled);
  EXPECT_EQ(h.status("red")->version(), h.pmapTypeConfig->pmap("red")->currCfg()->version());
}

TEST_F(PbrSmTest, ClassStatesAggregateTheInterfacesOfTheirFamily) {
  h.hw->unsupportedQualifierIs("lc1", Acl::aclTypeIpv4, Pbr::qualL4DstPort);
  h.hw->unsupportedQualifierIs("lc2", Acl::aclTypeIpv4, Pbr::qualL4DstPort);
  h.classMapIs("big", hosts(900, 1));
  h.classMapIs("huge", hosts(2000, 2));
  h.classMapIs("ports", {withDport(ipDst("10.3.0.0/16"), Acl::RangeOperator::eq, "80")});
  h.classMapIs("v6only", {}, {ip6Dst("2001:db8::/32")});
  h.policyIs("red", {{"big"}, {"huge"}, {"ports"}, {"v6only"}});
  h.bind("Ethernet1", "red");
  h.bind("Ethernet2", "red");
  h.start();
  h.settle();
  EXPECT_EQ(h.classState("red", "big"), kInstalled);
  EXPECT_EQ(h.classState("red", "huge"), kPartial);
  EXPECT_EQ(h.classState("red", "ports"), kFailed);
  EXPECT_EQ(h.classState("red", "v6only"), kInstalled);
  EXPECT_EQ(h.installed("red", "Ethernet1"),
            "TCAM bank ipv4 of lc1 full (900 of 1000 entries used)");
  EXPECT_EQ(h.installed("red", "Ethernet2"), "qualifier l4-dst-port unsupported on lc2 for ipv4");
  // Unbinding the card that was short of room leaves the class installed where it is bound.
  h.unbind("Ethernet1");
  EXPECT_EQ(h.classState("red", "huge"), kInstalled);
  h.unbind("Ethernet2");
  EXPECT_EQ(h.classState("red", "huge"), kUnknown);
  EXPECT_EQ(h.classState("red", "v6only"), kUnknown);
}

// A class the new version keeps as it was stays installed throughout; only what changes is
// pending.
TEST_F(PbrSmTest, AVersionSwitchClassifiesByTheOldVersionUntilTheNewIsIn) {
  h.hw->entryProgramTimeIs(10e-6);
  h.classMapIs("rest", {ipDst("10.0.0.0/8")});
  h.classMapIs("same", {ipDst("192.0.2.0/24")});
  h.classMapIs("big", hosts(5000, 5));
  h.policyIs("red", {{"rest"}, {"same"}});
  h.bind("Ethernet2", "red");
  h.start();
  h.settle();
  h.policyIs("red", {{"big"}, {"rest", true}, {"same"}});
  // 5001 entries to write: 50.01 ms, during which the old version answers.
  for (int ms = 1; ms <= 50; ++ms) {
    h.scheduler->runFor(0.001);
    auto const got = h.hw->classify(Nwk::IntfId("Ethernet2"), packetTo("10.5.0.1"));
    ASSERT_EQ(got.className, "rest") << ms;
    ASSERT_FALSE(got.action.deny) << ms;
    ASSERT_EQ(h.classState("red", "big"), kPending);
    ASSERT_EQ(h.classState("red", "rest"), kPending);
    ASSERT_EQ(h.classState("red", "same"), kInstalled);
    ASSERT_EQ(h.installed("red", "Ethernet2"), "installed");
  }
  h.scheduler->runFor(0.001);
  EXPECT_EQ(h.classState("red", "big"), kInstalled);
  EXPECT_EQ(classOf(*h.hw, "Ethernet2", packetTo("10.5.0.1")), "big");
  EXPECT_TRUE(h.hw->classify(Nwk::IntfId("Ethernet2"), packetTo("10.6.0.1")).action.deny);
}

TEST_F(PbrSmTest, UnboundInterfacesAndDeletedPoliciesLeaveNoEntries) {
  h.classMapIs("a", hosts(10, 1), {ip6Dst("2001:db8::/32")});
  h.policyIs("red", {{"a"}});
  for (auto const* intf : {"Ethernet1", "Ethernet2", "Ethernet3"}) {
    h.bind(intf, "red");
  }
  h.start();
  h.settle();
  EXPECT_EQ(h.hw->bankUsage("lc2", AddressFamily::ipv4).used, 20u);
  h.unbind("Ethernet3");
  EXPECT_EQ(h.hw->forwardingEntries(Nwk::IntfId("Ethernet3"), AddressFamily::ipv4), 0u);
  EXPECT_EQ(h.hw->bankUsage("lc2", AddressFamily::ipv4).used, 10u);
  EXPECT_EQ(h.installed("red", "Ethernet3"), "-");
  EXPECT_FALSE(h.status("red")->intfStatus(Nwk::IntfId("Ethernet3")));
  EXPECT_EQ(classOf(*h.hw, "Ethernet3", packetTo("10.1.0.1")), "");

  h.policyDel("red");
  EXPECT_FALSE(h.status("red"));
  for (auto const* lc : {"lc1", "lc2"}) {
    for (auto const af : {AddressFamily::ipv4, AddressFamily::ipv6}) {
      EXPECT_EQ(h.hw->bankUsage(lc, af).used, 0u) << lc;
    }
  }
  EXPECT_EQ(classOf(*h.hw, "Ethernet1", packetTo("10.1.0.1")), "");
  // The interfaces that still name the policy are taken up again when it comes back.
  h.policyIs("red", {{"a"}});
  h.settle();
  EXPECT_EQ(h.installed("red", "Ethernet1"), "installed");
  EXPECT_EQ(h.installed("red", "Ethernet3"), "-");
}

TEST_F(PbrSmTest, ACounterRequestIsAnsweredWithCountsFirstThenTheTime) {
  h.classMapIs("a", {ipDst("10.1.0.0/16")});
  h.classMapIs("b", {ipDst("10.2.0.0/16")});
  h.policyIs("red", {{"a"}, {"b"}});
  h.bind("Ethernet1", "red");
  h.bind("Ethernet2", "red");
  h.start();
  h.settle();
  for (int i = 0; i < 3; ++i) {
    h.hw->classify(Nwk::IntfId("Ethernet1"), packetTo("10.1.0.1"));
  }
  h.hw->classify(Nwk::IntfId("Ethernet2"), packetTo("10.1.0.1"));
  h.hw->classify(Nwk::IntfId("Ethernet2"), packetTo("10.2.0.1"));

  // Records the counts of "a" as they stand when the time is written.
  struct Watch : PolicyMap::PolicyMapStatus::Reactor {
    using Reactor::Reactor;
    void handleCounterUpdateTime() override { seen = notifier()->cmap("a")->packetCount(); }
    std::uint64_t seen = 0;
  } watch(h.status("red"));

  h.scheduler->runFor(5);
  double const requested = h.scheduler->now();
  h.pmapTypeConfig->counterUpdateRequestTimeIs("red", requested);
  EXPECT_EQ(h.status("red")->counterUpdateTime(), 0.0);
  h.scheduler->runUntilIdle();
  EXPECT_EQ(h.status("red")->counterUpdateTime(), requested);
  EXPECT_EQ(watch.seen, 4u);
  EXPECT_EQ(h.status("red")->cmap("b")->packetCount(), 1u);

  // A status request is served by the same refresh.
  h.hw->classify(Nwk::IntfId("Ethernet1"), packetTo("10.2.0.1"));
  h.scheduler->runFor(1);
  h.statusRequestDir->requestIs("red", h.scheduler->now());
  h.scheduler->runUntilIdle();
  EXPECT_EQ(h.status("red")->cmap("b")->packetCount(), 2u);
  EXPECT_EQ(h.status("red")->counterUpdateTime(), requested + 1);
}

TEST_F(PbrSmTest, AClassMapVersionChangeReprogramsAndAWithdrawnClassMapUnprograms) {
  h.classMapIs("a", {ipDst("10.1.0.0/16")});
  h.policyIs("red", {{"a"}, {"later"}});
  h.bind("Ethernet2", "red");
  h.start();
  h.settle();
  EXPECT_EQ(h.classState("red", "later"), kUnknown);
  auto const version = h.classMapIs("a", {ipDst("10.9.0.0/16")});
  h.classMapIs("later", {ipDst("10.0.0.0/8")});
  h.settle();
  EXPECT_EQ(h.status("red")->cmap("a")->version(), version);
  EXPECT_EQ(classOf(*h.hw, "Ethernet2", packetTo("10.9.0.1")), "a");
  EXPECT_EQ(classOf(*h.hw, "Ethernet2", packetTo("10.1.0.1")), "later");
  EXPECT_EQ(h.classState("red", "later"), kInstalled);
  h.cmapTypeConfig->cmapDel("later");
  h.settle();
  EXPECT_EQ(h.classState("red", "later"), kUnknown);
  EXPECT_EQ(classOf(*h.hw, "Ethernet2", packetTo("10.1.0.1")), "");
}

// A feature's own policy state machine: class-map changes alone do nothing.
class QuietPolicyMapSm : public PolicyMap::PolicyMapSm {
 public:
  using PolicyMapSm::PolicyMapSm;
  void handleClassMap(Cog::SharedString const& name) override { seen.push_back(name.str()); }
  std::vector<std::string> seen;
};

class QuietPbrSm : public Orb::OrbPbrSm {
 public:
  using OrbPbrSm::OrbPbrSm;
  Cog::Ptr<PolicyMap::PolicyMapSm> createPolicyMapSm(
      PolicyMap::PolicyMapSmKey const& key, Cog::Ptr<PolicyMap::PolicyMapConfig const> config,
      Cog::Ptr<PolicyMap::PolicyMapStatus> status) override {
    return Cog::make<QuietPolicyMapSm>(globalData(), key, std::move(config), cmapTypeConfig(),
                                       std::move(status), pmapTypeConfig(), intfConfig(),
                                       timerWheel());
  }
};

TEST_F(PbrSmTest, AFeatureSuppliesItsOwnPolicyStateMachine) {
  h.classMapIs("a", {ipDst("10.1.0.0/16")});
  h.policyIs("red", {{"a"}});
  h.bind("Ethernet2", "red");
  auto const sm = h.start<QuietPbrSm>();
  h.settle();
  auto const policy = Cog::ptrDynamicCast<QuietPolicyMapSm>(sm->policyMapSm("red"));
  ASSERT_TRUE(policy);
  // "b" is listed before its class-map exists, as a feature may when it publishes a version
  // in the middle of translating its classes.
  h.policyIs("red", {{"a"}, {"b"}}, true);
  h.settle();
  h.classMapIs("a", {ipDst("10.9.0.0/16")});
  h.classMapIs("b", {ipDst("10.2.0.0/16")});
  h.settle();
  EXPECT_EQ(policy->seen, (std::vector<std::string>{"a", "b", "b"}));
  EXPECT_EQ(classOf(*h.hw, "Ethernet2", packetTo("10.1.0.1")), "a");
  EXPECT_EQ(h.classState("red", "b"), kUnknown);
  // A new policy version picks the class-maps up as they stand, also for classes whose action
  // and place stayed.
  h.policyIs("red", {{"a"}, {"b"}}, true);
  h.settle();
  EXPECT_EQ(classOf(*h.hw, "Ethernet2", packetTo("10.9.0.1")), "a");
  EXPECT_EQ(classOf(*h.hw, "Ethernet2", packetTo("10.1.0.1")), "");
  EXPECT_EQ(classOf(*h.hw, "Ethernet2", packetTo("10.2.0.1")), "b");
  EXPECT_EQ(h.classState("red", "b"), kInstalled);
}

TEST_F(PbrSmTest, WithoutADataplaneEveryInterfaceFails) {
  h.aclHelper = Cog::make<PolicyMap::PolicyMapAclHelper>();
  h.classMapIs("a", {ipDst("10.1.0.0/16")});
  h.policyIs("red", {{"a"}});
  h.bind("Ethernet2", "red");
  h.start();
  EXPECT_EQ(h.installed("red", "Ethernet2"), "no dataplane to program the policy");
  EXPECT_EQ(h.classState("red", "a"), kFailed);
  h.pmapTypeConfig->counterUpdateRequestTimeIs("red", h.scheduler->now());
  EXPECT_EQ(h.status("red")->counterUpdateTime(), h.scheduler->now());
}

TEST_F(PbrSmTest, UnknownInterfacesFailOrAreSkippedAndAreRetriedOnRequest) {
  h.classMapIs("a", {ipDst("10.1.0.0/16")});
  h.policyIs("red", {{"a"}});
  h.bind("Ethernet9", "red");
  auto sm = h.start();
  h.settle();
  EXPECT_EQ(h.installed("red", "Ethernet9"), "interface Ethernet9 is on no line card");
  EXPECT_EQ(h.classState("red", "a"), kFailed);
  // Once the interface exists, evaluating its binding again retries what failed.
  h.hw->intfIs(Nwk::IntfId("Ethernet9"), "lc2");
  sm->handleIntf(Nwk::IntfId("Ethernet9"), false, PolicyMap::IntfBindingKind::intfBindingInput);
  h.settle();
  EXPECT_EQ(h.installed("red", "Ethernet9"), "installed");
  EXPECT_EQ(h.classState("red", "a"), kInstalled);

  PbrHarness skipping;
  skipping.classMapIs("a", {ipDst("10.1.0.0/16")});
  skipping.policyIs("red", {{"a"}});
  skipping.bind("Ethernet9", "red");
  skipping.start({.skipUnknownIntfs = true});
  skipping.settle();
  EXPECT_FALSE(skipping.status("red")->intfStatus(Nwk::IntfId("Ethernet9")));
  EXPECT_EQ(skipping.classState("red", "a"), kUnknown);
}

TEST_F(PbrSmTest, AtomicInstallFailsTheWholeVersionOnAnInterfaceAndKeepsTheOld) {
  h.classMapIs("big", hosts(900, 1));
  h.classMapIs("huge", hosts(2000, 2));
  h.policyIs("red", {{"big"}});
  h.bind("Ethernet1", "red");
  h.start({.atomicInstall = true});
  h.settle();
  h.policyIs("red", {{"big"}, {"huge"}});
  h.settle();
  EXPECT_EQ(h.classState("red", "big"), kFailed);
  EXPECT_EQ(classOf(*h.hw, "Ethernet1", packetTo("10.1.0.1")), "big");
  EXPECT_EQ(h.installed("red", "Ethernet1"),
            "TCAM bank ipv4 of lc1 full (900 of 1000 entries used)");
  EXPECT_EQ(h.hw->bankUsage("lc1", AddressFamily::ipv4).used, 900u);
}

TEST_F(PbrSmTest, AnInterfaceMovingToAnotherPolicyIsReleasedFirst) {
  h.classMapIs("a", {ipDst("10.1.0.0/16")});
  h.classMapIs("b", {ipDst("10.2.0.0/16")});
  h.policyIs("red", {{"a"}});
  h.policyIs("blue", {{"b"}});
  h.bind("Ethernet2", "red");
  h.start();
  h.settle();
  h.bind("Ethernet2", "blue");
  h.settle();
  EXPECT_EQ(h.installed("red", "Ethernet2"), "-");
  EXPECT_EQ(h.installed("blue", "Ethernet2"), "installed");
  EXPECT_EQ(h.classState("red", "a"), kUnknown);
  EXPECT_EQ(classOf(*h.hw, "Ethernet2", packetTo("10.2.0.1")), "b");
  EXPECT_EQ(classOf(*h.hw, "Ethernet2", packetTo("10.1.0.1")), "");
}

// Versions whose class lists change at random (classes come, go, move, are listed twice) end
// where a machinery started on the last version ends: the same statuses and, class order
// deciding, the same class for every packet.
TEST(PbrSmRandomTest, ClassListChangesEndWhereAFreshStartEnds) {
  std::vector<std::string> const names = {"c0", "c1", "c2", "c3", "c4", "c5", "c6", "ghost"};
  auto const setUp = [&names](PbrHarness& h) {
    for (std::size_t k = 0; k + 1 < names.size(); ++k) {  // the ghost has no class-map
      std::vector<Acl::Ip6Filter> ip6;
      if (k >= 4) {
        ip6.push_back(ip6Dst("2001:db8:" + std::to_string(k % 2) + "::/48"));
      }
      h.classMapIs(names[k], {ipDst("10." + std::to_string(k % 3) + ".0.0/16")}, ip6);
    }
    h.bind("Ethernet1", "red");
    h.bind("Ethernet2", "red");
  };
  auto const outputs = [](PbrHarness& h) {
    std::string out;
    for (auto const& [name, cmap] : h.status("red")->cmap()) {
      out += name.str() + "=" + std::to_string(static_cast<int>(cmap->classState())) + " ";
    }
    for (auto const* dst : {"10.0.0.1", "10.1.0.1", "10.2.0.1", "2001:db8::1", "2001:db8:1::1"}) {
      out += std::string(dst) + ">" + classOf(*h.hw, "Ethernet1", packetTo(dst)) + "," +
             classOf(*h.hw, "Ethernet2", packetTo(dst)) + " ";
    }
    return out;
  };
  for (unsigned seed = 1; seed <= 40; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 rng(seed);
    auto const pick = [&] { return ClassSpec{names[rng() % names.size()], rng() % 4 == 0}; };
    PbrHarness h;
    setUp(h);
    h.start();
    std::vector<ClassSpec> list;
    for (int step = 0; step < 30; ++step) {
      for (int change = 1 + static_cast<int>(rng() % 2); change > 0; --change) {
        std::size_t const at = list.empty() ? 0 : rng() % list.size();
        switch (rng() % 5) {
          case 0:
          case 1:
            list.insert(list.begin() + static_cast<std::ptrdiff_t>(at), pick());
            break;
          case 2:
            if (!list.empty()) {
              list.erase(list.begin() + static_cast<std::ptrdiff_t>(at));
            }
            break;
          case 3:
            if (!list.empty()) {
              std::swap(list[at], list[rng() % list.size()]);
            }
            break;
          default:
            list.resize(rng() % 6);
            for (auto& spec : list) {
              spec = pick();
            }
        }
      }
      h.policyIs("red", list, rng() % 2 == 0);
      if (rng() % 3 == 0) {
        h.settle();
      }
    }
    h.settle();
    PbrHarness fresh;
    setUp(fresh);
    fresh.policyIs("red", list);
    fresh.start();
    fresh.settle();
    ASSERT_EQ(outputs(h), outputs(fresh));
  }
}

}  // namespace
