#pragma once

#include <cstddef>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Pbr {

// Finds each class of a new version in the version before, by name. Versions mostly list their
// classes at the same places, or shifted by the few classes that came or went: a class is looked
// for at the place the previous match predicts, then beside it, and only then by a name index
// built on first need. `nameOf(i)` / `beforeNameOf(j)` give the names; the result holds, per new
// class, its place before or kNone.
class ClassAlignment {
 public:
  static constexpr std::size_t kNone = ~std::size_t{0};

  template <class AfterName, class BeforeName>
  static std::vector<std::size_t> align(std::size_t afterCount, AfterName const& nameOf,
                                        std::size_t beforeCount, BeforeName const& beforeNameOf) {
    std::vector<std::size_t> out(afterCount, kNone);
    std::unordered_map<std::string_view, std::size_t> byName;
    std::ptrdiff_t shift = 0;
    for (std::size_t i = 0; i < afterCount; ++i) {
      std::string_view const name = nameOf(i);
      for (std::ptrdiff_t const probe : {shift, shift - 1, shift + 1}) {
        std::ptrdiff_t const j = static_cast<std::ptrdiff_t>(i) + probe;
        if (j >= 0 && static_cast<std::size_t>(j) < beforeCount &&
            std::string_view(beforeNameOf(static_cast<std::size_t>(j))) == name) {
          out[i] = static_cast<std::size_t>(j);
          break;
        }
      }
      if (out[i] == kNone) {
        if (byName.empty()) {
          for (std::size_t j = 0; j < beforeCount; ++j) {
            byName.emplace(beforeNameOf(j), j);
          }
        }
        if (auto const found = byName.find(name); found != byName.end()) {
          out[i] = found->second;
        }
      }
      if (out[i] != kNone) {
        shift = static_cast<std::ptrdiff_t>(out[i]) - static_cast<std::ptrdiff_t>(i);
      }
    }
    return out;
  }
};

}  // namespace Pbr
