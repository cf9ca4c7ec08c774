#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "platform/tidal/TableCodec.h"

namespace Tidal {

// The octets of one entry in a shared-memory slot: the key's length (32 bits), the key, then
// the value, each as the codec writes them. Shared by the writer and reader backings.
template <class K, class V, class Codec>
requires TableCodec<Codec, K, V>
struct SharedEntry {
  static void encode(K const& key, V const& value, std::vector<std::uint8_t>& out) {
    out.assign(4, 0);
    ByteSink sink(out);
    Codec::encodeKey(key, sink);
    auto const keyLength = static_cast<std::uint32_t>(out.size() - 4);
    for (int i = 0; i < 4; ++i) {
      out[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(keyLength >> (8 * i));
    }
    Codec::encodeValue(value, sink);
  }

  // The key, when the octets hold one that decodes completely.
  static std::optional<K> decodeKey(std::span<std::uint8_t const> payload) {
    ByteSource header(payload);
    std::uint32_t const keyLength = header.u32();
    if (!header.ok() || header.remaining() < keyLength) {
      return std::nullopt;
    }
    ByteSource source(payload.subspan(4, keyLength));
    std::optional<K> key = Codec::decodeKey(source);
    return key && source.atEnd() ? key : std::nullopt;
  }

  // The key and value, when both decode and nothing is left over.
  static std::optional<std::pair<K, V>> decode(std::span<std::uint8_t const> payload) {
    std::optional<K> key = decodeKey(payload);
    if (!key) {
      return std::nullopt;
    }
    ByteSource header(payload);
    std::uint32_t const keyLength = header.u32();
    ByteSource source(payload.subspan(4 + std::size_t{keyLength}));
    std::optional<V> value = Codec::decodeValue(source, *key);
    if (!value || !source.atEnd()) {
      return std::nullopt;
    }
    return std::pair<K, V>(std::move(*key), std::move(*value));
  }
};

}  // namespace Tidal
