#include "models/flowspec/MatchComponent.h"

#include <algorithm>
#include <vector>

namespace Flowspec {

std::string compTypeName(MatchCompType type) {
  switch (type) {
    case MatchCompType::destinationPrefix:
      return "dst";
    case MatchCompType::sourcePrefix:
      return "src";
    case MatchCompType::ipProtocol:
      return "proto";
    case MatchCompType::port:
      return "port";
    case MatchCompType::destinationPort:
      return "dport";
    case MatchCompType::sourcePort:
      return "sport";
    case MatchCompType::icmpType:
      return "icmp-type";
    case MatchCompType::icmpCode:
      return "icmp-code";
    case MatchCompType::tcpFlags:
      return "tcp-flags";
    case MatchCompType::packetLength:
      return "len";
    case MatchCompType::dscp:
      return "dscp";
    case MatchCompType::fragment:
      return "frag";
    case MatchCompType::flowLabel:
      return "flow-label";
    default:
      return "type" + std::to_string(static_cast<std::uint32_t>(type));
  }
}

namespace {

// Bitmask sets are hashed; print them sorted so the text does not depend on table order.
template <class Mask>
std::string masksText(std::unordered_set<Mask> const& masks) {
  std::vector<Mask> sorted(masks.begin(), masks.end());
  std::sort(sorted.begin(), sorted.end());
  std::string out;
  for (auto const& mask : sorted) {
    out += " {" + mask.toStrepCli() + "}";
  }
  return out;
}

}  // namespace

std::string MatchComponent::toStrep() const {
  std::string out = compTypeName(matchCompType_);
  if (matchTypePrefix()) {
    out += ' ';
    return out += prefix_.toStrep();
  }
  for (auto const& range : numericalRange_) {
    out += ' ';
    out += range.toStrep();
  }
  return out + masksText(tcpBitMask_) + masksText(ipBitMask_);
}

}  // namespace Flowspec
