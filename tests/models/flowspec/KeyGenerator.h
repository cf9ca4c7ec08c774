#pragma once

#include <cstdint>
#include <random>

#include "models/flowspec/FlowspecKey.h"

namespace FlowspecTest {

// Random rule keys, deterministic for a seed.
//
// The wide generator exercises every operator bit, AND bit, length and end bit, value range,
// both families, prefixes of every length and every type number a key can hold (raw operator
// bytes as a hostile table could hold them included).
//
// The narrow generator draws from small pools (a few prefixes that nest or share leading bits,
// three types, values and operator bytes whose encodings tie or differ only in length) so that
// keys often share components, tie under the rule precedence, or are equal: what order and
// equality tests need.
class KeyGenerator {
 public:
  explicit KeyGenerator(unsigned seed, bool narrow = false) : rng_(seed), narrow_(narrow) {}

  Flowspec::FlowspecKey next() { return narrow_ ? nextNarrow() : nextWide(); }

 private:
  Flowspec::FlowspecKey nextWide() {
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
      auto const type =
          static_cast<Flowspec::MatchCompType>(rng_() % 20 == 0 ? rng_() % 16 : 3 + rng_() % 11);
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

  Flowspec::FlowspecKey nextNarrow() {
    bool const v6 = rng_() % 5 == 0;
    Flowspec::FlowspecKey key(v6 ? Nwk::AddressFamily::ipv6 : Nwk::AddressFamily::ipv4);
    static char const* const kV4[] = {"10.0.0.0/8", "10.0.0.0/16", "10.1.0.0/16", "11.0.0.0/8",
                                      "0.0.0.0/0"};
    static char const* const kV6[] = {"2001:db8::/32", "2001:db8::/48", "2001:db9::/32"};
    for (int which = 0; which < 2; ++which) {
      if (rng_() % 2) {
        auto const text = v6 ? kV6[rng_() % 3] : kV4[rng_() % 5];
        auto const p = *Nwk::IpGenPrefix::parse(text);
        which == 0 ? key.destinationPrefixIs(p) : key.sourcePrefixIs(p);
      }
    }
    static constexpr Flowspec::MatchCompType kTypes[] = {Flowspec::MatchCompType::ipProtocol,
                                                         Flowspec::MatchCompType::destinationPort,
                                                         Flowspec::MatchCompType::tcpFlags};
    // 0x31: 8 octets; 0x01 and 0x81 differ in the end bit only; 0x11/0x91 encode 2 octets.
    static constexpr std::uint8_t kOps[] = {0x81, 0x01, 0x91, 0x11, 0xb1, 0x31, 0x41, 0xc1};
    static constexpr std::uint32_t kValues[] = {0, 6, 80, 256, 443, 0x10050};
    int const pairs = static_cast<int>(rng_() % 4);
    for (int p = 0; p < pairs; ++p) {
      key.opValAppend(kTypes[rng_() % 3], kOps[rng_() % 8], kValues[rng_() % 6]);
    }
    return key;
  }

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
  bool narrow_;
};

}  // namespace FlowspecTest
