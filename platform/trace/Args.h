#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "platform/trace/Format.h"

// How the ring buffer keeps a message's pieces without formatting them: each piece is encoded
// in binary when traced and turned into text only when the ring is read. Numbers and
// enumerations are copied as bytes, strings as their characters; a type takes part with
// traceEncode(Encoder&) const and static traceDecode(Decoder&) (addresses, prefixes, rule keys:
// opting in, because a copy must not point into what may be gone when the ring is read);
// anything else (framework pointers, streamable values) is formatted when traced, as before.
// A constant character array is taken for a string literal and kept by its address, literals
// living as long as the program: never trace a constant array with automatic storage. A
// mutable array is copied as text.
// A message reads back exactly as concat() of the same pieces would have written it.
namespace Trace {

// A string literal among the pieces, kept by address.
struct Literal {
  Literal(char const* literal) : text(literal) {}  // implicit: made from the literal piece
  char const* text;
};

// Pieces are appended to a buffer that keeps its capacity between messages; a piece is copied
// in place, without the checks and calls of growing a string, as tracing is on every hot path.
class Encoder {
 public:
  void clear() { size_ = 0; }
  std::string_view bytes() const { return {buffer_.data(), size_}; }

  template <class T>
  void raw(T const& value) {
    static_assert(std::is_trivially_copyable_v<T>);
    std::memcpy(claim(sizeof value), &value, sizeof value);
  }
  void text(std::string_view text) {
    raw(static_cast<std::uint32_t>(text.size()));
    if (!text.empty()) {
      std::memcpy(claim(text.size()), text.data(), text.size());
    }
  }

 private:
  // Room for `size` more bytes; where they go.
  char* claim(std::size_t size) {
    if (size_ + size > buffer_.size()) [[unlikely]] {
      grow(size);
    }
    char* const at = buffer_.data() + size_;
    size_ += size;
    return at;
  }
  void grow(std::size_t size);

  std::vector<char> buffer_;
  std::size_t size_ = 0;
};

class Decoder {
 public:
  explicit Decoder(std::string_view bytes) : bytes_(bytes) {}

  template <class T>
  T raw() {
    T value{};
    std::memcpy(&value, bytes_.data(), sizeof value);
    bytes_.remove_prefix(sizeof value);
    return value;
  }
  std::string_view rest() const { return bytes_; }
  std::string_view text() {
    auto const size = raw<std::uint32_t>();
    std::string_view const text = bytes_.substr(0, size);
    bytes_.remove_prefix(size);
    return text;
  }

 private:
  std::string_view bytes_;
};

// Turns the encoded pieces of one message back into its text.
using Formatter = void (*)(Decoder&, std::string& out);

namespace detail {

template <class T>
concept TextLike = std::is_convertible_v<T, std::string_view> && !std::is_same_v<T, std::nullptr_t>;

template <class T>
concept HasTraceCodec = requires(T const& t, Encoder& e, Decoder& d) {
  t.traceEncode(e);
  { T::traceDecode(d) } -> std::same_as<T>;
};

template <class T>
concept CopiedAsBytes = std::is_arithmetic_v<T> || std::is_enum_v<T> || std::is_same_v<T, Hex>;

template <class T>
void encode(Encoder& e, T const& piece) {
  if constexpr (std::is_same_v<T, Literal>) {
    e.raw(piece.text);
  } else if constexpr (TextLike<T>) {
    e.text(std::string_view(piece));
  } else if constexpr (HasTraceCodec<T>) {
    piece.traceEncode(e);
  } else if constexpr (CopiedAsBytes<T>) {
    e.raw(piece);
  } else {
    std::string text;
    append(text, piece);
    e.text(text);
  }
}

template <class T>
void decode(Decoder& d, std::string& out) {
  if constexpr (std::is_same_v<T, Literal>) {
    out.append(d.raw<char const*>());
  } else if constexpr (TextLike<T>) {
    out.append(d.text());
  } else if constexpr (HasTraceCodec<T>) {
    append(out, T::traceDecode(d));
  } else if constexpr (CopiedAsBytes<T>) {
    append(out, d.raw<T>());
  } else {
    out.append(d.text());
  }
}

template <class... Pieces>
void formatPieces(Decoder& d, std::string& out) {
  (decode<Pieces>(d, out), ...);  // a fold over the comma operator runs left to right
}

// How a piece passed as `P&&` is kept: a constant character array as a literal, anything else
// as its decayed type (a mutable array as its characters).
template <class P>
inline constexpr bool kIsLiteral = false;
template <std::size_t N>
inline constexpr bool kIsLiteral<char const (&)[N]> = true;
template <class P>
using PieceType = std::conditional_t<kIsLiteral<P>, Literal, std::decay_t<P>>;

}  // namespace detail

// The formatter for the pieces' types, as deduced for forwarding references.
template <class... Pieces>
constexpr Formatter formatterFor() {
  return &detail::formatPieces<detail::PieceType<Pieces>...>;
}

template <class... Pieces>
void encodePieces(Encoder& e, Pieces&&... pieces) {
  (detail::encode<detail::PieceType<Pieces>>(e, pieces), ...);
}

}  // namespace Trace
