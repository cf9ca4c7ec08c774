// The collections against a model under random changes, including changes made while iterating.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <vector>

#include "platform/cog/Boxed.h"
#include "platform/cog/FlatHashMap.h"
#include "platform/cog/FlatSet.h"
#include "platform/cog/HashMap2018.h"
#include "platform/cog/RbTreeMap.h"
#include "platform/cog/SharedMap.h"
#include "platform/cog/SmallMap.h"

namespace {

// An int whose hashes fall on four values: a large ordered map's hash index then probes in long
// runs that wrap around its end, and removals shift entries back across them.
struct CollidingKey {
  CollidingKey() = default;
  CollidingKey(int v) : value(v) {}  // NOLINT: implicit, as the model's ints convert
  operator int() const { return value; }
  int value = 0;
};

}  // namespace

template <>
struct std::hash<CollidingKey> {
  std::size_t operator()(CollidingKey key) const noexcept {
    return static_cast<std::size_t>(key.value % 4);
  }
};

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
  if constexpr (requires { map.nextKey(0); }) {
    for (int key = -1; key < 260; ++key) {  // keys in the map and not
      auto const after = model.upper_bound(key);
      auto const* next = map.nextKey(key);
      ASSERT_EQ(next != nullptr, after != model.end()) << key;
      if (next) {
        EXPECT_EQ(static_cast<int>(*next), after->first) << key;
      }
    }
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
    randomizedAgainstModel<Cog::RbTreeMap<CollidingKey, int>>(seed);
  }
}

TEST(CogSmallMap, MatchesModelUnderRandomChanges) {
  for (unsigned seed = 1; seed <= 5; ++seed) {
    randomizedAgainstModel<Cog::SmallMap<int, int>>(seed);
  }
}

// Inserts, erases and copies against a model, on keys that collide in long runs which wrap
// around the array's end: an erase must close up each run so that no key is lost behind it.
TEST(CogFlatHashMap, MatchesModelUnderRandomChangesAndCollisions) {
  std::mt19937 rng(3);
  Cog::FlatHashMap<CollidingKey, int> map;
  std::map<int, int> model;
  for (int step = 0; step < 6000; ++step) {
    int const key = static_cast<int>(rng() % 300);
    if (rng() % 3 == 0) {
      EXPECT_EQ(map.erase(key), model.erase(key));
    } else {
      auto const [it, created] = map.try_emplace(key, step);
      EXPECT_EQ(created, model.emplace(key, step).second);
      EXPECT_EQ(it->second, model.at(key));
    }
    if (step % 1000 == 999) {
      Cog::FlatHashMap<CollidingKey, int> const copy = map;
      ASSERT_EQ(copy.size(), model.size());
      std::map<int, int> seen;
      for (auto const& [k, v] : copy) {
        EXPECT_TRUE(seen.emplace(k, v).second) << "key visited twice: " << k;
      }
      EXPECT_EQ(seen, model);
      for (int k = 0; k < 300; ++k) {
        auto const found = copy.find(k);
        ASSERT_EQ(found != copy.end(), model.contains(k)) << k;
        if (found != copy.end()) {
          EXPECT_EQ(found->second, model.at(k));
        }
      }
    }
  }
}

// Versions built one from the other: each new map starts as the previous one and changes a few
// entries; every earlier version keeps its content, and the difference between two versions is
// exactly the keys that differ in their models.
template <class Map>
void sharedVersionsAgainstModels(unsigned seed) {
  std::mt19937 rng(seed);
  std::vector<std::unique_ptr<Map>> versions;
  std::vector<std::map<int, int>> models;
  versions.push_back(std::make_unique<Map>());
  models.emplace_back();
  for (int round = 0; round < 60; ++round) {
    auto next = std::make_unique<Map>();
    next->shareFrom(*versions.back());
    std::map<int, int> model = models.back();
    int const changes = static_cast<int>(rng() % 8);
    bool changed = false;
    for (int i = 0; i < changes; ++i) {
      int const key = static_cast<int>(rng() % 60);
      if (rng() % 3 == 0) {
        bool const erased = model.erase(key) == 1;
        EXPECT_EQ(next->erase(key), erased);
        changed |= erased;
      } else {
        int const value = static_cast<int>(rng() % 4);
        bool const differs = !model.contains(key) || model[key] != value;
        model[key] = value;
        EXPECT_EQ(next->assign(key, value), differs);
        changed |= differs;
      }
    }
    bool const cleared = rng() % 40 == 0;
    if (cleared) {
      next->clear();
      model.clear();
    }
    std::set<int> expected;
    for (auto const* pair : {&model, &models.back()}) {
      auto const* other = pair == &model ? &models.back() : &model;
      for (auto const& [key, value] : *pair) {
        if (!other->count(key) || other->at(key) != value) {
          expected.insert(key);
        }
      }
    }
    auto const differing = next->keysDifferingFrom(*versions.back());
    EXPECT_EQ(std::set<int>(differing.begin(), differing.end()), expected);
    EXPECT_EQ(differing.size(), expected.size()) << "a key reported twice";
    if (!changed && !cleared) {  // assigning a value already held copies nothing
      EXPECT_TRUE(next->sharesAllWith(*versions.back()));
    }
    versions.push_back(std::move(next));
    models.push_back(std::move(model));
  }
  for (std::size_t i = 0; i < versions.size(); ++i) {
    checkAgainstModel(*versions[i], models[i]);
  }
}

