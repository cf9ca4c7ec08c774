#pragma once

#include <compare>
#include <cstdint>

namespace Kiln {

// The order in which ready tasks run: lower numbers first, first-in first-out among equals.
struct TaskPriority {
  std::uint8_t value = 2;
  auto operator<=>(TaskPriority const&) const = default;
};

}  // namespace Kiln
