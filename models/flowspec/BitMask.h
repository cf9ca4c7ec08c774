#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <ostream>
#include <string>

namespace Flowspec {

// A test of some bits of a header field: with matchAll, the packet's bits under `mask` must
// equal `value` (every mask the system builds has matchAll set). The masks of one component
// are ORed.
template <class Tag>
class BitMask {
 public:
  BitMask() = default;
  BitMask(bool matchAll, std::uint16_t value, std::uint16_t mask)
      : matchAll_(matchAll), value_(value), mask_(mask) {}

  bool matchAll() const { return matchAll_; }
  std::uint16_t value() const { return value_; }
  std::uint16_t mask() const { return mask_; }
  bool isValid() const { return Tag::isValid(value_, mask_); }

  bool operator==(BitMask const&) const = default;
  bool operator<(BitMask const& o) const {
    return mask_ != o.mask_     ? mask_ < o.mask_
           : value_ != o.value_ ? value_ < o.value_
                                : matchAll_ < o.matchAll_;
  }
  std::size_t hash(std::size_t seed = 0) const {
    return (seed ^ (std::size_t{mask_} << 17 | std::size_t{value_} << 1 | matchAll_)) *
           0x9E3779B97F4A7C15ull;
  }
  // "{matchAll true, value 0x2, mask 0x12}".
  std::string toStrep() const;
  // The tested bits by name, a bit required clear prefixed by "!": "syn !ack".
  std::string toStrepCli() const;

 private:
  bool matchAll_ = true;
  std::uint16_t value_ = 0;
  std::uint16_t mask_ = 0;
};

struct TcpBitMaskTag {
  static constexpr std::uint16_t kWidth = 0x1FF;
  // A TCP-flags test is valid when it tests some bit.
  static bool isValid(std::uint16_t, std::uint16_t mask) { return mask != 0; }
  static char const* bitName(unsigned bit);
};

struct IpBitMaskTag {
  static constexpr std::uint16_t kWidth = 0xF;
  // A fragment test is valid when it tests some bit, only the four fragment bits (DF 0x1,
  // is-fragment 0x2, first 0x4, last 0x8), and requires no value outside what it tests.
  static bool isValid(std::uint16_t value, std::uint16_t mask) {
    return mask != 0 && (mask & ~kWidth) == 0 && (value & ~mask) == 0;
  }
  static char const* bitName(unsigned bit);
};

using TcpBitMask = BitMask<TcpBitMaskTag>;
using IpBitMask = BitMask<IpBitMaskTag>;

template <class Tag>
std::ostream& operator<<(std::ostream& os, BitMask<Tag> const& m) {
  return os << m.toStrep();
}

}  // namespace Flowspec

template <class Tag>
struct std::hash<Flowspec::BitMask<Tag>> {
  std::size_t operator()(Flowspec::BitMask<Tag> const& m) const noexcept { return m.hash(); }
};
