#pragma once

#include <cstdint>

namespace Nwk {

// The 8-bit type-of-service / traffic-class octet; DSCP is its upper six bits.
class IpTos {
 public:
  constexpr IpTos() = default;
  constexpr explicit IpTos(std::uint8_t value) : value_(value) {}
  constexpr std::uint8_t value() const { return value_; }
  auto operator<=>(IpTos const&) const = default;
  bool operator==(IpTos const&) const = default;

 private:
  std::uint8_t value_ = 0;
};

}  // namespace Nwk
