#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/cog/Assert.h"
#include "platform/nwk/IpGenAddr.h"

namespace Feed {

// A read position in a range of received octets that knows where the range sits in the whole
// message, so that every error can name the octet offset it is about. It only reads, and it
// reads no further than its range: callers check left() before reading, so reading past the end
// is a programming error (an assertion), never a consequence of the input. A cursor refers to
// the caller's octets and must not outlive them.
class ByteCursor {
 public:
  ByteCursor(std::span<std::uint8_t const> bytes, std::size_t base) : bytes_(bytes), base_(base) {}

  std::size_t left() const { return bytes_.size() - pos_; }
  bool atEnd() const { return pos_ == bytes_.size(); }
  // The offset in the message of the next octet.
  std::size_t offset() const { return base_ + pos_; }
  std::span<std::uint8_t const> rest() const { return bytes_.subspan(pos_); }

  std::uint8_t u8() {
    COG_ASSERT(left() >= 1);
    return bytes_[pos_++];
  }
  // A big-endian number of up to eight octets.
  std::uint64_t number(std::size_t octets) {
    COG_ASSERT(octets <= 8 && left() >= octets);
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < octets; ++i) {
      value = value << 8 | bytes_[pos_++];
    }
    return value;
  }
  // A cursor over the next `octets` octets; this one moves past them.
  ByteCursor take(std::size_t octets) {
    COG_ASSERT(left() >= octets);
    ByteCursor const part(bytes_.subspan(pos_, octets), offset());
    pos_ += octets;
    return part;
  }

 private:
  std::span<std::uint8_t const> bytes_;
  std::size_t base_;
  std::size_t pos_ = 0;
};

// Addresses as BGP carries them: four or sixteen octets in network order.
inline Nwk::IpGenAddr readIpv4(ByteCursor& cursor) {
  return Nwk::IpGenAddr::ipv4(static_cast<std::uint32_t>(cursor.number(4)));
}

inline Nwk::IpGenAddr readIpv6(ByteCursor& cursor) {
  Nwk::IpGenAddr::Bytes bytes{};
  for (std::uint8_t& b : bytes) {
    b = cursor.u8();
  }
  return Nwk::IpGenAddr::ipv6(bytes);
}

}  // namespace Feed
