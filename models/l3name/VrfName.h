#pragma once

#include <compare>
#include <cstddef>

#include "platform/cog/System.h"

namespace L3 {

// The name of a VRF as routing configuration gives it; at most maxLength bytes. The empty name
// is the unset value.
class VrfName {
 public:
  static constexpr std::size_t maxLength = 100;

  VrfName() = default;
  // Range error "VrfName::value::bytes > VrfName::maxLength not allowed" past maxLength bytes.
  explicit VrfName(Cog::String value);

  Cog::String const& value() const { return value_; }
  Cog::String const& toStrep() const { return value_; }
  auto operator<=>(VrfName const&) const = default;
  bool operator==(VrfName const&) const = default;

 private:
  Cog::String value_;
};

}  // namespace L3
