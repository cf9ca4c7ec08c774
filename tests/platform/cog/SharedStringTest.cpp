#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <string>
#include <vector>

#include "platform/cog/SharedString.h"

namespace {

// Copies share one buffer, which lives as long as its last holder (the sanitizer build sees a
// buffer freed early or never).
TEST(SharedString, CopiesShareTheBufferUntilTheLastGoes) {
  std::vector<Cog::SharedString> holders;
  {
    Cog::SharedString const made(std::string(100, 'x') + "made");
    holders.assign(3, made);
    Cog::SharedString moved = holders[0];
    holders[1] = std::move(moved);
    EXPECT_TRUE(moved.empty());
    for (auto const& holder : holders) {
      EXPECT_EQ(holder.c_str(), made.c_str());
    }
  }
  holders.resize(1);
  EXPECT_EQ(holders[0].str(), std::string(100, 'x') + "made");
  holders[0] = holders[0];
  EXPECT_EQ(holders[0].size(), 104u);
  EXPECT_STREQ(Cog::SharedString().c_str(), "");
  EXPECT_EQ(Cog::SharedString(""), Cog::SharedString());
}

// Order, equality and hash are those of the text, whether the strings are copies or were made
// apart, and against standard strings: sets of names sort and find as they did as std::string.
TEST(SharedString, ComparesAndHashesAsItsText) {
  std::mt19937 random(7);
  auto const text = [&random] {
    std::string t(random() % 4, '\0');
    for (char& c : t) {
      c = "ab\xe9\x7f"[random() % 4];  // high bytes order after low ones
    }
    return t;
  };
  for (int i = 0; i < 2000; ++i) {
    std::string const a = text();
    std::string const b = text();
    Cog::SharedString const sa(a);
    Cog::SharedString const sb =
        i % 2 ? Cog::SharedString(b) : (a == b ? sa : Cog::SharedString(b));
    EXPECT_EQ(sa == sb, a == b) << a << " " << b;
    EXPECT_EQ(sa < sb, a < b) << a << " " << b;
    EXPECT_EQ(sa == b, a == b);
    EXPECT_EQ(b < sa, b < a);
    EXPECT_EQ(std::hash<Cog::SharedString>()(sa), std::hash<std::string_view>()(a));
  }
}

}  // namespace
