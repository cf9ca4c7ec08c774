#pragma once

#include <random>

#include "models/flowspec/FlowspecKey.h"

namespace FlowspecTest {

// Random rule keys that exercise every operator bit, AND bit, length and end bit, value range,
// both families and prefixes. Deterministic for a seed.
class KeyGenerator {
 public:
  explicit KeyGenerator(unsigned seed) : rng_(seed) {}

  Flowspec::FlowspecKey next() {
    bool const v6 = rng_() % 2;
    Flowspec::FlowspecKey key(v6 ? Nwk::AddressFamily::ipv6 : Nwk::AddressFamily::ipv4);
    if (rng_() % 2) {
      key.destinationPrefixIs(prefix(v6));
    }
    if (rng_() % 3 == 0) {
      key.sourcePrefixIs(prefix(v6));
    }
    int const runs = static_cast<int>(rng_() % 4);
    for (int r = 0; r < runs; ++r) {
      auto const type = static_cast<Flowspec::MatchCompType>(
          rng_() % 20 == 0 ? rng_() % 16 : 3 + rng_() % 11);
      int const pairs = 1 + static_cast<int>(rng_() % 3);
      for (int p = 0; p < pairs; ++p) {
        std::uint32_t const value = valueFor(type);
        std::uint8_t op;
        if (rng_() % 4 == 0) {
          op = static_cast<std::uint8_t>(rng_());  // any byte, as a raw table could hold
        } else {
          std::uint8_t const logical = static_cast<std::uint8_t>(
              Flowspec::isBitMaskType(type) ? rng_() % 4 : 1 + rng_() % 6);
          std::uint8_t const andBit = (p > 0 && rng_() % 2) ? Flowspec::OpBits::kAnd : 0;
          op = Flowspec::canonicalOpByte(static_cast<std::uint8_t>(logical | andBit), value,
                                         p + 1 == pairs);
        }
        key.opValAppend(type, op, value);
      }
    }
    return key;
  }

 private:
  std::uint32_t valueFor(Flowspec::MatchCompType type) {
    switch (rng_() % 4) {
      case 0:
        return 0;
      case 1:
        return rng_() % 256;
      case 2:
        return rng_() % 65536;
      default:
        return type == Flowspec::MatchCompType::flowLabel || rng_() % 8 == 0
                   ? rng_() % (Flowspec::FlowspecKey::kMaxValue + 1)
                   : rng_() % 64;
    }
  }

  Nwk::IpGenPrefix prefix(bool v6) {
    if (v6) {
      Nwk::IpGenAddr::Bytes bytes{};
      for (auto& b : bytes) {
        b = static_cast<std::uint8_t>(rng_());
      }
      return Nwk::IpGenPrefix(Nwk::IpGenAddr::ipv6(bytes), static_cast<std::uint8_t>(rng_() % 129));
    }
    return Nwk::IpGenPrefix(Nwk::IpGenAddr::ipv4(static_cast<std::uint32_t>(rng_())),
                            static_cast<std::uint8_t>(rng_() % 33));
  }

  std::mt19937 rng_;
};

}  // namespace FlowspecTest
