#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>

#include "platform/nwk/AddressFamily.h"
#include "platform/trace/Args.h"

namespace Nwk {

// An IPv4 or IPv6 address, or none (unset). IPv4 addresses occupy the first four bytes, in
// network order; the other bytes are zero.
class IpGenAddr {
 public:
  using Bytes = std::array<std::uint8_t, 16>;

  IpGenAddr() = default;
  static IpGenAddr ipv4(std::uint32_t hostOrder);
  static IpGenAddr ipv6(Bytes const& bytes);
  // The all-zero address of a family (unset for none).
  static IpGenAddr zero(AddressFamily af);
  // A dotted quad, or IPv6 text with "::" compression and an optional embedded dotted quad.
  static std::optional<IpGenAddr> parse(std::string_view text);

  AddressFamily af() const { return af_; }
  bool isZero() const;
  std::uint32_t v4() const;
  Bytes const& bytes() const { return bytes_; }
  // Dotted quad; IPv6 in RFC 5952 canonical form; "" when unset.
  std::string toStrep() const;
  // toStrep appended to out, for texts made of several pieces.
  void appendTo(std::string& out) const;
  // Kept in the trace ring as its bytes, printed when the ring is read.
  void traceEncode(Trace::Encoder& e) const { e.raw(*this); }
  static IpGenAddr traceDecode(Trace::Decoder& d) { return d.raw<IpGenAddr>(); }

  auto operator<=>(IpGenAddr const&) const = default;
  bool operator==(IpGenAddr const&) const = default;

 private:
  AddressFamily af_ = AddressFamily::none;
  Bytes bytes_{};
};

std::ostream& operator<<(std::ostream& os, IpGenAddr const& addr);

}  // namespace Nwk

template <>
struct std::hash<Nwk::IpGenAddr> {
  std::size_t operator()(Nwk::IpGenAddr const& addr) const noexcept;
};
