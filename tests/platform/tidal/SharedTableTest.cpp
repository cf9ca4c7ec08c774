#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <map>
#include <random>
#include <string>
#include <vector>

#include "platform/tidal/ChangeWaiter.h"
#include "platform/tidal/SharedTableReader.h"
#include "platform/tidal/SharedTableWriter.h"
#include "platform/tidal/Table.h"

namespace {

// An entry that carries its own checksum, so that a reader can tell a torn copy.
struct Blob {
  std::vector<std::uint8_t> data;
  std::uint64_t sum = 0;
  bool operator==(Blob const&) const = default;
  bool intact() const { return sum == sumOf(data); }
  static std::uint64_t sumOf(std::vector<std::uint8_t> const& data) {
    std::uint64_t h = 1469598103934665603ull;
    for (auto b : data) {
      h = (h ^ b) * 1099511628211ull;
    }
    return h;
  }
  static Blob of(std::mt19937& rng) {
    Blob blob;
    blob.data.resize(1 + rng() % 200);
    for (auto& b : blob.data) {
      b = static_cast<std::uint8_t>(rng());
    }
    blob.sum = sumOf(blob.data);
    return blob;
  }
};

struct BlobCodec {
  static void encodeKey(std::uint32_t key, Tidal::ByteSink& sink) { sink.u32(key); }
  static void encodeValue(Blob const& blob, Tidal::ByteSink& sink) {
    sink.u64(blob.sum);
    sink.bytes(blob.data.data(), blob.data.size());
  }
  static std::optional<std::uint32_t> decodeKey(Tidal::ByteSource& source) {
    std::uint32_t const key = source.u32();
    return source.ok() ? std::optional(key) : std::nullopt;
  }
  static std::optional<Blob> decodeValue(Tidal::ByteSource& source, std::uint32_t) {
    Blob blob;
    blob.sum = source.u64();
    blob.data.resize(source.remaining());
    source.bytes(blob.data.data(), blob.data.size());
    return source.ok() ? std::optional(blob) : std::nullopt;
  }
};

using BlobTable = Tidal::Table<std::uint32_t, Blob>;
using Writer = Tidal::SharedTableWriter<std::uint32_t, Blob, BlobCodec>;
using Reader = Tidal::SharedTableReader<std::uint32_t, Blob, BlobCodec>;

class SharedTable : public ::testing::Test {
 protected:
  void SetUp() override { Tidal::SharedSegment::remove(name_); }
  void TearDown() override { Tidal::SharedSegment::remove(name_); }
  std::string const name_ = "orbflowspec-test-" + std::to_string(getpid());
};

// The sequence of changes the writer makes, replayed by the test as its model.
void writeSequence(BlobTable& table, int operations, std::uint32_t keys, std::uint32_t seed) {
  std::mt19937 rng(seed);
  for (int i = 0; i < operations; ++i) {
    std::uint32_t const key = rng() % keys;
    if (rng() % 3 == 0) {
      table.entryDel(key);
    } else {
      table.entryIs(key, Blob::of(rng));
    }
  }
}

std::map<std::uint32_t, Blob> contents(BlobTable const& table) {
  std::map<std::uint32_t, Blob> out;
  for (auto key = table.firstKey(); key; key = table.nextKey(*key)) {
    out[*key] = table.entry(*key);
  }
  return out;
}

// A writer process makes 100k announcements and withdrawals while this process follows them
// through the wake-ups, restarting its reader part-way; every entry read is whole, and the
// reader ends with the writer's final table. The ring is small, so lapped rescans happen too.
TEST_F(SharedTable, ReaderInAnotherProcessFollowsWriterUnderLoad) {
  Tidal::SegmentGeometry const geometry{512, 256, 1024};
  { Writer creator(name_, geometry); }
  auto model = Cog::make<BlobTable>();
  writeSequence(*model, 100000, 400, 11);

  pid_t const child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    try {
      auto table = Cog::make<BlobTable>(std::make_unique<Writer>(name_, geometry));
      writeSequence(*table, 100000, 400, 11);
      _exit(0);
    } catch (...) {
      _exit(1);
    }
  }

  int torn = 0;
  int reads = 0;
  int wakeups = 0;
  int restarts = 0;
  bool exited = false;
  int status = 0;
  auto table = Cog::make<BlobTable>(std::make_unique<Reader>(name_));
  auto waiter =
      std::make_unique<Tidal::ChangeWaiter>(static_cast<Reader&>(table->backing()).segment());
  auto readAll = [&](std::uint32_t key) {
    Blob const blob = table->entry(key);
    ++reads;
    torn += !blob.data.empty() && !blob.intact();
  };
  while (!exited) {
    pollfd fd{waiter->fd(), POLLIN, 0};
    poll(&fd, 1, 50);
    waiter->acknowledge();
    ++wakeups;
    static_cast<Reader&>(table->backing()).applyChanges([&](std::uint32_t key) { readAll(key); });
    exited = waitpid(child, &status, WNOHANG) == child;
    if (wakeups == 20) {
      ++restarts;
      waiter.reset();
      table = Cog::make<BlobTable>(std::make_unique<Reader>(name_));
      waiter =
          std::make_unique<Tidal::ChangeWaiter>(static_cast<Reader&>(table->backing()).segment());
    }
  }
  static_cast<Reader&>(table->backing()).applyChanges([&](std::uint32_t key) { readAll(key); });
  ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  EXPECT_EQ(torn, 0);
  EXPECT_GT(reads, 0);
  EXPECT_EQ(restarts, 1);
  EXPECT_EQ(contents(*table), contents(*model));
}

