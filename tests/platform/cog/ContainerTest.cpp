// The collections against a model under random changes, including changes made while iterating.
#include <gtest/gtest.h>

#include <map>
#include <random>
#include <set>
#include <vector>

#include "platform/cog/HashMap2018.h"
#include "platform/cog/RbTreeMap.h"

namespace {

template <class Map>
void checkAgainstModel(Map& map, std::map<int, int> const& model) {
  ASSERT_EQ(map.size(), model.size());
  std::map<int, int> seen;
  for (auto [key, value] : map) {
    EXPECT_TRUE(seen.emplace(key, value).second) << "key visited twice: " << key;
  }
  EXPECT_EQ(seen, model);
  for (auto const& [key, value] : model) {
    ASSERT_NE(map.find(key), nullptr);
    EXPECT_EQ(*map.find(key), value);
  }
}

template <class Map>
void randomizedAgainstModel(unsigned seed) {
  std::mt19937 rng(seed);
  Map map;
  std::map<int, int> model;
  for (int step = 0; step < 4000; ++step) {
    int const key = static_cast<int>(rng() % 200);
    switch (rng() % 6) {
      case 0:
      case 1: {
        int const value = static_cast<int>(rng() % 1000);
        auto [slot, created] = map.tryEmplace(key, value);
        EXPECT_EQ(created, !model.count(key));
        if (!created) {
          *slot = value;
        }
        model[key] = value;
        break;
      }
      case 2:
        EXPECT_EQ(map.erase(key), model.erase(key) == 1);
        break;
      case 3: {
        // Iterate while erasing and inserting: every entry that survives the whole iteration
        // and existed at its start is visited exactly once; erased ones are not visited after.
        std::set<int> const before = [&] {
          std::set<int> keys;
          for (auto const& [k, v] : model) {
            keys.insert(k);
          }
          return keys;
        }();
        std::set<int> visited;
        std::set<int> erased;
        for (auto [k, v] : map) {
          EXPECT_TRUE(visited.insert(k).second);
          EXPECT_FALSE(erased.count(k));
          if (rng() % 3 == 0) {
            int const victim = static_cast<int>(rng() % 200);
            if (map.erase(victim)) {
              erased.insert(victim);
              model.erase(victim);
            }
          }
          if (rng() % 5 == 0) {
            int const fresh = 200 + static_cast<int>(rng() % 50);
            map.tryEmplace(fresh, 1);
            model.emplace(fresh, 1);
            erased.erase(fresh);
          }
        }
        for (int k : before) {
          if (model.count(k) && !erased.count(k)) {
            EXPECT_TRUE(visited.count(k)) << "surviving key skipped: " << k;
          }
        }
        break;
      }
      case 4:
        if (rng() % 50 == 0) {
          map.clear();
          model.clear();
        }
        break;
      default:
        EXPECT_EQ(map.contains(key), model.count(key) == 1);
    }
  }
  checkAgainstModel(map, model);
}

TEST(CogHashMap2018, MatchesModelUnderRandomChanges) {
  for (unsigned seed = 1; seed <= 5; ++seed) {
    randomizedAgainstModel<Cog::HashMap2018<int, int>>(seed);
  }
}

TEST(CogRbTreeMap, MatchesModelUnderRandomChanges) {
  for (unsigned seed = 1; seed <= 5; ++seed) {
    randomizedAgainstModel<Cog::RbTreeMap<int, int>>(seed);
  }
}

TEST(CogRbTreeMap, IteratesInKeyOrderAndRevivesKeyDeletedDuringIteration) {
  Cog::RbTreeMap<int, int> map;
  for (int key : {5, 1, 3}) {
    map.tryEmplace(key, key * 10);
  }
  std::vector<int> keys;
  for (auto [key, value] : map) {
    keys.push_back(key);
    if (key == 1) {
      map.erase(3);
      map.tryEmplace(3, 99);  // revived before the iterator reaches it
      map.erase(5);
    }
  }
  EXPECT_EQ(keys, (std::vector<int>{1, 3}));
  ASSERT_NE(map.find(3), nullptr);
  EXPECT_EQ(*map.find(3), 99);
  EXPECT_EQ(map.size(), 2u);
}

TEST(CogHashMap2018, OrderDependsOnlyOnChanges) {
  auto build = [] {
    Cog::HashMap2018<int> set;
    for (int i = 0; i < 100; ++i) {
      set.tryEmplace(i * 7919 % 1000);
    }
    for (int i = 0; i < 100; i += 3) {
      set.erase(i * 7919 % 1000);
    }
    std::vector<int> order;
    for (int key : set) {
      order.push_back(key);
    }
    return order;
  };
  EXPECT_EQ(build(), build());
}

}  // namespace
