// The walk at start: resumable, interleaved with notifications, and robust to refused keys.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "OrbFlowspec/digestion/RuleSetSm.h"
#include "platform/cog/Errors.h"
#include "platform/kiln/TaskScheduler.h"
#include "platform/trace/CaptureSink.h"

namespace {

Flowspec::Rule makeRule(Vrf::VrfIdMap::VrfId vrf, std::string const& text, std::uint64_t id) {
  Flowspec::FlowspecKey key;
  key.copyInStringValue(text);
  Flowspec::Rule rule;
  rule.key = Flowspec::FlowspecTidalKey(vrf, key);
  rule.ruleId = id;
  rule.actionFieldSet = Flowspec::ActionFieldSet(Flowspec::ActionFieldSet::kDeny);
  return rule;
}

std::string ruleText(int i) {
  switch (i % 4) {
    case 0:
      return "ipv4 dport =" + std::to_string(i);
    case 1:
      return "ipv4 proto =6 sport >=" + std::to_string(i % 60000) + "&<=60000";
    case 2:
      return "ipv6 tcp-flags =syn len <" + std::to_string(i % 1000);
    default:
      return "ipv4 dport <0 len =" + std::to_string(i);  // infeasible
  }
}

std::string digested(Flowspec::Config const& config) {
  Kiln::DumpContext dump;
  config.dumpState(&dump, 0);
  return dump.text();
}

TEST(RuleSetWalk, YieldingWalkWithNotificationsEndsLikeAStraightWalk) {
  auto ruleSet = Cog::make<Flowspec::RuleSet>();
  for (int i = 0; i < 3000; ++i) {
    ruleSet->ruleIs(makeRule(1 + i % 3, ruleText(i), static_cast<std::uint64_t>(i)));
  }
  auto scheduler = Kiln::simulatedTaskSchedulerFactory();
  auto config = Cog::make<Flowspec::Config>();
  auto walker = OrbFlowspec::ruleSetSmFactory(scheduler, ruleSet, config);
  walker->quantumIs(7);
  walker->manualTestIs(true);  // the test runs the steps, with changes in between
  std::mt19937 rng(3);
  int steps = 0;
  while (walker->walkState() != Kiln::WalkSmBase::WalkState::finished) {
    walker->unpauseWalk();
    ++steps;
    // Changes land between the steps: new rules, withdrawn rules, changed actions.
    int const i = static_cast<int>(rng() % 4000);
    if (rng() % 2) {
      ruleSet->ruleIs(makeRule(1 + i % 3, ruleText(i), 7));
    } else {
      ruleSet->ruleDel(makeRule(1 + i % 3, ruleText(i), 0).key);
    }
    ASSERT_LT(steps, 10000);
  }
  EXPECT_GT(steps, 400);
  EXPECT_TRUE(walker->fullWalkDone());
  EXPECT_TRUE(walker->ruleBookmark().isEmpty());

  auto freshConfig = Cog::make<Flowspec::Config>();
  auto fresh = OrbFlowspec::ruleSetSmFactory(scheduler, ruleSet, freshConfig);
  fresh->quantumIs(100000);
  scheduler->runUntilIdle();
  EXPECT_EQ(digested(*config), digested(*freshConfig));
}

TEST(RuleSetWalk, StartDiscardsWhatAnEarlierInstanceWrote) {
  auto scheduler = Kiln::simulatedTaskSchedulerFactory();
  auto ruleSet = Cog::make<Flowspec::RuleSet>();
  auto config = Cog::make<Flowspec::Config>();
  Flowspec::FlowspecKey stale;
  stale.copyInStringValue("ipv4 dport =1");
  config->vrfRuleConfigIs(9)->ruleIs(stale);
  ruleSet->ruleIs(makeRule(1, "ipv4 dport =2", 1));
  auto walker = OrbFlowspec::ruleSetSmFactory(scheduler, ruleSet, config);
  scheduler->runUntilIdle();
  EXPECT_FALSE(config->vrfRuleConfig(9));
  ASSERT_TRUE(config->vrfRuleConfig(1));
  EXPECT_EQ(config->vrfRuleConfig(1)->rule().size(), 1u);
}

TEST(RuleSetWalk, WithdrawnAndReplacedRules) {
  auto scheduler = Kiln::simulatedTaskSchedulerFactory();
  auto ruleSet = Cog::make<Flowspec::RuleSet>();
  auto config = Cog::make<Flowspec::Config>();
  auto walker = OrbFlowspec::ruleSetSmFactory(scheduler, ruleSet, config);
  scheduler->runUntilIdle();
  auto const infeasible = makeRule(4, "ipv4 dport <0", 1);
  ruleSet->ruleIs(infeasible);
  Flowspec::FlowspecKey const key = infeasible.key.getFlowspecKey();
  ASSERT_TRUE(config->vrfRuleConfig(4)->infeasibleRule(key));
  EXPECT_EQ(config->vrfRuleConfig(4)->infeasibleRule(key)->ruleId(), 1u);
  EXPECT_FALSE(config->vrfRuleConfig(4)->rule(key));
  ruleSet->ruleDel(infeasible.key);
  EXPECT_FALSE(config->vrfRuleConfig(4));  // deleted with its last rule

  auto rule = makeRule(4, "ipv4 dport =80", 2);
  ruleSet->ruleIs(rule);
  auto const ruleConfig = config->vrfRuleConfig(4)->rule(rule.key.getFlowspecKey());
  ASSERT_TRUE(ruleConfig);
  EXPECT_TRUE(ruleConfig->actionFieldSet().deny());
  rule.actionFieldSet = Flowspec::ActionFieldSet(Flowspec::ActionFieldSet::kPermit);
  ruleSet->ruleIs(rule);  // same key, new actions
  EXPECT_TRUE(ruleConfig->actionFieldSet().permit());
}

// Watchers of a VRF's rules never see a rule half digested: a new rule appears once, whole,
// and an infeasible one not at all.
TEST(RuleSetWalk, ANewRuleAppearsWholeAndAnInfeasibleOneNever) {
  struct Watcher : Flowspec::VrfRuleConfig::Reactor {
    using Reactor::Reactor;
    void handleRule(Flowspec::FlowspecKey const& key) override {
      auto const rule = notifier()->rule(key);
      seen.push_back(key.stringValue() +
                     (rule ? " components " + std::to_string(rule->matchSet().size()) +
                                 (rule->actionFieldSet().deny() ? " deny" : "")
                           : " gone"));
    }
    std::vector<std::string> seen;
  };
  auto scheduler = Kiln::simulatedTaskSchedulerFactory();
  auto ruleSet = Cog::make<Flowspec::RuleSet>();
  auto config = Cog::make<Flowspec::Config>();
  auto walker = OrbFlowspec::ruleSetSmFactory(scheduler, ruleSet, config);
  scheduler->runUntilIdle();
  Watcher watcher(config->vrfRuleConfigIs(4));
  ruleSet->ruleIs(makeRule(4, "ipv4 dport <0", 1));
  auto const rule = makeRule(4, "ipv4 proto =6 dport =80", 2);
  ruleSet->ruleIs(rule);
  std::string const text = rule.key.getFlowspecKey().stringValue();
  EXPECT_EQ(watcher.seen, std::vector<std::string>{text + " components 2 deny"});
  ruleSet->ruleDel(rule.key);
  EXPECT_EQ(watcher.seen.back(), text + " gone");
}

TEST(RuleSetWalk, RefusedKeysAreTracedAndTheOthersDigested) {
  auto scheduler = Kiln::simulatedTaskSchedulerFactory();
  auto ruleSet = Cog::make<Flowspec::RuleSet>();
  // 2048 pairs: the run splitter probes index 2048.
  Flowspec::FlowspecKey full;
  for (int i = 0; i < 2048; ++i) {
    full.opValAppend(Flowspec::MatchCompType::destinationPort, 0x81, 80);
  }
  Flowspec::Rule big;
  big.key = Flowspec::FlowspecTidalKey(1, full);
  big.ruleId = 1;
  ruleSet->ruleIs(big);
  // A key of no address family.
  std::uint32_t const words[] = {
      Flowspec::FlowspecTidalKey::pack(Flowspec::MatchCompType::destinationPort, 0x81, 80)};
  Flowspec::Rule bad;
  bad.key = Flowspec::FlowspecTidalKey(1, 7, {}, {}, words, 1);
  bad.ruleId = 2;
  ruleSet->ruleIs(bad);
  ruleSet->ruleIs(makeRule(1, "ipv4 dport =443", 3));

  auto config = Cog::make<Flowspec::Config>();
  Trace::ScopedCapture capture;
  auto walker = OrbFlowspec::ruleSetSmFactory(scheduler, ruleSet, config);
  scheduler->runUntilIdle();
  EXPECT_TRUE(capture->contains(
      "key " + full.stringValue() +
      ": MatchOpValIndex::value < MatchOpValIndex::min or > MatchOpValIndex::max not allowed"));
  EXPECT_TRUE(capture->contains("FlowspecTidalKey::af not ipv4 or ipv6 not allowed"));
  // The refused key ends infeasible with the type of its last run, never half digested.
  EXPECT_FALSE(config->vrfRuleConfig(1)->rule(full));
  ASSERT_TRUE(config->vrfRuleConfig(1)->infeasibleRule(full));
  EXPECT_EQ(config->vrfRuleConfig(1)->infeasibleRule(full)->matchCompType(),
            Flowspec::MatchCompType::destinationPort);
  Flowspec::FlowspecKey good;
  good.copyInStringValue("ipv4 dport =443");
  EXPECT_TRUE(config->vrfRuleConfig(1)->rule(good));
  EXPECT_TRUE(walker->fullWalkDone());
}

TEST(RuleSetWalk, WithoutATableWatchesNothingAndNeedsItsOutputs) {
  auto scheduler = Kiln::simulatedTaskSchedulerFactory();
  auto config = Cog::make<Flowspec::Config>();
  auto walker = OrbFlowspec::ruleSetSmFactory(scheduler, nullptr, config);
  scheduler->runUntilIdle();
  EXPECT_TRUE(walker->fullWalkDone());
  EXPECT_TRUE(config->vrfRuleConfig().empty());
  try {
    OrbFlowspec::ruleSetSmFactory(scheduler, Cog::make<Flowspec::RuleSet>(), nullptr);
    FAIL() << "a walker without its configuration was made";
  } catch (Cog::NullArgumentError const& error) {
    EXPECT_STREQ(error.what(), "Null config not allowed");
  }
}

TEST(RuleSetWalk, CorruptEntryReadsAsWithdrawn) {
  auto scheduler = Kiln::simulatedTaskSchedulerFactory();
  auto ruleSet = Cog::make<Flowspec::RuleSet>();
  std::vector<Flowspec::FlowspecTidalKey> corrupted;
  ruleSet->corruptionHandlerIs(
      [&](Flowspec::FlowspecTidalKey const& key) { corrupted.push_back(key); });
  auto config = Cog::make<Flowspec::Config>();
  auto walker = OrbFlowspec::ruleSetSmFactory(scheduler, ruleSet, config);
  auto const rule = makeRule(1, "ipv4 dport =80", 1);
  ruleSet->ruleIs(rule);
  ASSERT_TRUE(config->vrfRuleConfig(1));
  static_cast<Tidal::InProcessBacking<Flowspec::FlowspecTidalKey, Flowspec::Rule>&>(
      ruleSet->backing())
      .corruptIs(rule.key);
  walker->handleRule(rule.key);
  EXPECT_EQ(corrupted, std::vector<Flowspec::FlowspecTidalKey>{rule.key});
  EXPECT_FALSE(config->vrfRuleConfig(1));
}

TEST(RuleSetWalk, SanitizingCanBeSwitchedOff) {
  auto scheduler = Kiln::simulatedTaskSchedulerFactory();
  auto ruleSet = Cog::make<Flowspec::RuleSet>();
  auto config = Cog::make<Flowspec::Config>();
  auto walker = OrbFlowspec::ruleSetSmFactory(scheduler, ruleSet, config);
  scheduler->runUntilIdle();
  auto const rule = makeRule(1, "ipv4 flow-label =5", 1);
  ruleSet->ruleIs(rule);
  EXPECT_TRUE(config->vrfRuleConfig(1)->infeasibleRule(rule.key.getFlowspecKey()));
  walker->sanitizeRuleConfigIs(false);
  ruleSet->ruleIs(makeRule(1, "ipv4 flow-label =6", 1));
  Flowspec::FlowspecKey key;
  key.copyInStringValue("ipv4 flow-label =6");
  EXPECT_TRUE(config->vrfRuleConfig(1)->rule(key));
}

}  // namespace
