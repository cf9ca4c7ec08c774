#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "models/flowspec/FlowspecTidalKey.h"
#include "tests/models/flowspec/KeyGenerator.h"

namespace {

using Flowspec::FlowspecKey;
using Flowspec::FlowspecTidalKey;
using Flowspec::MatchCompType;

FlowspecKey key(std::string const& text) {
  FlowspecKey k;
  k.copyInStringValue(text);
  return k;
}

std::string address(void const* p) {
  char text[32];
  std::snprintf(text, sizeof text, "0x%llx",
                static_cast<unsigned long long>(reinterpret_cast<std::uintptr_t>(p)));
  return text;
}

TEST(FlowspecTidalKey, PacksTypeOperatorAndValueIntoOneWord) {
  EXPECT_EQ(FlowspecTidalKey::pack(MatchCompType::destinationPort, 0x91, 443), 0x591001bbu);
  EXPECT_EQ(FlowspecTidalKey::pack(MatchCompType::flowLabel, 0xa1, 0xFFFFF), 0xda1fffffu);
  EXPECT_EQ(FlowspecTidalKey::pack(static_cast<MatchCompType>(15), 0xff, 0), 0xfff00000u);
  auto const k =
      key("ipv6 raw dst 2001:db8::/32 src 2001:db8:1::/48 flow-label =1048575 dport &=80");
  FlowspecTidalKey const tidal(7, k);
  EXPECT_EQ(tidal.vrfId(), 7u);
  EXPECT_EQ(tidal.af(), 2);
  EXPECT_EQ(tidal.destinationPrefix(), k.destinationPrefix());
  EXPECT_EQ(tidal.sourcePrefix(), k.sourcePrefix());
  ASSERT_EQ(tidal.words().size(), 2u);
  EXPECT_EQ(tidal.words()[0], 0xda1fffffu);
  EXPECT_EQ(tidal.words()[1], 0x5c100050u);  // end + AND + eq
  EXPECT_EQ(tidal.toStrep(), "vrf 7 " + k.stringValue());
  EXPECT_FALSE(tidal.isEmpty());
  EXPECT_TRUE(FlowspecTidalKey().isEmpty());
  EXPECT_EQ(FlowspecTidalKey().toStrep(), "vrf 0 raw af 0 words");
}

TEST(FlowspecTidalKey, RandomKeysRoundTripThroughTheWords) {
  FlowspecTest::KeyGenerator gen(5);
  std::set<FlowspecTidalKey> seen;
  for (std::uint32_t i = 0; i < 3000; ++i) {
    FlowspecKey const k = gen.next();
    FlowspecTidalKey const tidal(i % 7, k);
    ASSERT_EQ(tidal.getFlowspecKey(), k) << k;
    // What the routing process writes, read back from its raw parts.
    FlowspecTidalKey const raw(tidal.vrfId(), tidal.af(), tidal.destinationPrefix(),
                               tidal.sourcePrefix(), tidal.words().data(), tidal.words().size());
    ASSERT_EQ(raw, tidal);
    ASSERT_EQ(raw.hash(), tidal.hash());
    ASSERT_FALSE(raw < tidal || tidal < raw);
    ASSERT_EQ(tidal.toStrep(), "vrf " + std::to_string(i % 7) + " " + k.stringValue());
    seen.insert(tidal);
  }
  // A total order, VRF first, which the order prefix never contradicts.
  FlowspecTidalKey const* previous = nullptr;
  for (auto const& tidal : seen) {
    if (previous) {
      ASSERT_TRUE(*previous < tidal);
      ASSERT_FALSE(tidal < *previous);
      ASSERT_LE(previous->vrfId(), tidal.vrfId());
      ASSERT_LE(previous->orderPrefix(), tidal.orderPrefix()) << *previous << " < " << tidal;
    }
    previous = &tidal;
  }
}

TEST(FlowspecTidalKey, RefusesContentThatIsNotARuleKey) {
  std::uint32_t const words[] = {0x58100050};
  FlowspecTidalKey const badFamily(1, 3, {}, {}, words, 1);
  try {
    badFamily.getFlowspecKey();
    FAIL();
  } catch (Cog::RangeError const& e) {
    EXPECT_STREQ(e.what(), "FlowspecTidalKey::af not ipv4 or ipv6 not allowed");
  }
  EXPECT_EQ(badFamily.toStrep(), "vrf 1 raw af 3 words 58100050");
  EXPECT_THROW(FlowspecTidalKey(1, 0, {}, {}, words, 1).getFlowspecKey(), Cog::RangeError);

  auto const v6 = *Nwk::IpGenPrefix::parse("2001:db8::/32");
  for (bool destination : {true, false}) {
    FlowspecTidalKey const badPrefix(1, 1, destination ? v6 : Nwk::IpGenPrefix(),
                                     destination ? Nwk::IpGenPrefix() : v6, words, 1);
    try {
      badPrefix.getFlowspecKey();
      FAIL();
    } catch (Cog::RangeError const& e) {
      EXPECT_STREQ(e.what(),
                   "FlowspecKey::prefix address family differs from the key's not allowed");
    }
    EXPECT_EQ(badPrefix.toStrep(), std::string("vrf 1 raw af 1 ") + (destination ? "dst" : "src") +
                                       " 2001:db8::/32 words 58100050");
  }
}

TEST(FlowspecTidalKey, AnyWordIsAPairOfSomeKey) {
  // Every field of the word is in range by construction: types 0..15, values up to 0xFFFFF.
  std::uint32_t const words[] = {0x00000000, 0xffffffff, 0x10000001, 0x2fffffff};
  FlowspecTidalKey const tidal(2, 1, {}, {}, words, 4);
  auto const k = tidal.getFlowspecKey();
  EXPECT_EQ(k.stringValue(),
            "ipv4 raw type0 #0x00:0 type15 &#0xff:1048575 type1 #0x00:1 type2 &#0xff:1048575");
  EXPECT_EQ(key(k.stringValue()), k);
  EXPECT_EQ(FlowspecTidalKey(2, k), tidal);
}

TEST(FlowspecTidalKey, OversizedWordArrayThrowsTheSizeError) {
  std::vector<std::uint32_t> words(2049, 0x51000050);
  try {
    FlowspecTidalKey(1, 1, {}, {}, words.data(), words.size());
    FAIL();
  } catch (Tidal::PodArraySizeError const& e) {
    EXPECT_EQ(
        std::string(e.what()),
        "expected size <= 2048, instead got 2049. Buffer is at address: " + address(words.data()) +
            " with contents: 0x51000050 0x51000050 0x51000050 0x51000050 0x51000050 "
            "0x51000050 0x51000050 0x51000050 0x51000050 0x51000050 0x51000050 0x51000050 "
            "0x51000050 0x51000050 0x51000050 0x51000050 ...");
    EXPECT_STREQ(e.arrayName(), "PodArray");
  }
  EXPECT_EQ(FlowspecTidalKey(1, 1, {}, {}, words.data(), 2048).words().size(), 2048u);
}

// ---- PodArray ----

using Small = Tidal::PodArray<std::uint32_t, 20>;

std::string sizeErrorText(auto&& action) {
  try {
    action();
  } catch (Cog::SizeError const& e) {  // the framework's size error
    return e.what();
  }
  return "no error";
}

TEST(PodArray, SizeErrorShowsAtMostSixteenElements) {
  std::vector<std::uint32_t> data(30);
  for (std::uint32_t i = 0; i < 30; ++i) {
    data[i] = i * 17;
  }
  Small array;
  EXPECT_EQ(sizeErrorText([&] { array.copyIn(data.data(), 21); }),
            "expected size <= 20, instead got 21. Buffer is at address: " + address(data.data()) +
                " with contents: 0x0 0x11 0x22 0x33 0x44 0x55 0x66 0x77 0x88 0x99 0xaa 0xbb 0xcc "
                "0xdd 0xee 0xff ...");
  EXPECT_TRUE(array.empty());  // nothing taken
  array.copyIn(data.data(), 20);
  EXPECT_EQ(array.size(), 20u);
  EXPECT_EQ(array[19], 19u * 17);
}

// Short arrays are kept inline and longer ones on the heap: copies, moves and comparisons agree
// with a vector on both sides of the boundary.
TEST(PodArray, CopiesAndMovesKeepTheElementsInlineOrNot) {
  Small array;
  std::vector<std::uint32_t> model;
  for (std::uint32_t i = 0; i < 20; ++i) {
    Small const copy = array;
    ASSERT_TRUE(std::equal(copy.begin(), copy.end(), model.begin(), model.end()));
    ASSERT_EQ(copy, array);
    ASSERT_EQ(copy.hash(), array.hash());
    array.push_back(i);
    model.push_back(i);
    ASSERT_TRUE(copy < array);
    Small moved = Small(array);
    Small assigned;
    assigned = std::move(moved);
    ASSERT_TRUE(std::equal(assigned.begin(), assigned.end(), model.begin(), model.end()));
    assigned = copy;  // a longer array takes a shorter one
    ASSERT_EQ(assigned, copy);
  }
}

TEST(PodArray, SixteenElementsNeedNoEllipsis) {
  std::uint8_t const data[] = {0x41, 0x42, 0x43, 0x44, 0x45, 0x46, 0x47, 0x48,
                               0x49, 0x4a, 0x4b, 0x4c, 0x4d, 0x4e, 0x4f, 0xff};
  Tidal::PodArray<std::uint8_t, 15> bytes;
  EXPECT_EQ(sizeErrorText([&] { bytes.copyIn(data, 16); }),
            "expected size <= 15, instead got 16. Buffer is at address: " + address(data) +
                " with contents: 0x41 0x42 0x43 0x44 0x45 0x46 0x47 0x48 0x49 0x4a 0x4b 0x4c "
                "0x4d 0x4e 0x4f 0xff");
  std::int16_t const negative[] = {-1, 2, 3};
  Tidal::PodArray<std::int16_t, 2> shorts;
  EXPECT_EQ(sizeErrorText([&] { shorts.copyIn(negative, 3); }),
            "expected size <= 2, instead got 3. Buffer is at address: " + address(negative) +
                " with contents: 0xffff 0x2 0x3");
}

TEST(PodArray, PushBeyondTheBoundReportsTheArraysOwnBuffer) {
  Tidal::PodArray<std::uint16_t, 2> array;
  array.push_back(0xa);
  array.push_back(0xb);
  EXPECT_EQ(sizeErrorText([&] { array.push_back(0xc); }),
            "expected size <= 2, instead got 3. Buffer is at address: " + address(array.data()) +
                " with contents: 0xa 0xb ...");
  ASSERT_EQ(array.size(), 2u);
  EXPECT_EQ(std::vector<std::uint16_t>(array.begin(), array.end()),
            (std::vector<std::uint16_t>{0xa, 0xb}));
}

TEST(PodArray, EqualityOrderAndHash) {
  std::uint32_t const a[] = {1, 2, 3};
  std::uint32_t const b[] = {1, 2, 4};
  Small x;
  Small y;
  Small z;
  x.copyIn(a, 3);
  y.copyIn(a, 3);
  z.copyIn(b, 3);
  EXPECT_EQ(x, y);
  EXPECT_EQ(std::hash<Small>()(x), std::hash<Small>()(y));
  EXPECT_NE(x, z);
  EXPECT_NE(x.hash(), z.hash());
  EXPECT_LT(x, z);
  Small prefix;
  prefix.copyIn(a, 2);
  EXPECT_LT(prefix, x);  // lexicographic
  EXPECT_NE(prefix.hash(), x.hash());
}

}  // namespace
