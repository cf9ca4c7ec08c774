#include "models/flowspec/SanitizeMatchSet.h"

namespace Flowspec {

namespace {

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
  return sanitizeMatchSet(
      [&matchSet](MatchCompType type) -> MatchComponent const* {
        auto const it = matchSet.find(type);
        return it == matchSet.end() ? nullptr : &it->second;
      },
      af);
}

MatchCompType sanitizeMatchSet(ComponentFinder const& find, Nwk::AddressFamily af) {
  for (MatchCompType prefixType : {MatchCompType::destinationPrefix, MatchCompType::sourcePrefix}) {
    auto const* prefix = find(prefixType);
    if (prefix && prefix->prefix().af() != af) {
      return prefixType;
    }
  }
  auto const* protocol = find(MatchCompType::ipProtocol);
  auto const* icmpType = find(MatchCompType::icmpType);
  auto const* icmpCode = find(MatchCompType::icmpCode);
  auto const* tcpFlags = find(MatchCompType::tcpFlags);
  bool const hasPorts = find(MatchCompType::port) || find(MatchCompType::destinationPort) ||
                        find(MatchCompType::sourcePort);

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
    if (auto const* fragment = find(MatchCompType::fragment)) {
      bool supported = false;
      bool unsupported = false;
      for (auto const& mask : fragment->ipBitMask()) {
        ((mask.mask() == 0x02 && mask.value() == 0x02) ? supported : unsupported) = true;
      }
      if (supported && unsupported) {
        return MatchCompType::fragment;
      }
    }
    if (find(MatchCompType::flowLabel)) {
      return MatchCompType::flowLabel;
    }
  }
  return MatchCompType::none;
}

}  // namespace Flowspec
