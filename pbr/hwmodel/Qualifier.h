#pragma once

#include <cstdint>

#include "platform/nwk/AddressFamily.h"

namespace Pbr {

// The fields of a TCAM key that an entry can qualify on, as bits of a set. ICMP type and code
// travel in the key's layer-4 source port field, so they use that qualifier.
enum Qualifier : std::uint16_t {
  qualDstIp = 1 << 0,
  qualSrcIp = 1 << 1,
  qualProtocol = 1 << 2,
  qualL4DstPort = 1 << 3,
  qualL4SrcPort = 1 << 4,
  qualTcpControl = 1 << 5,
  qualIpLength = 1 << 6,
  qualTrafficClass = 1 << 7,
  qualFragment = 1 << 8,
};
inline constexpr int kQualifierCount = 9;

using QualifierSet = std::uint16_t;

// `qualifier` as a set when `present`, else the empty set.
inline QualifierSet qualifierIf(bool present, Qualifier qualifier) {
  return present ? static_cast<QualifierSet>(qualifier) : QualifierSet{0};
}

// The name a line card reports the qualifier under for the family: "dst-ip", "src-ip",
// "ip-protocol" / "ipv6-next-header", "l4-dst-port", "l4-src-port", "tcp-control",
// "ip-length", "dscp" / "ipv6-traffic-class", "ip-frag".
char const* qualifierName(Qualifier qualifier, Nwk::AddressFamily af);

}  // namespace Pbr
