#pragma once

#include <compare>
#include <string>

namespace L3 {

// A VRF name, at most 100 bytes.
class VrfName {
 public:
  static constexpr std::size_t maxLength = 100;

  VrfName() = default;
  // Range error "VrfName::value::bytes > VrfName::maxLength not allowed" past maxLength.
  explicit VrfName(std::string value);
  std::string const& value() const { return value_; }
  std::string const& toStrep() const { return value_; }
  auto operator<=>(VrfName const&) const = default;
  bool operator==(VrfName const&) const = default;

 private:
  std::string value_;
};

}  // namespace L3