TEST(CogSharedMap, VersionsKeepTheirContentAndDifferOnlyWhereChanged) {
  for (unsigned seed = 1; seed <= 5; ++seed) {
    sharedVersionsAgainstModels<Cog::SharedHashMap<int, int>>(seed);
    sharedVersionsAgainstModels<Cog::SharedOrderedMap<int, int>>(seed);
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
      EXPECT_EQ(*map.nextKey(1), 3);
      EXPECT_EQ(map.nextKey(3), nullptr);  // 5 is dead, though still in the tree
    }
  }
  EXPECT_EQ(keys, (std::vector<int>{1, 3}));
  ASSERT_NE(map.find(3), nullptr);
  EXPECT_EQ(*map.find(3), 99);
  EXPECT_EQ(map.size(), 2u);
  // A walk over the keys alone skips the dead entries alike.
  keys.clear();
  auto const& walked = map;
  for (int const& key : walked.keys()) {
    keys.push_back(key);
    if (key == 1) {
      map.erase(3);
    }
  }
  EXPECT_EQ(keys, (std::vector<int>{1}));
}

// Entries move on an insert before the iterator's place; it finds its place again by its key.
TEST(CogSmallMap, AnEntryAddedDuringIterationIsVisitedWhenItLiesAhead) {
  Cog::SmallMap<int, int> map;
  for (int key : {10, 20, 30}) {
    map.tryEmplace(key, key);
  }
  std::vector<int> keys;
  for (auto&& [key, value] : map) {
    keys.push_back(key);
    if (key == 20) {
      map.erase(20);
      EXPECT_EQ(value, 20) << "an entry removed during an iteration keeps its value";
      map.tryEmplace(5, 5);  // moves every entry: references from before are void
      map.tryEmplace(25, 25);
      map.erase(10);
      map.erase(30);
      map.tryEmplace(30, 31);  // revived in place
    }
  }
  EXPECT_EQ(keys, (std::vector<int>{10, 20, 25, 30}));
  EXPECT_EQ(map.size(), 3u);
  EXPECT_EQ(*map.firstKey(), 5);
  EXPECT_EQ(*map.find(30), 31);
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

TEST(CogFlatSet, MatchesModelUnderRandomInserts) {
  std::mt19937 rng(7);
  Cog::FlatSet<int> set;
  std::set<int> model;
  for (int i = 0; i < 400; ++i) {
    // Mostly ascending, as sets are built, with values before, between and equal to earlier ones.
    int const value = rng() % 4 ? i : static_cast<int>(rng() % (i + 1));
    auto const [it, inserted] = set.insert(value);
    EXPECT_EQ(inserted, model.insert(value).second);
    EXPECT_EQ(*it, value);
  }
  EXPECT_TRUE(std::equal(set.begin(), set.end(), model.begin(), model.end()));
}

TEST(CogBoxed, CopiesAreDeepAndCompareByValue) {
  Cog::Boxed<std::vector<int>> a;
  a->push_back(1);
  Cog::Boxed<std::vector<int>> b = a;
  EXPECT_EQ(a, b);
  b->push_back(2);
  EXPECT_NE(a, b);
  Cog::Boxed<std::vector<int>> moved = std::move(a);
  a = b;  // a moved-from box takes a new value
  EXPECT_EQ(*a, (std::vector<int>{1, 2}));
  EXPECT_EQ(*moved, std::vector<int>{1});
}
