// Aligning the classes of two versions: whatever came, went or moved, every class is found at
// its place before, exactly when it was there.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "pbr/ClassAlignment.h"

namespace {

TEST(ClassAlignment, FindsEveryClassThatWasThereWhateverCameWentOrMoved) {
  std::mt19937 rng(7);
  for (int round = 0; round < 200; ++round) {
    std::vector<std::string> before;
    for (int i = 0, n = static_cast<int>(rng() % 40); i < n; ++i) {
      before.push_back("class " + std::to_string(i));
    }
    std::vector<std::string> after = before;
    for (int edits = static_cast<int>(rng() % 4); edits > 0 && !after.empty(); --edits) {
      auto const at = after.begin() + static_cast<std::ptrdiff_t>(rng() % after.size());
      switch (rng() % 3) {
        case 0:
          after.erase(at);
          break;
        case 1:
          after.insert(at, "new " + std::to_string(rng()));
          break;
        default:
          std::iter_swap(at, after.begin() + static_cast<std::ptrdiff_t>(rng() % after.size()));
      }
    }
    auto const places = Pbr::ClassAlignment::align(
        after.size(), [&](std::size_t i) -> std::string_view { return after[i]; }, before.size(),
        [&](std::size_t j) -> std::string_view { return before[j]; });
    ASSERT_EQ(places.size(), after.size());
    for (std::size_t i = 0; i < after.size(); ++i) {
      auto const found = std::find(before.begin(), before.end(), after[i]);
      std::size_t const expected = found == before.end()
                                       ? Pbr::ClassAlignment::kNone
                                       : static_cast<std::size_t>(found - before.begin());
      EXPECT_EQ(places[i], expected) << "round " << round << " class " << after[i];
    }
  }
}

}  // namespace
