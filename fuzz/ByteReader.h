#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Fuzz {

// Reads fixed-width values off the front of a fuzz input. Past the end it yields zeros, so a
// decoder never has to check lengths and every input decodes to something.
class ByteReader {
 public:
  ByteReader(std::uint8_t const* data, std::size_t size) : data_(data), size_(size) {}

  bool empty() const { return pos_ >= size_; }

  std::uint8_t u8() { return pos_ < size_ ? data_[pos_++] : 0; }

  std::uint32_t u32() {
    std::uint32_t value = 0;
    for (int i = 0; i < 4; ++i) {
      value = value << 8 | u8();
    }
    return value;
  }

  std::uint64_t u64() { return std::uint64_t{u32()} << 32 | u32(); }

  // Any 32-bit pattern, NaN and infinities included.
  float f32() {
    std::uint32_t const bits = u32();
    float value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
  }

 private:
  std::uint8_t const* data_;
  std::size_t size_;
  std::size_t pos_ = 0;
};

}  // namespace Fuzz
