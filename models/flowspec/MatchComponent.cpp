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

template <class Mask>
void encodeMasks(Trace::Encoder& e, std::unordered_set<Mask> const& masks) {
  e.raw(static_cast<std::uint32_t>(masks.size()));
  for (auto const& mask : masks) {
    e.raw(mask.matchAll());
    e.raw(mask.value());
    e.raw(mask.mask());
  }
}

// The TCP masks, then the IP masks, as encodeMasks wrote them.
void decodeMasks(Trace::Decoder& d, MatchComponent& component) {
  for (bool const tcp : {true, false}) {
    for (auto count = d.raw<std::uint32_t>(); count > 0; --count) {
      auto const matchAll = d.raw<bool>();
      auto const value = d.raw<std::uint16_t>();
      auto const mask = d.raw<std::uint16_t>();
      if (tcp) {
        component.tcpBitMaskIs(TcpBitMask(matchAll, value, mask));
      } else {
        component.ipBitMaskIs(IpBitMask(matchAll, value, mask));
      }
    }
  }
}

}  // namespace

MatchComponent::MatchComponent(MatchCompType type) : matchCompType_(type) {
  if (isPrefixType(type)) {
    value_.emplace<Nwk::IpGenPrefix>();
  } else if (isNumericalRangeType(type)) {
    value_.emplace<Ranges>();
  } else if (type == MatchCompType::fragment) {
    value_.emplace<IpMasks>();
  } else if (type == MatchCompType::tcpFlags) {
    value_.emplace<TcpMasks>();
  }
}

void MatchComponent::traceEncode(Trace::Encoder& e) const {
  e.raw(matchCompType_);
  prefix().traceEncode(e);
  e.raw(static_cast<std::uint32_t>(numericalRange().size()));
  for (auto const& range : numericalRange()) {
    range.traceEncode(e);
  }
  encodeMasks(e, tcpBitMask());
  encodeMasks(e, ipBitMask());
}

MatchComponent MatchComponent::traceDecode(Trace::Decoder& d) {
  MatchComponent c(d.raw<MatchCompType>());
  if (auto const prefix = Nwk::IpGenPrefix::traceDecode(d); !prefix.isEmpty()) {
    c.prefixIs(prefix);
  }
  for (auto count = d.raw<std::uint32_t>(); count > 0; --count) {
    c.numericalRangeIs(NumericalRange::traceDecode(d));
  }
  decodeMasks(d, c);
  return c;
}

std::string MatchComponent::toStrep() const {
  std::string out = compTypeName(matchCompType_);
  if (matchTypePrefix()) {
    out += ' ';
    return out += prefix().toStrep();
  }
  for (auto const& range : numericalRange()) {
    out += ' ';
    out += range.toStrep();
  }
  return out + masksText(tcpBitMask()) + masksText(ipBitMask());
}

}  // namespace Flowspec
