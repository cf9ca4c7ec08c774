// The record framework's contract: notification order and re-entrancy, changes from inside
// handlers, find-or-create errors, replay, nested reactor removal.
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "platform/cog/Assert.h"
#include "platform/cog/Dir.h"
#include "platform/cog/ReactorMap.h"
#include "platform/cog/Record.h"
#include "platform/trace/CaptureSink.h"

namespace {

class Leaf : public Cog::Entity {
 public:
  Leaf(int key, std::string tag) : key_(key), tag_(std::move(tag)) {}
  // As a keyed child the key is not an argument; as a single child it is.
  bool constructedWith(std::string const& tag) const { return tag == tag_; }
  bool constructedWith(int key, std::string const& tag) const { return key == key_ && tag == tag_; }
  int key() const { return key_; }
  COG_RECORD(Leaf, (value, int, count, Count));

 private:
  int key_;
  std::string tag_;
};

class Tree : public Cog::Entity {
 public:
  COG_RECORD(Tree, (value, int, level, Level), (valueInit, std::uint32_t, vrfId, VrfId, 0xffffff),
             (orderedChildren, int, Leaf, leaf, Leaf), (hashMap, std::string, int, score, Score),
             (hashSet, int, member, Member), (child, Leaf, root, Root));
};

// Records every call as text.
class Recorder : public Tree::Reactor {
 public:
  Recorder(Cog::Ptr<Tree const> const& tree, std::vector<std::string>* log, std::string name)
      : Tree::Reactor(tree), log_(log), name_(std::move(name)) {}
  void handleLevel() override { log_->push_back(name_ + ":level=" + std::to_string(level())); }
  void handleLeaf(int const& key) override {
    log_->push_back(name_ + ":leaf " + std::to_string(key));
    if (onLeaf) {
      onLeaf(key);
    }
  }
  void handleScore(std::string const& key) override { log_->push_back(name_ + ":score " + key); }
  void handleMember(int const& key) override {
    log_->push_back(name_ + ":member " + std::to_string(key));
  }
  int level() const { return notifier()->level(); }
  std::function<void(int)> onLeaf;

