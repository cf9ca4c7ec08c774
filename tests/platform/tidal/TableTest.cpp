#include <gtest/gtest.h>

#include <random>
#include <set>
#include <string>
#include <vector>

#include "platform/tidal/Table.h"

namespace {

using IntTable = Tidal::Table<int, std::string>;

class Recorder : public IntTable::Reactor {
 public:
  using IntTable::Reactor::Reactor;
  void handleEntry(int const& key) override { keys.push_back(key); }
  std::vector<int> keys;
};

TEST(TidalTable, NotifiesPerChangedKeyOnly) {
  auto table = Cog::make<IntTable>();
  Recorder recorder(table);
  table->entryIs(3, "a");
  table->entryIs(3, "a");
  table->entryIs(3, "b");
  table->entryDel(3);
  table->entryDel(3);
  EXPECT_EQ(recorder.keys, (std::vector<int>{3, 3, 3}));
}

TEST(TidalTable, AbsentAndCorruptKeysReadAsTheDefaultEntry) {
  auto table = Cog::make<IntTable>();
  std::vector<int> corrupted;
  table->corruptionHandlerIs([&](int key) { corrupted.push_back(key); });
  table->entryIs(1, "one");
  EXPECT_EQ(table->entry(2), "");
  EXPECT_TRUE(corrupted.empty());
  static_cast<Tidal::InProcessBacking<int, std::string>&>(table->backing()).corruptIs(1);
  EXPECT_EQ(table->entry(1), "");
  EXPECT_EQ(corrupted, (std::vector<int>{1}));
}

TEST(TidalTable, ResumeAfterRemovedKeyNeitherSkipsNorRepeats) {
  auto table = Cog::make<IntTable>();
  for (int key : {10, 20, 30, 40}) {
    table->entryIs(key, "x");
  }
  auto bookmark = table->firstKeyAtOrAfter(20);
  ASSERT_TRUE(bookmark);
  table->entryDel(20);
  table->entryIs(25, "new");
  std::vector<int> rest;
  for (auto key = table->firstKeyAtOrAfter(*bookmark); key; key = table->nextKey(*key)) {
    rest.push_back(*key);
  }
  EXPECT_EQ(rest, (std::vector<int>{25, 30, 40}));
}

// A walk that stops every few entries and resumes at a bookmark, with random changes between
// the steps, visits every key that was present from start to end exactly once.
TEST(TidalTable, InterruptedWalkVisitsEverySurvivorOnce) {
  std::mt19937 rng(7);
  for (int round = 0; round < 20; ++round) {
    auto table = Cog::make<IntTable>();
    for (int i = 0; i < 200; ++i) {
      table->entryIs(static_cast<int>(rng() % 1000), "v");
    }
    std::set<int> initial;
    for (auto key = table->firstKey(); key; key = table->nextKey(*key)) {
      initial.insert(*key);
    }
    std::set<int> removed;
    std::multiset<int> visited;
    std::optional<int> bookmark = table->firstKey();
    while (bookmark) {
      auto key = table->firstKeyAtOrAfter(*bookmark);
      for (int n = 0; key && n < 7; ++n, key = table->nextKey(*key)) {
        visited.insert(*key);
      }
      bookmark = key;
      for (int change = 0; change < 3; ++change) {
        int const victim = static_cast<int>(rng() % 1000);
        if (table->contains(victim)) {
          table->entryDel(victim);
          removed.insert(victim);
        } else {
          table->entryIs(victim, "late");
        }
      }
    }
    for (int key : initial) {
      if (!removed.count(key)) {
        EXPECT_EQ(visited.count(key), 1u) << key;
      }
    }
    for (int key : visited) {
      EXPECT_EQ(visited.count(key), 1u) << key;
    }
  }
}

TEST(TidalTable, ReplayVisitsEveryEntryInKeyOrder) {
  auto table = Cog::make<IntTable>();
  table->entryIs(2, "b");
  table->entryIs(1, "a");
  Recorder recorder(table);
  recorder.replay();
  EXPECT_EQ(recorder.keys, (std::vector<int>{1, 2}));
}

}  // namespace
