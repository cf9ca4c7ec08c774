#pragma once

#include <cstdint>

namespace Flowspec {

// The hardware status of one rule (5 is never produced).
enum class HwRuleProgrammingStatus : std::uint8_t {
  hwStatusNotInstalled = 0,
  hwStatusInstalled = 1,
  hwStatusPartiallyInstalled = 2,
  hwStatusUnsupportedMatch = 3,
  hwStatusUnsupportedQualifier = 4,
  hwStatusFailed = 6,
};

}  // namespace Flowspec
