#pragma once

#include <compare>
#include <cstdint>
#include <functional>
#include <ostream>
#include <string>

namespace Kiln {

// The identity of a configuration version. UniqueId() is the invalid id; next() hands out a
// fresh one per call: the process generation and a counter, so runs are reproducible.
class UniqueId {
 public:
  constexpr UniqueId() = default;
  constexpr UniqueId(std::uint64_t first, std::uint64_t second) : first_(first), second_(second) {}

  static UniqueId next();
  // The first part of the ids handed out from now on (default 1).
  static void generationIs(std::uint64_t generation);
  // Starts the counter again, so that a test's ids do not depend on the tests before it.
  static void counterReset();

  std::uint64_t first() const { return first_; }
  std::uint64_t second() const { return second_; }
  bool valid() const { return first_ != 0 || second_ != 0; }
  // The two parts in decimal joined by ", ": "1, 42".
  std::string toStrep() const { return std::to_string(first_) + ", " + std::to_string(second_); }

  auto operator<=>(UniqueId const&) const = default;
  bool operator==(UniqueId const&) const = default;

 private:
  std::uint64_t first_ = 0;
  std::uint64_t second_ = 0;
};

inline std::ostream& operator<<(std::ostream& os, UniqueId const& id) { return os << id.toStrep(); }

}  // namespace Kiln

template <>
struct std::hash<Kiln::UniqueId> {
  std::size_t operator()(Kiln::UniqueId const& id) const noexcept {
    return std::hash<std::uint64_t>()(id.first() * 0x9E3779B97F4A7C15ull ^ id.second());
  }
};
