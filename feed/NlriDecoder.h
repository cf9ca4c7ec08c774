#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "feed/Diagnostic.h"
#include "models/flowspec/FlowspecKey.h"

namespace Feed {

// One flowspec NLRI as decoded.
struct NlriResult {
  // Octets the NLRI takes, its length octet or octets included; 0 when its length runs past
  // the data, so that the NLRI after it cannot be located.
  std::size_t length = 0;
  // The rule's key; absent when the NLRI is malformed or refused (see diagnostics).
  std::optional<Flowspec::FlowspecKey> key;
  std::vector<Diagnostic> diagnostics;
};

// Decodes flowspec NLRI of one address family (RFC 8955 for IPv4, RFC 8956 for IPv6) from
// raw BGP octets into rule keys: operator bytes exactly as on the wire (the rule precedence
// compares them), prefixes as prefixes. It keeps no state; any octets are safe input.
//
// What it refuses and why (Severity::refuseRoute; the NLRI itself is well formed):
// - an IPv6 prefix with a non-zero offset: a rule matches prefixes from their first bit, and
//   installing the pattern as a prefix would match more than the route asks for;
// - a value above 0xFFFFF, the widest value a rule's packed pair holds. Cutting or saturating
//   it would give two different routes one key (a withdrawal of one would remove the other),
//   so the route is refused with the offset of the value instead.
// Everything else that breaks the encoding rules is malformed (Severity::treatAsWithdraw), or,
// when the NLRI's own length runs past the data, Severity::sessionReset. One NLRI gets at
// most one such error: the first found, except that a refusal does not stop the search for a
// malformation (a malformed NLRI must still withdraw the whole UPDATE).
//
// Decoded as the RFCs say rather than refused: numeric values of any length (the RFCs'
// lengths per type are SHOULDs); the AND bit on the first operator of a list (treated as clear,
// as the digestion does; the byte is kept and a note says so); reserved operator bits and
// fragment or TCP flag bits without a meaning (kept; the matching ignores them); host bits of
// IPv4 prefixes and the padding of IPv6 patterns (ignored). An NLRI without components is a
// rule that matches every packet of its family.
class NlriDecoder {
 public:
  // `af` is ipv4 or ipv6.
  explicit NlriDecoder(Nwk::AddressFamily af);

  // Decodes the NLRI that starts at `bytes[0]` (its length octet); `bytes` may go on with
  // more NLRI. `base` is the offset of bytes[0] in the message, for diagnostics.
  NlriResult decode(std::span<std::uint8_t const> bytes, std::size_t base = 0) const;

 private:
  Nwk::AddressFamily af_;
};

}  // namespace Feed
