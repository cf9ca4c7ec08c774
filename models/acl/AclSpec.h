#pragma once

#include <cstdint>
#include <ostream>
#include <string>

namespace Acl {

enum class RangeOperator : std::uint8_t { any = 0, eq = 1, neq = 2, lt = 3, gt = 4, range = 5 };

// A condition on a 16-bit field: an operator and its value text, "80" for eq, "1024 2047" (two
// decimal values separated by one blank) for an inclusive range. The default is "any": no
// condition. Port conditions match TCP and UDP packets only.
template <class Tag>
class Spec {
 public:
  Spec() = default;
  Spec(RangeOperator op, std::string valueText) : op_(op), valueText_(std::move(valueText)) {}

  RangeOperator op() const { return op_; }
  std::string const& valueText() const { return valueText_; }
  explicit operator bool() const { return op_ != RangeOperator::any; }
  bool operator==(Spec const&) const = default;
  // "any", "eq 80", "range 1024 2047".
  std::string toStrep() const {
    switch (op_) {
      case RangeOperator::any:
        return "any";
      case RangeOperator::eq:
        return "eq " + valueText_;
      case RangeOperator::neq:
        return "neq " + valueText_;
      case RangeOperator::lt:
        return "lt " + valueText_;
      case RangeOperator::gt:
        return "gt " + valueText_;
      case RangeOperator::range:
        return "range " + valueText_;
    }
    return "?";
  }

 private:
  RangeOperator op_ = RangeOperator::any;
  std::string valueText_;
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
