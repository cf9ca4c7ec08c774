#pragma once

#include <compare>
#include <cstdint>
#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>

#include "platform/nwk/IpGenAddr.h"
#include "platform/trace/Args.h"

namespace Nwk {

// An address prefix in canonical form (host bits clear). The default is the empty prefix:
// all-zero and of no address family, meaning "no prefix".
class IpGenPrefix {
 public:
  IpGenPrefix() = default;
  // Throws Cog::RangeError "IpGenPrefix::len > maxLen not allowed" past 32 (IPv4) or 128
  // (IPv6); clears the host bits.
  IpGenPrefix(IpGenAddr const& addr, std::uint8_t len);
  // "10.0.0.0/8", "2001:db8::/32"; without "/len" a host prefix; host bits are cleared.
  static std::optional<IpGenPrefix> parse(std::string_view text);

  AddressFamily af() const { return addr_.af(); }
  IpGenAddr const& addr() const { return addr_; }
  std::uint8_t len() const { return len_; }
  bool isEmpty() const { return addr_.af() == AddressFamily::none; }
  bool contains(IpGenAddr const& addr) const;
  // "" when empty.
  std::string toStrep() const;
  void appendTo(std::string& out) const;
  // Kept in the trace ring as its bytes, printed when the ring is read.
  void traceEncode(Trace::Encoder& e) const { e.raw(*this); }
  static IpGenPrefix traceDecode(Trace::Decoder& d) { return d.raw<IpGenPrefix>(); }

  auto operator<=>(IpGenPrefix const&) const = default;
  bool operator==(IpGenPrefix const&) const = default;

 private:
  IpGenAddr addr_;
  std::uint8_t len_ = 0;
};

std::ostream& operator<<(std::ostream& os, IpGenPrefix const& prefix);

// An IPv6 address with a prefix length, as an IPv6 ACL filter holds it.
class Ip6AddrWithMask {
 public:
  Ip6AddrWithMask() : addr_(IpGenAddr::zero(AddressFamily::ipv6)) {}
  Ip6AddrWithMask(IpGenAddr const& addr, std::uint8_t len) : addr_(addr), len_(len) {}
  IpGenAddr const& addr() const { return addr_; }
  std::uint8_t len() const { return len_; }
  std::string toStrep() const { return addr_.toStrep() + "/" + std::to_string(len_); }
  bool operator==(Ip6AddrWithMask const&) const = default;

 private:
  IpGenAddr addr_;
  std::uint8_t len_ = 0;
};

inline std::ostream& operator<<(std::ostream& os, Ip6AddrWithMask const& a) {
  return os << a.toStrep();
}

}  // namespace Nwk

template <>
struct std::hash<Nwk::IpGenPrefix> {
  std::size_t operator()(Nwk::IpGenPrefix const& prefix) const noexcept {
    return std::hash<Nwk::IpGenAddr>()(prefix.addr()) * 131 + prefix.len();
  }
};