 private:
  std::vector<std::string>* log_;
  std::string name_;
};

TEST(CogNotification, SynchronousInAttachOrderAndOnlyOnChange) {
  auto tree = Cog::make<Tree>();
  std::vector<std::string> log;
  Recorder first(tree, &log, "a");
  Recorder second(tree, &log, "b");
  tree->levelIs(3);
  tree->levelIs(3);
  tree->scoreIs("x", 1);
  tree->scoreIs("x", 1);
  tree->scoreIs("x", 2);
  tree->scoreDel("y");
  EXPECT_EQ(log, (std::vector<std::string>{"a:level=3", "b:level=3", "a:score x", "b:score x",
                                           "a:score x", "b:score x"}));
  EXPECT_EQ(tree->vrfId(), 0xffffffu);
  EXPECT_EQ(tree->score("absent"), 0);
}

TEST(CogNotification, ReentrantChangesAreSeenNested) {
  auto tree = Cog::make<Tree>();
  std::vector<std::string> log;
  Recorder first(tree, &log, "a");
  Recorder second(tree, &log, "b");
  first.onLeaf = [&](int key) {
    if (key == 1) {
      tree->leafIs(2, "two");
    }
  };
  tree->leafIs(1, "one");
  EXPECT_EQ(log, (std::vector<std::string>{"a:leaf 1", "a:leaf 2", "b:leaf 2", "b:leaf 1"}));
}

TEST(CogNotification, InactiveReactorHearsNothing) {
  auto tree = Cog::make<Tree>();
  std::vector<std::string> log;
  Recorder quiet(tree, &log, "q");
  quiet.notificationActiveIs(false);
  tree->levelIs(1);
  EXPECT_TRUE(log.empty());
}

TEST(CogNotification, ReactorDestroyedDuringNotificationIsSkipped) {
  auto tree = Cog::make<Tree>();
  std::vector<std::string> log;
  Recorder first(tree, &log, "a");
  auto second = std::make_unique<Recorder>(tree, &log, "b");
  first.onLeaf = [&](int) { second.reset(); };
  tree->leafIs(1, "one");
  EXPECT_EQ(log, (std::vector<std::string>{"a:leaf 1"}));
  EXPECT_EQ(tree->reactorCount(), 1u);
}

// With one watcher before (kept apart by the entity) and with two (kept in a vector).
TEST(CogNotification, ReactorAttachedDuringNotificationHearsOnlyLaterChanges) {
  for (bool const twoBefore : {false, true}) {
    auto tree = Cog::make<Tree>();
    std::vector<std::string> log;
    Recorder first(tree, &log, "a");
    std::unique_ptr<Recorder> late;
    first.onLeaf = [&](int) {
      if (!late) {
        late = std::make_unique<Recorder>(tree, &log, "c");
      }
    };
    std::optional<Recorder> second;
    if (twoBefore) {
      second.emplace(tree, &log, "b");
    }
    tree->leafIs(1, "one");
    tree->leafIs(2, "two");
    std::vector<std::string> const expected =
        twoBefore
            ? std::vector<std::string>{"a:leaf 1", "b:leaf 1", "a:leaf 2", "b:leaf 2", "c:leaf 2"}
            : std::vector<std::string>{"a:leaf 1", "a:leaf 2", "c:leaf 2"};
    EXPECT_EQ(log, expected);
    EXPECT_EQ(tree->reactorCount(), twoBefore ? 3u : 2u);
  }
}

TEST(CogNotification, DeletingTheNotifiedEntryFromItsHandler) {
  auto tree = Cog::make<Tree>();
  std::vector<std::string> log;
  Recorder first(tree, &log, "a");
  Recorder second(tree, &log, "b");
  first.onLeaf = [&](int key) { tree->leafDel(key); };
  tree->leafIs(7, "seven");
  EXPECT_EQ(tree->leaf(7), nullptr);
  EXPECT_EQ(log, (std::vector<std::string>{"a:leaf 7", "a:leaf 7", "b:leaf 7", "b:leaf 7"}));
}

TEST(CogNotification, FrameworkErrorInHandlerIsTracedAndOthersStillRun) {
  auto tree = Cog::make<Tree>();
  std::vector<std::string> log;
  Recorder first(tree, &log, "a");
  Recorder second(tree, &log, "b");
  first.onLeaf = [](int) { throw Cog::RangeError("Leaf::count > max not allowed"); };
  Trace::ScopedTextLevel level("Cog", 0);
  Trace::ScopedCapture capture;
  tree->leafIs(1, "one");
  EXPECT_EQ(log, (std::vector<std::string>{"a:leaf 1", "b:leaf 1"}));
  ASSERT_EQ(capture->lines().size(), 1u);
  EXPECT_EQ(capture->lines()[0].level, 0);
  EXPECT_EQ(capture->lines()[0].message, "Leaf::count > max not allowed");
}

TEST(CogNotification, AssertionInHandlerPropagates) {
  auto tree = Cog::make<Tree>();
  std::vector<std::string> log;
  Recorder first(tree, &log, "a");
  first.onLeaf = [](int) { COG_ASSERT(1 == 0); };
  EXPECT_THROW(tree->leafIs(1, "one"), Cog::AssertionError);
  // The notification state unwound: later changes still reach the reactor.
  first.onLeaf = nullptr;
  tree->leafIs(2, "two");
  EXPECT_EQ(log.back(), "a:leaf 2");
}

TEST(CogChildren, FindOrCreateReturnsExistingAndRejectsOtherArguments) {
  auto tree = Cog::make<Tree>();
  auto leaf = tree->leafIs(4, "four");
  EXPECT_EQ(tree->leafIs(4, "four"), leaf);
  EXPECT_EQ(leaf->key(), 4);
  try {
    tree->leafIs(4, "other");
    FAIL();
  } catch (Cog::ReinstantiationError const& e) {
    EXPECT_STREQ(e.what(), "Reinstantiation of leaf with different arguments not allowed");
  }
  auto root = tree->rootIs(0, "r");
  EXPECT_EQ(tree->rootIs(0, "r"), root);
  EXPECT_THROW(tree->rootIs(0, "s"), Cog::ReinstantiationError);
  tree->rootDel();
  EXPECT_EQ(tree->root(), nullptr);
}

TEST(CogChildren, IterationSurvivesDeletionsFromInside) {
  auto tree = Cog::make<Tree>();
  for (int i = 0; i < 10; ++i) {
    tree->leafIs(i, "x");
    tree->memberIs(i);
  }
  std::vector<int> visited;
  for (auto [key, leaf] : tree->leaf()) {
    visited.push_back(key);
    tree->leafDel(key);           // the visited entry
    tree->leafDel(key + 1);       // the next one
    EXPECT_EQ(leaf->key(), key);  // still readable while iterating
  }
  EXPECT_EQ(visited, (std::vector<int>{0, 2, 4, 6, 8}));
  EXPECT_TRUE(tree->leaf().empty());

  std::vector<int> members;
  for (int key : tree->member()) {
    members.push_back(key);
    tree->memberDel(9 - key);
    if (key == 0) {
      tree->memberIs(100);  // added during iteration: visited
    }
  }
  EXPECT_EQ(members.size(), 6u);
  EXPECT_EQ(members.back(), 100);
  EXPECT_EQ(tree->member().size(), 6u);
}

TEST(CogChildren, DelAllNotifiesEveryKey) {
  auto tree = Cog::make<Tree>();
  std::vector<std::string> log;
  tree->leafIs(1, "a");
  tree->leafIs(2, "b");
  Recorder recorder(tree, &log, "r");
  tree->leafDelAll();
  EXPECT_EQ(log, (std::vector<std::string>{"r:leaf 1", "r:leaf 2"}));
  EXPECT_TRUE(tree->leaf().empty());
}

TEST(CogReactor, ReplayRunsEveryHandlerWithCurrentContent) {
  auto tree = Cog::make<Tree>();
  tree->levelIs(5);
  tree->leafIs(1, "a");
  tree->leafIs(2, "b");
  tree->memberIs(9);
  std::vector<std::string> log;
  Recorder recorder(tree, &log, "r");
  recorder.replay();
  EXPECT_EQ(log, (std::vector<std::string>{"r:level=5", "r:leaf 1", "r:leaf 2", "r:member 9"}));
}

// A state machine with one nested reactor per leaf of a tree.
class Owner {
 public:
  struct LeafSm : public Leaf::Reactor {
    LeafSm(Cog::Ptr<Leaf const> const& leaf, Owner* o) : Leaf::Reactor(leaf), owner(o) {}
    void handleCount() override {
      owner->log.push_back("count " + std::to_string(notifier()->key()));
    }
    Owner* owner;
  };

