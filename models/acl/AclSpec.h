#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>

#include "platform/cog/Errors.h"

namespace Acl {

enum class RangeOperator : std::uint8_t { any = 0, eq = 1, neq = 2, lt = 3, gt = 4, range = 5 };

// A condition on a 16-bit field: an operator and its value text, "80" for eq, "1024 2047" (two
// decimal values separated by one blank) for an inclusive range. The default is "any": no
// condition. Port conditions match TCP and UDP packets only.
//
// Filters are copied through translation and kept by the hundred thousand, so the text lives
// inside the spec: two 16-bit values and their blank take 11 characters, and a longer text is a
// range error.
template <class Tag>
class Spec {
 public:
  static constexpr std::size_t kMaxText = 14;

  Spec() = default;
  Spec(RangeOperator op, std::string_view valueText) : op_(op) {
    if (valueText.size() > kMaxText) {
      throw Cog::RangeError("ACL value text longer than " + std::to_string(kMaxText) +
                            " characters: " + std::string(valueText));
    }
    size_ = static_cast<std::uint8_t>(valueText.size());
    valueText.copy(text_, valueText.size());
  }

  RangeOperator op() const { return op_; }
  std::string_view valueText() const { return {text_, size_}; }
  explicit operator bool() const { return op_ != RangeOperator::any; }
  // The characters past the text are always zero, so comparing them all is comparing the text.
  bool operator==(Spec const&) const = default;
  // "any", "eq 80", "range 1024 2047".
  std::string toStrep() const {
    std::string const value(valueText());
    switch (op_) {
      case RangeOperator::any:
        return "any";
      case RangeOperator::eq:
        return "eq " + value;
      case RangeOperator::neq:
        return "neq " + value;
      case RangeOperator::lt:
        return "lt " + value;
      case RangeOperator::gt:
        return "gt " + value;
      case RangeOperator::range:
        return "range " + value;
    }
    return "?";
  }

 private:
  RangeOperator op_ = RangeOperator::any;
  std::uint8_t size_ = 0;
  char text_[kMaxText] = {};
};

struct PortSpecTag {};
struct IpLenSpecTag {};
// A source or destination port condition.
using PortSpec = Spec<PortSpecTag>;
// A packet length condition.
using IpLenSpec = Spec<IpLenSpecTag>;

template <class Tag>
std::ostream& operator<<(std::ostream& os, Spec<Tag> const& spec) {
  return os << spec.toStrep();
}

// The TCP control bits: fin 0x01, syn 0x02, rst 0x04, psh 0x08, ack 0x10, urg 0x20, ece 0x40,
// cwr 0x80, ns 0x100.
class TcpFlag {
 public:
  TcpFlag() = default;
  explicit TcpFlag(std::uint16_t bits) : bits_(bits) {}
  std::uint16_t bits() const { return bits_; }
  bool operator==(TcpFlag const&) const = default;
  // "syn+ack", or "none".
  std::string toStrep() const;

 private:
  std::uint16_t bits_ = 0;
};

}  // namespace Acl
