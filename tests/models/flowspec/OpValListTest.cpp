#include <gtest/gtest.h>

#include <cstdint>
#include <utility>
#include <vector>

#include "models/flowspec/OpValList.h"

namespace {

using Flowspec::OpVal;
using Flowspec::OpValList;

OpValList listOf(std::uint32_t size, std::uint32_t base) {
  OpValList list;
  for (std::uint32_t i = 0; i < size; ++i) {
    list.push_back(base + i);
  }
  return list;
}

std::vector<std::uint32_t> wordsOf(OpValList const& list) {
  return std::vector<std::uint32_t>(list.data(), list.data() + list.size());
}

std::vector<std::uint32_t> expected(std::uint32_t size, std::uint32_t base) {
  std::vector<std::uint32_t> out;
  for (std::uint32_t i = 0; i < size; ++i) {
    out.push_back(base + i);
  }
  return out;
}

TEST(OpValList, PacksAndUnpacksEachField) {
  auto const pair = OpVal{Flowspec::MatchCompType::flowLabel, 0xa1, 0xFFFFF};
  EXPECT_EQ(OpVal::pack(pair.type, pair.op, pair.value), 0xda1fffffu);
  EXPECT_EQ(OpVal::unpack(0xda1fffffu), pair);
  EXPECT_EQ(OpVal::unpack(0x00000000u), OpVal{});
}

// Sizes on both sides of the inline capacity, copied, moved and assigned in every direction,
// against a vector model (the sanitizer build checks the memory handling).
TEST(OpValList, CopiesMovesAndAssignmentsKeepTheWords) {
  std::uint32_t const limit = 2 * OpValList::kInline + 3;
  for (std::uint32_t from = 0; from < limit; ++from) {
    OpValList const source = listOf(from, 100);
    ASSERT_EQ(wordsOf(source), expected(from, 100));
    OpValList const copy(source);
    EXPECT_EQ(copy, source);
    OpValList moved(listOf(from, 100));
    EXPECT_EQ(moved, source);
    for (std::uint32_t to = 0; to < limit; ++to) {
      OpValList target = listOf(to, 900);
      target = source;
      ASSERT_EQ(wordsOf(target), expected(from, 100)) << from << " onto " << to;
      OpValList other = listOf(to, 900);
      OpValList donor = listOf(from, 100);
      other = std::move(donor);
      ASSERT_EQ(wordsOf(other), expected(from, 100)) << from << " moved onto " << to;
      EXPECT_TRUE(donor.empty());  // NOLINT(bugprone-use-after-move): the documented state
      donor.push_back(7);          // and usable again
      EXPECT_EQ(wordsOf(donor), expected(1, 7));
      other.assign(target.data(), target.size());
      ASSERT_EQ(other, target);
    }
    OpValList self = listOf(from, 5);
    OpValList const& alias = self;
    self = alias;
    EXPECT_EQ(wordsOf(self), expected(from, 5));
  }
}

TEST(OpValList, IteratesUnpackedPairsAndOrdersWordByWord) {
  OpValList list;
  list.push_back(OpVal::pack(Flowspec::MatchCompType::destinationPort, 0x91, 443));
  list.push_back(OpVal::pack(Flowspec::MatchCompType::tcpFlags, 0x81, 2));
  std::vector<OpVal> const pairs(list.begin(), list.end());
  ASSERT_EQ(pairs.size(), 2u);
  EXPECT_EQ(pairs[0], (OpVal{Flowspec::MatchCompType::destinationPort, 0x91, 443}));
  EXPECT_EQ(list[1], (OpVal{Flowspec::MatchCompType::tcpFlags, 0x81, 2}));
  EXPECT_LT(listOf(2, 1), listOf(3, 1));  // a beginning before the longer list
  EXPECT_LT(listOf(3, 1), listOf(1, 2));
  EXPECT_FALSE(listOf(3, 1) < listOf(3, 1));
  EXPECT_NE(listOf(3, 1), listOf(3, 2));
}

}  // namespace