  Owner()
      : leafSm_([this](int const& key) { log.push_back("removed " + std::to_string(key)); },
                "leafSm") {}
  void watch(Cog::Ptr<Leaf const> const& leaf) { leafSm_.is(leaf->key(), leaf, this); }
  void unwatch(int key) { leafSm_.del(key); }
  std::size_t watched() const { return leafSm_.size(); }

  std::vector<std::string> log;

 private:
  Cog::ReactorMap<int, LeafSm> leafSm_;
};

TEST(CogReactorMap, AttachReplaysAndRemovalRunsOwnerHandlerOnceAfterDetach) {
  auto tree = Cog::make<Tree>();
  auto leaf = tree->leafIs(3, "c");
  Owner owner;
  owner.watch(leaf);
  owner.watch(leaf);  // already watched: no second reactor, no second replay
  EXPECT_EQ(owner.log, (std::vector<std::string>{"count 3"}));
  EXPECT_EQ(leaf->reactorCount(), 1u);
  owner.unwatch(3);
  owner.unwatch(3);
  EXPECT_EQ(owner.log, (std::vector<std::string>{"count 3", "removed 3"}));
  EXPECT_EQ(leaf->reactorCount(), 0u);
  leaf->countIs(1);
  EXPECT_EQ(owner.log.size(), 2u);
}

TEST(CogDir, HoldsNamedEntries) {
  auto dir = Cog::make<Cog::Dir>("routing");
  auto tree = Cog::make<Tree>();
  dir->entryIs("red", tree);
  EXPECT_EQ(dir->name(), "routing");
  EXPECT_EQ(dir->entry("red"), tree);
  EXPECT_EQ(dir->entry("blue"), nullptr);
}

TEST(CogNullArgument, NamesTheAttribute) {
  Cog::Ptr<Tree> none;
  try {
    Cog::requireNonNull(none, "vrfRuleStatus");
    FAIL();
  } catch (Cog::NullArgumentError const& e) {
    EXPECT_STREQ(e.what(), "Null vrfRuleStatus not allowed");
  }
}

}  // namespace
