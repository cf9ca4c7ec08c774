#pragma once

#include <cstdint>
#include <ostream>

namespace Flowspec {

// The flowspec component type numbers. 0 is no component, and the success result of
// digestion and expansion; any other value names a component, and as a result the component
// that made a rule impossible to digest or to translate.
enum class MatchCompType : std::uint32_t {
  none = 0,
  destinationPrefix = 1,
  sourcePrefix = 2,
  ipProtocol = 3,
  port = 4,
  destinationPort = 5,
  sourcePort = 6,
  icmpType = 7,
  icmpCode = 8,
  tcpFlags = 9,
  packetLength = 10,
  dscp = 11,
  fragment = 12,
  flowLabel = 13,
};

constexpr bool isPrefixType(MatchCompType t) {
  return t == MatchCompType::destinationPrefix || t == MatchCompType::sourcePrefix;
}
constexpr bool isBitMaskType(MatchCompType t) {
  return t == MatchCompType::tcpFlags || t == MatchCompType::fragment;
}
constexpr bool isNumericalRangeType(MatchCompType t) {
  auto const v = static_cast<std::uint32_t>(t);
  return (v >= 3 && v <= 8) || v == 10 || v == 11 || v == 13;
}

inline std::ostream& operator<<(std::ostream& os, MatchCompType t) {
  return os << static_cast<std::uint32_t>(t);
}

}  // namespace Flowspec
