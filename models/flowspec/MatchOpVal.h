#pragma once

#include <cstdint>
#include <string>

#include "models/flowspec/MatchCompType.h"

namespace Flowspec {

// Bits of the operator byte of an operator/value pair, as on the wire.
namespace OpBits {
inline constexpr std::uint8_t kEnd = 0x80;
inline constexpr std::uint8_t kAnd = 0x40;
inline constexpr std::uint8_t kLength = 0x30;  // value octets: 1 << ((op & kLength) >> 4)
inline constexpr std::uint8_t kLt = 0x04;      // numeric components
inline constexpr std::uint8_t kGt = 0x02;
inline constexpr std::uint8_t kEq = 0x01;
inline constexpr std::uint8_t kNot = 0x02;  // bitmask components
inline constexpr std::uint8_t kMatch = 0x01;
}  // namespace OpBits

// The position of an operator/value pair in a key's list: 0 to 2047, so a key holds at most
// 2048 pairs.
class MatchOpValIndex {
 public:
  static constexpr std::uint16_t min = 0;
  static constexpr std::uint16_t max = 2047;

  constexpr MatchOpValIndex() = default;
  // Throws the range error outside [min, max].
  explicit MatchOpValIndex(long value);

  std::uint16_t value() const { return value_; }
  // The following position; the range error past max.
  MatchOpValIndex& operator++();
  MatchOpValIndex operator++(int);
  auto operator<=>(MatchOpValIndex const&) const = default;
  bool operator==(MatchOpValIndex const&) const = default;

 private:
  std::uint16_t value_ = 0;
};

// One pair of a key as the digestion reads it.
struct MatchOpValResult {
  MatchCompType matchCompType = MatchCompType::none;
  std::uint8_t op = 0;
  std::uint32_t value = 0;
  MatchOpValIndex nextIndex;  // the following pair, 0 after the last

  // "{type 5, op 0x81, value 80, next 1}".
  std::string toStrep() const;
};

}  // namespace Flowspec
