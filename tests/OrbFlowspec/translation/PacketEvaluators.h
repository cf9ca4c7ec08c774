#pragma once

// Two independent judges of a packet, for checking the translation: one applies a digested
// flowspec match set as the flowspec RFCs define the components, the other applies ACL
// entries as the ACL filter records document their fields. Neither shares code with the
// translation.
#include <sstream>
#include <vector>

#include "models/acl/IpFilter.h"
#include "models/flowspec/MatchComponent.h"

namespace TranslationTest {

struct Packet {
  Nwk::AddressFamily af = Nwk::AddressFamily::ipv4;
  Nwk::IpGenAddr src;
  Nwk::IpGenAddr dst;
  std::uint32_t protocol = 6;
  std::uint32_t sport = 0;
  std::uint32_t dport = 0;
  std::uint32_t icmpType = 0;
  std::uint32_t icmpCode = 0;
  std::uint32_t tcpFlags = 0;  // 9 bits
  std::uint32_t length = 0;
  std::uint32_t dscp = 0;      // 6 bits
  std::uint32_t ecn = 0;       // the low two bits of the traffic class
  std::uint32_t fragBits = 0;  // df 1, is-fragment 2, first 4, last 8
  std::uint32_t flowLabel = 0;

  bool hasPorts() const { return protocol == 6 || protocol == 17; }
  bool isIcmp() const { return protocol == (af == Nwk::AddressFamily::ipv6 ? 58u : 1u); }
};

inline bool inRanges(Flowspec::MatchComponent const& c, std::uint32_t v) {
  for (auto const& r : c.numericalRange()) {
    if (v >= r.rangeMin() && v <= r.rangeMax()) {
      return true;
    }
  }
  return false;
}

// RFC 8955 / 8956: every component must match; port components only match packets that have
// ports, ICMP components ICMP packets of the family, TCP flags TCP packets.
inline bool ruleAccepts(Flowspec::MatchSet const& set, Packet const& p) {
  using T = Flowspec::MatchCompType;
  for (auto const& [type, c] : set) {
    bool ok = false;
    switch (type) {
      case T::destinationPrefix:
        ok = c.prefix().contains(p.dst);
        break;
      case T::sourcePrefix:
        ok = c.prefix().contains(p.src);
        break;
      case T::ipProtocol:
        ok = inRanges(c, p.protocol);
        break;
      case T::port:
        ok = p.hasPorts() && (inRanges(c, p.sport) || inRanges(c, p.dport));
        break;
      case T::destinationPort:
        ok = p.hasPorts() && inRanges(c, p.dport);
        break;
      case T::sourcePort:
        ok = p.hasPorts() && inRanges(c, p.sport);
        break;
      case T::icmpType:
        ok = p.isIcmp() && inRanges(c, p.icmpType);
        break;
      case T::icmpCode:
        ok = p.isIcmp() && inRanges(c, p.icmpCode);
        break;
      case T::tcpFlags:
        for (auto const& m : c.tcpBitMask()) {
          ok = ok || (p.protocol == 6 && (p.tcpFlags & m.mask()) == m.value());
        }
        break;
      case T::packetLength:
        ok = inRanges(c, p.length);
        break;
      case T::dscp:
        ok = inRanges(c, p.dscp);
        break;
      case T::fragment:
        for (auto const& m : c.ipBitMask()) {
          ok = ok || (p.fragBits & m.mask()) == m.value();
        }
        break;
      case T::flowLabel:
        ok = p.af == Nwk::AddressFamily::ipv6 && inRanges(c, p.flowLabel);
        break;
      default:
        ok = false;
    }
    if (!ok) {
      return false;
    }
  }
  return true;
}

// An ACL port or length condition on a value, from its operator and value text.
template <class Spec>
bool specAccepts(Spec const& spec, std::uint32_t v) {
  if (!spec) {
    return true;
  }
  std::istringstream text{std::string(spec.valueText())};
  std::uint32_t a = 0;
  std::uint32_t b = 0;
  text >> a >> b;
  switch (spec.op()) {
    case Acl::RangeOperator::eq:
      return v == a;
    case Acl::RangeOperator::range:
      return v >= a && v <= b;
    default:
      return false;
  }
}

inline bool baseAccepts(Acl::IpFilterBase const& f, Packet const& p) {
  if ((p.protocol & f.protocolMask()) != (f.protocol() & f.protocolMask())) {
    return false;
  }
  if ((f.sport() || f.dport()) &&
      (!p.hasPorts() || !specAccepts(f.sport(), p.sport) || !specAccepts(f.dport(), p.dport))) {
    return false;
  }
  if (!specAccepts(f.ipLen(), p.length)) {
    return false;
  }
  if (f.icmpTypeSet() && (!p.isIcmp() || p.icmpType != f.icmpType())) {
    return false;
  }
  if (f.icmpCodeSet() && (!p.isIcmp() || p.icmpCode != f.icmpCode())) {
    return false;
  }
  if (f.tcpFlagMask().bits() &&
      (p.protocol != 6 ||
       (p.tcpFlags & f.tcpFlagMask().bits()) != (f.tcpFlag().bits() & f.tcpFlagMask().bits()))) {
    return false;
  }
  return !f.fragments() || (p.fragBits & 0x2);
}

inline bool entryAccepts(Acl::IpFilter const& f, Packet const& p) {
  return (p.src.v4() & f.sourceMask()) == (f.source() & f.sourceMask()) &&
         (p.dst.v4() & f.destinationMask()) == (f.destination() & f.destinationMask()) &&
         (!f.matchDscp() || (p.dscp & f.dscpMask()) == (f.dscp() & f.dscpMask())) &&
         baseAccepts(f, p);
}

inline bool entryAccepts(Acl::Ip6Filter const& f, Packet const& p) {
  std::uint32_t const tc = p.dscp << 2 | p.ecn;
  return Nwk::IpGenPrefix(p.src, f.source().len()).addr() ==
             Nwk::IpGenPrefix(f.source().addr(), f.source().len()).addr() &&
         Nwk::IpGenPrefix(p.dst, f.destination().len()).addr() ==
             Nwk::IpGenPrefix(f.destination().addr(), f.destination().len()).addr() &&
         (tc & f.trafficClassMask()) == (f.trafficClass() & f.trafficClassMask()) &&
         baseAccepts(f, p);
}

template <class Filter>
bool entriesAccept(std::vector<Filter> const& entries, Packet const& p) {
  for (auto const& e : entries) {
    if (entryAccepts(e, p)) {
      return true;
    }
  }
  return false;
}

}  // namespace TranslationTest
