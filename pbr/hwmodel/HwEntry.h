#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "models/acl/IpFilter.h"
#include "pbr/hwmodel/Packet.h"
#include "pbr/hwmodel/Qualifier.h"

namespace Pbr {

// A 128-bit address or mask. IPv4 addresses sit in the upper 32 bits, so that a prefix length
// means the same leading bits in both families.
struct Bits128 {
  std::uint64_t hi = 0;
  std::uint64_t lo = 0;

  static Bits128 fromAddr(Nwk::IpGenAddr const& addr);
  static Bits128 fromV4(std::uint32_t value) { return {std::uint64_t{value} << 32, 0}; }
  // The mask of the first `len` bits (len <= 128).
  static Bits128 prefixMask(unsigned len);
  // How many leading bits are set before the first clear one.
  unsigned leadingOnes() const;
  Bits128 operator&(Bits128 const& other) const { return {hi & other.hi, lo & other.lo}; }
  bool operator==(Bits128 const&) const = default;
};

// The layer-4 fields that range checkers compare.
enum class RangeField : std::uint8_t { sport, dport, length };

// One range checker's setting. Checkers are shared by every entry of a line card that needs
// the same field and bounds, negated or not.
struct RangeKey {
  RangeField field = RangeField::sport;
  std::uint16_t lo = 0;
  std::uint16_t hi = 0;
  auto operator<=>(RangeKey const&) const = default;
};

// A 16-bit field condition as the TCAM holds it: none, one exact value in the key, or the
// result bit of a range checker (negated for "not equal").
struct FieldCond {
  enum class Kind : std::uint8_t { any, exact, range };
  Kind kind = Kind::any;
  std::uint16_t lo = 0;
  std::uint16_t hi = 0;
  bool negate = false;

  bool accepts(std::uint16_t value) const {
    return kind == Kind::any || ((value >= lo && value <= hi) != negate);
  }
};

// A packet's header in the form entries compare against.
struct PacketKey {
  explicit PacketKey(Packet const& packet);

  Bits128 src;
  Bits128 dst;
  std::uint8_t protocol;
  std::uint16_t sport;
  std::uint16_t dport;
  std::uint16_t length;
  std::uint8_t icmpType;
  std::uint8_t icmpCode;
  std::uint16_t tcpFlags;
  std::uint8_t trafficClass;
  bool fragment;
  bool hasPorts;  // TCP or UDP
  bool isIcmp;    // ICMP of the packet's family
  bool isTcp;
};

// One TCAM entry compiled from an ACL entry. Values are stored already masked. The semantics
// are those the ACL filter records document: every condition ANDed, port conditions only for
// TCP and UDP, ICMP type and code only for ICMP of the family, TCP flags only for TCP.
struct HwEntry {
  Bits128 src;
  Bits128 srcMask;
  Bits128 dst;
  Bits128 dstMask;
  std::uint8_t protocol = 0;
  std::uint8_t protocolMask = 0;
  FieldCond sport;
  FieldCond dport;
  FieldCond length;
  bool icmpTypeSet = false;
  bool icmpCodeSet = false;
  std::uint8_t icmpType = 0;
  std::uint8_t icmpCode = 0;
  std::uint16_t tcpFlags = 0;
  std::uint16_t tcpFlagMask = 0;
  std::uint8_t trafficClass = 0;
  std::uint8_t trafficClassMask = 0;
  bool fragments = false;
  QualifierSet qualifiers = 0;
  // The position of the entry's class in the version it belongs to.
  std::uint32_t classPos = 0;

  bool matches(PacketKey const& key) const;
  // The range checkers the entry needs, appended to `out`.
  void rangeKeys(std::vector<RangeKey>& out) const;
};

// Compiles an ACL entry. Conditions the hardware cannot express (an empty or malformed port
// or length condition, a prefix longer than the family's) give an error text and leave `out`
// unspecified; the text is empty on success.
std::string compileEntry(Acl::IpFilter const& filter, HwEntry& out);
std::string compileEntry(Acl::Ip6Filter const& filter, HwEntry& out);

}  // namespace Pbr
