#pragma once

#include <concepts>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <vector>

namespace Tidal {

// Appends little-endian integers and raw octets to a byte buffer: how a codec writes an entry.
class ByteSink {
 public:
  explicit ByteSink(std::vector<std::uint8_t>& out) : out_(out) {}
  void u8(std::uint8_t v) { out_.push_back(v); }
  void u32(std::uint32_t v) { little(v, 4); }
  void u64(std::uint64_t v) { little(v, 8); }
  void bytes(void const* data, std::size_t count) {
    auto const* p = static_cast<std::uint8_t const*>(data);
    out_.insert(out_.end(), p, p + count);
  }

 private:
  void little(std::uint64_t v, int count) {
    for (int i = 0; i < count; ++i) {
      out_.push_back(static_cast<std::uint8_t>(v >> (8 * i)));
    }
  }
  std::vector<std::uint8_t>& out_;
};

// Reads what ByteSink wrote from untrusted octets. A read past the end fails and leaves the
// source failed, so a codec can read a whole entry and check ok() once.
class ByteSource {
 public:
  explicit ByteSource(std::span<std::uint8_t const> in) : in_(in) {}
  std::uint8_t u8() { return static_cast<std::uint8_t>(little(1)); }
  std::uint32_t u32() { return static_cast<std::uint32_t>(little(4)); }
  std::uint64_t u64() { return little(8); }
  bool bytes(void* data, std::size_t count) {
    if (!take(count)) {
      return false;
    }
    if (count > 0) {  // memcpy takes no null pointer, even for nothing
      std::memcpy(data, in_.data() + pos_ - count, count);
    }
    return true;
  }
  std::size_t remaining() const { return ok_ ? in_.size() - pos_ : 0; }
  bool ok() const { return ok_; }
  bool atEnd() const { return ok_ && pos_ == in_.size(); }
  void fail() { ok_ = false; }

 private:
  bool take(std::size_t count) {
    if (!ok_ || in_.size() - pos_ < count) {
      ok_ = false;
      return false;
    }
    pos_ += count;
    return true;
  }
  std::uint64_t little(std::size_t count) {
    if (!take(count)) {
      return 0;
    }
    std::uint64_t v = 0;
    for (std::size_t i = 0; i < count; ++i) {
      v |= std::uint64_t{in_[pos_ - count + i]} << (8 * i);
    }
    return v;
  }

  std::span<std::uint8_t const> in_;
  std::size_t pos_ = 0;
  bool ok_ = true;
};

// How a shared-memory backing turns keys and entries into octets and back. Decoding sees bytes
// another process wrote and must validate everything: nullopt for anything that is not a key or
// entry this codec would have written (the reader then treats the entry as corrupt). A value is
// decoded knowing its key, so a value that holds its own key need not store it twice.
template <class C, class K, class V>
concept TableCodec = requires(K const& key, V const& value, ByteSink& sink, ByteSource& source) {
  C::encodeKey(key, sink);
  C::encodeValue(value, sink);
  { C::decodeKey(source) } -> std::same_as<std::optional<K>>;
  { C::decodeValue(source, key) } -> std::same_as<std::optional<V>>;
};

}  // namespace Tidal
