#pragma once

#include <cstddef>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Pbr {

// Finds each class of a new version in the version before, by name. Versions mostly list their
// classes at the same places, or shifted by the few classes that came or went: a class is looked
// for at the place the previous match predicts, then beside it. Names are unique in a version,
// so a class not found so is new unless some class before was left over: only then are the
// left-over ones indexed by name. `nameOf(i)` / `beforeNameOf(j)` give the names; `same(i, j)`,
// when given, tells without reading names that the two are one shared class (consecutive
// versions share the classes that stayed, and their names live elsewhere in memory). The result
// holds, per new class, its place before or kNone.
class ClassAlignment {
 public:
  static constexpr std::size_t kNone = ~std::size_t{0};

  struct NoneShared {
    bool operator()(std::size_t, std::size_t) const { return false; }
  };

  template <class AfterName, class BeforeName, class Same = NoneShared>
  static std::vector<std::size_t> align(std::size_t afterCount, AfterName const& nameOf,
                                        std::size_t beforeCount, BeforeName const& beforeNameOf,
                                        Same const& same = Same()) {
    std::vector<std::size_t> out(afterCount, kNone);
    std::vector<bool> matched(beforeCount);
    std::size_t matches = 0;
    std::ptrdiff_t shift = 0;
    for (std::size_t i = 0; i < afterCount; ++i) {
      std::optional<std::string_view> name;
      for (std::ptrdiff_t const probe : {shift, shift - 1, shift + 1}) {
        std::ptrdiff_t const signedJ = static_cast<std::ptrdiff_t>(i) + probe;
        if (signedJ < 0 || static_cast<std::size_t>(signedJ) >= beforeCount) {
          continue;
        }
        auto const j = static_cast<std::size_t>(signedJ);
        if (!same(i, j)) {
          if (!name) {
            name = nameOf(i);
          }
          if (std::string_view(beforeNameOf(j)) != *name) {
            continue;
          }
        }
        out[i] = j;
        matched[j] = true;
        ++matches;
        shift = probe;
        break;
      }
    }
    if (matches == beforeCount || matches == afterCount) {
      return out;
    }
    std::unordered_map<std::string_view, std::size_t> leftOver;
    for (std::size_t j = 0; j < beforeCount; ++j) {
      if (!matched[j]) {
        leftOver.emplace(beforeNameOf(j), j);
      }
    }
    for (std::size_t i = 0; i < afterCount; ++i) {
      if (out[i] == kNone) {
        if (auto const found = leftOver.find(nameOf(i)); found != leftOver.end()) {
          out[i] = found->second;
        }
      }
    }
    return out;
  }
};

}  // namespace Pbr
