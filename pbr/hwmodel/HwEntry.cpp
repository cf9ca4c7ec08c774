#include "pbr/hwmodel/HwEntry.h"

#include <bit>
#include <charconv>

namespace Pbr {

namespace {

constexpr std::uint16_t kMax16 = 0xffff;

// Reads one decimal value of 0 to 65535 from `text` at `pos`; false on anything else.
bool readValue(std::string_view text, std::size_t& pos, std::uint16_t& value) {
  unsigned parsed = 0;
  auto const [end, ec] = std::from_chars(text.data() + pos, text.data() + text.size(), parsed);
  if (ec != std::errc() || end == text.data() + pos || parsed > kMax16) {
    return false;
  }
  pos = static_cast<std::size_t>(end - text.data());
  value = static_cast<std::uint16_t>(parsed);
  return true;
}

// Turns a port or length condition into a field condition; false when it is malformed or
// can match no value.
template <class Spec>
bool fieldCondFrom(Spec const& spec, FieldCond& out) {
  out = FieldCond();
  if (!spec) {
    return true;
  }
  std::string_view const text = spec.valueText();
  std::size_t pos = 0;
  std::uint16_t a = 0;
  std::uint16_t b = 0;
  if (!readValue(text, pos, a)) {
    return false;
  }
  if (spec.op() == Acl::RangeOperator::range) {
    if (pos >= text.size() || text[pos] != ' ' || !readValue(text, ++pos, b)) {
      return false;
    }
  }
  if (pos != text.size()) {
    return false;
  }
  switch (spec.op()) {
    case Acl::RangeOperator::eq:
      out.lo = out.hi = a;
      break;
    case Acl::RangeOperator::neq:
      out.lo = out.hi = a;
      out.negate = true;
      break;
    case Acl::RangeOperator::lt:
      if (a == 0) {
        return false;
      }
      out.lo = 0;
      out.hi = static_cast<std::uint16_t>(a - 1);
      break;
    case Acl::RangeOperator::gt:
      if (a == kMax16) {
        return false;
      }
      out.lo = static_cast<std::uint16_t>(a + 1);
      out.hi = kMax16;
      break;
    case Acl::RangeOperator::range:
      if (a > b) {
        return false;
      }
      out.lo = a;
      out.hi = b;
      break;
    default:
      return false;
  }
  // A single value sits in the key itself; anything wider needs a range checker.
  out.kind = out.lo == out.hi && !out.negate ? FieldCond::Kind::exact : FieldCond::Kind::range;
  return true;
}

template <class Spec>
std::string unusable(char const* field, Spec const& spec) {
  return std::string("unusable ") + field + " condition \"" + spec.toStrep() + "\"";
}

// The conditions both families share; the error text, empty on success.
std::string compileBase(Acl::IpFilterBase const& filter, HwEntry& out) {
  out.protocolMask = filter.protocolMask();
  out.protocol = filter.protocol() & filter.protocolMask();
  if (out.protocolMask) {
    out.qualifiers |= qualProtocol;
  }
  if (!fieldCondFrom(filter.sport(), out.sport)) {
    return unusable("sport", filter.sport());
  }
  if (!fieldCondFrom(filter.dport(), out.dport)) {
    return unusable("dport", filter.dport());
  }
  if (!fieldCondFrom(filter.ipLen(), out.length)) {
    return unusable("length", filter.ipLen());
  }
  out.qualifiers |= qualifierIf(bool(filter.sport()), qualL4SrcPort) |
                    qualifierIf(bool(filter.dport()), qualL4DstPort) |
                    qualifierIf(bool(filter.ipLen()), qualIpLength);
  out.icmpTypeSet = filter.icmpTypeSet();
  out.icmpType = filter.icmpType();
  out.icmpCodeSet = filter.icmpCodeSet();
  out.icmpCode = filter.icmpCode();
  if (out.icmpTypeSet || out.icmpCodeSet) {
    out.qualifiers |= qualL4SrcPort;
  }
  out.tcpFlagMask = filter.tcpFlagMask().bits();
  out.tcpFlags = filter.tcpFlag().bits() & out.tcpFlagMask;
  if (out.tcpFlagMask) {
    out.qualifiers |= qualTcpControl;
  }
  out.fragments = filter.fragments();
  if (out.fragments) {
    out.qualifiers |= qualFragment;
  }
  return {};
}

}  // namespace

Bits128 Bits128::fromAddr(Nwk::IpGenAddr const& addr) {
  if (addr.af() == Nwk::AddressFamily::ipv4) {
    return fromV4(addr.v4());
  }
  Bits128 out;
  for (int i = 0; i < 8; ++i) {
    out.hi = out.hi << 8 | addr.bytes()[static_cast<std::size_t>(i)];
    out.lo = out.lo << 8 | addr.bytes()[static_cast<std::size_t>(i + 8)];
  }
  return out;
}

Bits128 Bits128::prefixMask(unsigned len) {
  auto const upper = [](unsigned bits) -> std::uint64_t {
    return bits == 0 ? 0 : bits >= 64 ? ~std::uint64_t{0} : ~std::uint64_t{0} << (64 - bits);
  };
  return {upper(len), len > 64 ? upper(len - 64) : 0};
}

unsigned Bits128::leadingOnes() const {
  unsigned const high = static_cast<unsigned>(std::countl_one(hi));
  return high < 64 ? high : 64 + static_cast<unsigned>(std::countl_one(lo));
}

PacketKey::PacketKey(Packet const& packet)
    : src(Bits128::fromAddr(packet.src)),
      dst(Bits128::fromAddr(packet.dst)),
      protocol(packet.protocol),
      sport(packet.sport),
      dport(packet.dport),
      length(packet.length),
      icmpType(packet.icmpType),
      icmpCode(packet.icmpCode),
      tcpFlags(packet.tcpFlags),
      trafficClass(packet.trafficClass),
      fragment(packet.fragment),
      hasPorts(packet.protocol == 6 || packet.protocol == 17),
      isIcmp(packet.protocol == (packet.af == Nwk::AddressFamily::ipv6 ? 58 : 1)),
      isTcp(packet.protocol == 6) {}

bool HwEntry::matches(PacketKey const& key) const {
  if ((key.dst & dstMask) != dst || (key.src & srcMask) != src ||
      (key.protocol & protocolMask) != protocol) {
    return false;
  }
  if ((sport.kind != FieldCond::Kind::any || dport.kind != FieldCond::Kind::any) &&
      (!key.hasPorts || !sport.accepts(key.sport) || !dport.accepts(key.dport))) {
    return false;
  }
  if (!length.accepts(key.length)) {
    return false;
  }
  if ((icmpTypeSet && (!key.isIcmp || key.icmpType != icmpType)) ||
      (icmpCodeSet && (!key.isIcmp || key.icmpCode != icmpCode))) {
    return false;
  }
  if (tcpFlagMask && (!key.isTcp || (key.tcpFlags & tcpFlagMask) != tcpFlags)) {
    return false;
  }
  return (key.trafficClass & trafficClassMask) == trafficClass && (!fragments || key.fragment);
}

void HwEntry::rangeKeys(std::vector<RangeKey>& out) const {
  auto add = [&out](RangeField field, FieldCond const& cond) {
    if (cond.kind == FieldCond::Kind::range) {
      out.push_back(RangeKey{field, cond.lo, cond.hi});
    }
  };
  add(RangeField::sport, sport);
  add(RangeField::dport, dport);
  add(RangeField::length, length);
}

std::string compileEntry(Acl::IpFilter const& filter, HwEntry& out) {
  out = HwEntry();
  out.srcMask = Bits128::fromV4(filter.sourceMask());
  out.src = Bits128::fromV4(filter.source()) & out.srcMask;
  out.dstMask = Bits128::fromV4(filter.destinationMask());
  out.dst = Bits128::fromV4(filter.destination()) & out.dstMask;
  out.qualifiers |= qualifierIf(filter.sourceMask() != 0, qualSrcIp) |
                    qualifierIf(filter.destinationMask() != 0, qualDstIp);
  if (filter.matchDscp()) {
    // DSCP is the upper six bits of the ToS byte.
    out.trafficClassMask = static_cast<std::uint8_t>((filter.dscpMask() & 0x3f) << 2);
    out.trafficClass = static_cast<std::uint8_t>(filter.dscp() << 2) & out.trafficClassMask;
    out.qualifiers |= qualTrafficClass;
  }
  return compileBase(filter, out);
}

std::string compileEntry(Acl::Ip6Filter const& filter, HwEntry& out) {
  out = HwEntry();
  auto const prefixIs = [&out](Nwk::Ip6AddrWithMask const& prefix, Bits128& value, Bits128& mask,
                               Qualifier qualifier) {
    mask = Bits128::prefixMask(prefix.len());
    value = Bits128::fromAddr(prefix.addr()) & mask;
    out.qualifiers |= qualifierIf(prefix.len() != 0, qualifier);
  };
  if (filter.source().len() > 128) {
    return "unusable source prefix " + filter.source().toStrep();
  }
  if (filter.destination().len() > 128) {
    return "unusable destination prefix " + filter.destination().toStrep();
  }
  prefixIs(filter.source(), out.src, out.srcMask, qualSrcIp);
  prefixIs(filter.destination(), out.dst, out.dstMask, qualDstIp);
  out.trafficClassMask = filter.trafficClassMask();
  out.trafficClass = filter.trafficClass() & filter.trafficClassMask();
  if (out.trafficClassMask) {
    out.qualifiers |= qualTrafficClass;
  }
  return compileBase(filter, out);
}

}  // namespace Pbr