TEST_F(SharedTable, FullTableAndOversizedEntryAreRefusedAndChangeNothing) {
  auto table =
      Cog::make<BlobTable>(std::make_unique<Writer>(name_, Tidal::SegmentGeometry{3, 64, 8}));
  Blob small{{1, 2, 3}, Blob::sumOf({1, 2, 3})};
  for (std::uint32_t key = 0; key < 3; ++key) {
    table->entryIs(key, small);
  }
  try {
    table->entryIs(7, small);
    FAIL();
  } catch (Tidal::TableError const& e) {
    EXPECT_STREQ(e.what(), "rule table full: all 3 slots in use, no room for another entry");
  }
  Blob big{std::vector<std::uint8_t>(100, 9), 0};
  try {
    table->entryIs(1, big);
    FAIL();
  } catch (Tidal::TableError const& e) {
    EXPECT_STREQ(e.what(), "rule table entry too large: 116 octets, a slot holds 64");
  }
  EXPECT_EQ(table->entry(1), small);
  table->entryDel(0);
  table->entryIs(7, small);
  Reader reader(name_);
  EXPECT_EQ(reader.size(), 3u);
  EXPECT_EQ(*reader.firstAtOrAfter(nullptr), 1u);
}

// Damaged octets read as a withdrawn entry through the corruption handler; the next write of
// the key heals it, and a restarted writer drops what no longer checks.
TEST_F(SharedTable, CorruptEntryReadsAsWithdrawnThroughTheHandler) {
  Tidal::SegmentGeometry const geometry{8, 64, 8};
  auto writerTable = Cog::make<BlobTable>(std::make_unique<Writer>(name_, geometry));
  Blob const blob{{5}, Blob::sumOf({5})};
  writerTable->entryIs(1, blob);
  writerTable->entryIs(2, blob);
  auto readerTable = Cog::make<BlobTable>(std::make_unique<Reader>(name_));
  std::vector<std::uint32_t> corrupted;
  readerTable->corruptionHandlerIs([&](std::uint32_t key) { corrupted.push_back(key); });
  auto& writer = static_cast<Writer&>(writerTable->backing());
  writer.segment().corruptSlotForTest(*writer.slotOf(2));
  EXPECT_EQ(readerTable->entry(1), blob);
  EXPECT_EQ(readerTable->entry(2), Blob{});
  EXPECT_EQ(corrupted, (std::vector<std::uint32_t>{2}));

  writerTable = nullptr;
  auto restarted = Cog::make<BlobTable>(std::make_unique<Writer>(name_, geometry));
  EXPECT_EQ(contents(*restarted), (std::map<std::uint32_t, Blob>{{1, blob}}));
  std::vector<std::uint32_t> changed;
  static_cast<Reader&>(readerTable->backing()).applyChanges([&](std::uint32_t key) {
    changed.push_back(key);
  });
  EXPECT_EQ(changed, (std::vector<std::uint32_t>{2}));
  EXPECT_EQ(contents(*readerTable), contents(*restarted));
  EXPECT_EQ(corrupted.size(), 1u);
}

TEST_F(SharedTable, LappedReaderRescansAndReportsEveryKeyOnce) {
  auto writerTable =
      Cog::make<BlobTable>(std::make_unique<Writer>(name_, Tidal::SegmentGeometry{16, 64, 4}));
  Blob const blob{{5}, Blob::sumOf({5})};
  writerTable->entryIs(1, blob);
  Reader reader(name_);
  for (std::uint32_t key = 2; key < 8; ++key) {
    writerTable->entryIs(key, blob);
  }
  writerTable->entryDel(1);
  std::vector<std::uint32_t> changed;
  EXPECT_TRUE(reader.applyChanges([&](std::uint32_t key) { changed.push_back(key); }));
  EXPECT_EQ(changed, (std::vector<std::uint32_t>{1, 2, 3, 4, 5, 6, 7}));
  EXPECT_EQ(reader.size(), 6u);
  writerTable->entryDel(2);
  changed.clear();
  EXPECT_FALSE(reader.applyChanges([&](std::uint32_t key) { changed.push_back(key); }));
  EXPECT_EQ(changed, (std::vector<std::uint32_t>{2}));
}

TEST_F(SharedTable, OpeningErrorsSayWhatIsWrong) {
  try {
    Reader reader(name_);
    FAIL();
  } catch (Tidal::TableError const& e) {
    EXPECT_EQ(std::string(e.what()),
              "rule table " + name_ + ": cannot open: No such file or directory");
  }
  { Writer writer(name_, Tidal::SegmentGeometry{8, 64, 8}); }
  try {
    Writer writer(name_, Tidal::SegmentGeometry{8, 128, 8});
    FAIL();
  } catch (Tidal::TableError const& e) {
    EXPECT_EQ(std::string(e.what()), "rule table " + name_ +
                                         ": exists with another size than 8 slots of 128 "
                                         "octets, ring 8");
  }
  EXPECT_THROW(Reader(name_).write(1, Blob{}), Tidal::TableError);
}

}  // namespace
