#include "models/flowspec/SanitizeMatchSet.h"

namespace Flowspec {

namespace {

MatchComponent const* find(MatchSet const& set, MatchCompType type) {
  auto const it = set.find(type);
  return it == set.end() ? nullptr : &it->second;
}

bool allowsValue(MatchComponent const* component, std::uint32_t value) {
  for (auto const& range : component->numericalRange()) {
    if (value >= range.rangeMin() && value <= range.rangeMax()) {
      return true;
    }
  }
  return false;
}

constexpr std::uint16_t kExpressibleTcpFlags = 0x3F;  // FIN to URG

}  // namespace

MatchCompType sanitizeMatchSet(MatchSet const& matchSet, Nwk::AddressFamily af) {
  for (MatchCompType prefixType : {MatchCompType::destinationPrefix, MatchCompType::sourcePrefix}) {
    auto const* prefix = find(matchSet, prefixType);
    if (prefix && prefix->prefix().af() != af) {
      return prefixType;
    }
  }
  auto const* protocol = find(matchSet, MatchCompType::ipProtocol);
  auto const* icmpType = find(matchSet, MatchCompType::icmpType);
  auto const* icmpCode = find(matchSet, MatchCompType::icmpCode);
  auto const* tcpFlags = find(matchSet, MatchCompType::tcpFlags);
  bool const hasPorts = find(matchSet, MatchCompType::port) ||
                        find(matchSet, MatchCompType::destinationPort) ||
                        find(matchSet, MatchCompType::sourcePort);

  if (icmpType || icmpCode) {
    MatchCompType const icmp = icmpType ? MatchCompType::icmpType : MatchCompType::icmpCode;
    std::uint32_t const icmpProtocol = af == Nwk::AddressFamily::ipv6 ? 58 : 1;
    if ((protocol && !allowsValue(protocol, icmpProtocol)) || hasPorts) {
      return icmp;
    }
  }
  if (tcpFlags) {
    if ((protocol && !allowsValue(protocol, 6)) || icmpType || icmpCode) {
      return MatchCompType::tcpFlags;
    }
    bool expressible = false;
    bool inexpressible = false;
    for (auto const& mask : tcpFlags->tcpBitMask()) {
      ((mask.mask() & ~kExpressibleTcpFlags) ? inexpressible : expressible) = true;
    }
    if (expressible && inexpressible) {
      return MatchCompType::tcpFlags;
    }
  }
  if (af == Nwk::AddressFamily::ipv4) {
    if (auto const* fragment = find(matchSet, MatchCompType::fragment)) {
      bool supported = false;
      bool unsupported = false;
      for (auto const& mask : fragment->ipBitMask()) {
        ((mask.mask() == 0x02 && mask.value() == 0x02) ? supported : unsupported) = true;
      }
      if (supported && unsupported) {
        return MatchCompType::fragment;
      }
    }
    if (find(matchSet, MatchCompType::flowLabel)) {
      return MatchCompType::flowLabel;
    }
  }
  return MatchCompType::none;
}

}  // namespace Flowspec
