// The configuration side: version switches, find-or-create by map type, publishing, dumps.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <unordered_map>
#include <vector>

#include "models/policymap/Config.h"
#include "models/policymap/IntfConfig.h"

namespace {

using PolicyMap::mapTypeFlowspec;

// Counts the version switches a programming machinery would see.
class CurrCfgWatcher : public PolicyMap::PolicyMapConfig::Reactor {
 public:
  using Reactor::Reactor;
  // Raw pointers, so that the watcher keeps no version alive.
  void handleCurrCfg() override { seen.push_back(notifier()->currCfg().get()); }
  std::vector<PolicyMap::PolicyMapSubConfig const*> seen;
};

TEST(PolicyMapConfig, SwitchToNewVersionThenDeleteOldKeepsTheNew) {
  auto const pmap = Cog::make<PolicyMap::PolicyMapConfig>("red", mapTypeFlowspec);
  CurrCfgWatcher watcher(pmap);
  Kiln::UniqueId const v1(1, 1);
  Kiln::UniqueId const v2(1, 2);
  auto const first = pmap->subconfigIs("red", v1);
  first->classPrioIs(1, "c1");
  pmap->currCfgIs(first);

  auto const second = pmap->subconfigIs("red", v2);
  EXPECT_NE(second, first);
  // Built from the first: changing the copy leaves the version in use as it was.
  second->classPrioShareFrom(*first);
  second->classPrioIs(2, "c2");
  second->classActionIs("c2", Cog::make<PolicyMap::ClassAction>("c2"));
  EXPECT_EQ(first->classPrio().size(), 1u);
  pmap->currCfgIs(second);
  pmap->subconfigDel(v1);

  EXPECT_EQ(pmap->currCfg(), second);
  EXPECT_EQ(pmap->currCfg()->version(), v2);
  EXPECT_EQ(pmap->currCfg()->classPrio().size(), 2u);
  EXPECT_EQ(pmap->currCfg()->classPrio(2), "c2");
  EXPECT_TRUE(pmap->currCfg()->classAction("c2"));
  EXPECT_EQ(pmap->subconfig().size(), 1u);
  EXPECT_EQ(pmap->subconfig(v1), nullptr);
  EXPECT_EQ(pmap->subconfig(v2), second);
  EXPECT_EQ(first->refCount(), 1u);  // only this test still holds the old version
  EXPECT_EQ(watcher.seen,
            (std::vector<PolicyMap::PolicyMapSubConfig const*>{first.get(), second.get()}));

  // Finding a version again returns it; clearing leaves the selected one alive until replaced.
  EXPECT_EQ(pmap->subconfigIs("red", v2), second);
  pmap->subconfigDelAll();
  EXPECT_TRUE(pmap->subconfig().empty());
  EXPECT_EQ(pmap->currCfg(), second);
  pmap->currCfgIs(nullptr);
  EXPECT_EQ(pmap->currCfg(), nullptr);
  EXPECT_EQ(second->refCount(), 1u);
}

TEST(ClassMapConfig, SwitchToNewVersionThenDeleteOldKeepsTheNew) {
  auto const cmap = Cog::make<PolicyMap::ClassMapConfig>("c1");
  auto const first = cmap->subconfigIs("c1", Kiln::UniqueId(1, 1));
  first->matchIs(PolicyMap::ClassMapMatchOption::matchIpAccessGroup)->ipRuleIs(10, {});
  cmap->currCfgIs(first);
  auto const second = cmap->subconfigIs("c1", Kiln::UniqueId(1, 2));
  auto const match = second->matchIs(PolicyMap::ClassMapMatchOption::matchIpv6AccessGroup);
  match->ip6RuleIs(10, {});
  match->ip6RuleIs(20, {});
  cmap->currCfgIs(second);
  cmap->subconfigDel(Kiln::UniqueId(1, 1));
  ASSERT_EQ(cmap->currCfg(), second);
  EXPECT_EQ(cmap->subconfig().size(), 1u);
  auto const current = cmap->currCfg()->match(PolicyMap::ClassMapMatchOption::matchIpv6AccessGroup);
  ASSERT_TRUE(current);
  EXPECT_EQ(current->option(), PolicyMap::ClassMapMatchOption::matchIpv6AccessGroup);
  EXPECT_EQ(current->ip6Rule().size(), 2u);
  EXPECT_TRUE(current->ipRule().empty());
  EXPECT_FALSE(cmap->currCfg()->match(PolicyMap::ClassMapMatchOption::matchIpAccessGroup));
}

TEST(PolicyMapTypeConfig, InputsAreFoundByNameOnlyWithTheSameMapType) {
  auto const config = Cog::make<PolicyMap::Config>("policyMapConfig");
  auto const pmapType = config->pmapTypeIs("Flowspec", mapTypeFlowspec);
  EXPECT_EQ(config->pmapTypeIs("Flowspec", mapTypeFlowspec), pmapType);
  EXPECT_THROW(config->pmapTypeIs("Flowspec", PolicyMap::MapType{3}), Cog::ReinstantiationError);

  auto const red = pmapType->pmapInputIs("red", mapTypeFlowspec);
  EXPECT_EQ(red->mapType(), mapTypeFlowspec);
  EXPECT_EQ(pmapType->pmapInputIs("red", mapTypeFlowspec), red);
  try {
    pmapType->pmapInputIs("red", PolicyMap::MapType{1});
    ADD_FAILURE() << "no reinstantiation error";
  } catch (Cog::ReinstantiationError const& error) {
    EXPECT_STREQ(error.what(), "Reinstantiation of pmapInput with different arguments not allowed");
  }

  // Publishing stores the same object under its own name; the input stays owned separately.
  pmapType->pmapIs(red);
  EXPECT_EQ(pmapType->pmap("red"), red);
  pmapType->pmapInputDel("red");
  EXPECT_EQ(pmapType->pmap("red"), red);
  pmapType->pmapDel("red");
  EXPECT_TRUE(pmapType->pmap().empty());

  pmapType->counterUpdateRequestTimeIs("red", 12.5);
  EXPECT_EQ(pmapType->counterUpdateRequestTime("red"), 12.5);
  pmapType->counterUpdateRequestTimeDel("red");
  EXPECT_TRUE(pmapType->counterUpdateRequestTime().empty());
}

// Counts published class-map changes.
class CmapWatcher : public PolicyMap::ClassMapTypeConfig::Reactor {
 public:
  using Reactor::Reactor;
  void handleCmap(Cog::SharedString const&) override { ++changes; }
  int changes = 0;
};

TEST(ClassMapTypeConfig, RandomPublishingMatchesAModel) {
  auto const cmapType = Cog::make<PolicyMap::ClassMapTypeConfig>("Flowspec");
  CmapWatcher watcher(cmapType);
  std::unordered_map<std::string, Cog::Ptr<PolicyMap::ClassMapConfig>> inputs;
  std::unordered_map<std::string, Cog::Ptr<PolicyMap::ClassMapConfig>> published;
  int expectedChanges = 0;
  std::mt19937 rng(20240611);
  for (int step = 0; step < 20000; ++step) {
    std::string const name = "c" + std::to_string(rng() % 500);
    switch (rng() % 4) {
      case 0: {
        auto const input = cmapType->cmapInputIs(name);
        ASSERT_EQ(inputs.try_emplace(name, input).first->second, input);
        break;
      }
      case 1:
        if (auto const it = inputs.find(name); it != inputs.end()) {
          auto const old = published.find(name);
          if (old == published.end() || old->second != it->second) {
            ++expectedChanges;
          }
          published[name] = it->second;
          cmapType->cmapIs(it->second);
        }
        break;
      case 2:
        expectedChanges += static_cast<int>(published.erase(name));
        cmapType->cmapDel(name);
        break;
      default:
        inputs.erase(name);
        cmapType->cmapInputDel(name);
        break;
    }
  }
  EXPECT_EQ(cmapType->cmap().size(), published.size());
  EXPECT_EQ(cmapType->cmapInput().size(), inputs.size());
  for (int i = 0; i < 500; ++i) {
    std::string const name = "c" + std::to_string(i);
    auto const it = published.find(name);
    EXPECT_EQ(cmapType->cmap(name), it == published.end() ? nullptr : it->second) << name;
  }
  EXPECT_EQ(watcher.changes, expectedChanges);
}

TEST(Config, DumpListsTypesPoliciesAndCounts) {
  auto const config = Cog::make<PolicyMap::Config>("policyMapConfig");
  auto const cmapType = config->cmapTypeIs("Flowspec");
  cmapType->typeIs(mapTypeFlowspec);
  cmapType->cmapIs(cmapType->cmapInputIs("c1"));
  auto const pmapType = config->pmapTypeIs("Flowspec", mapTypeFlowspec);
  auto const red = pmapType->pmapInputIs("red", mapTypeFlowspec);
  auto const version = red->subconfigIs("red", Kiln::UniqueId(1, 1));
  version->classPrioIs(1, "c1");
  version->classPrioIs(0x80000000u, "c2");
  red->currCfgIs(version);
  pmapType->pmapIs(red);
  pmapType->pmapIs(pmapType->pmapInputIs("blue", mapTypeFlowspec));

  Kiln::DumpContext ctx;
  config->dumpState(&ctx, 2);
  EXPECT_EQ(ctx.lines(), (std::vector<std::string>{
                             "  PolicyMapConfig policyMapConfig",
                             "    pmapType Flowspec type 4 policies #2",
                             "      policy blue classes #0",
                             "      policy red classes #2",
                             "    cmapType Flowspec type 4 class-maps #1",
                         }));
}

TEST(IntfConfig, InterfacesBoundToPolicyNames) {
  auto const intfConfig = Cog::make<PolicyMap::IntfConfig>("Flowspec");
  intfConfig->typeIs(mapTypeFlowspec);
  intfConfig->intfIs(Nwk::IntfId("Ethernet2"), "blue");
  intfConfig->intfIs(Nwk::IntfId("Ethernet1"), "red");
  intfConfig->intfIs(Nwk::IntfId("Ethernet2"), "red");
  std::vector<std::string> bound;
  for (auto const& [intf, policy] : intfConfig->intf()) {
    bound.push_back(intf.toStrep() + "=" + policy);
  }
  EXPECT_EQ(bound, (std::vector<std::string>{"Ethernet1=red", "Ethernet2=red"}));
  intfConfig->intfDel(Nwk::IntfId("Ethernet1"));
  EXPECT_EQ(intfConfig->intf(Nwk::IntfId("Ethernet1")), "");
  EXPECT_EQ(intfConfig->intf().size(), 1u);
}

}  // namespace
