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

template <class Mask>
void decodeMasks(Trace::Decoder& d, std::unordered_set<Mask>& masks) {
  for (auto count = d.raw<std::uint32_t>(); count > 0; --count) {
    auto const matchAll = d.raw<bool>();
    auto const value = d.raw<std::uint16_t>();
    masks.insert(Mask(matchAll, value, d.raw<std::uint16_t>()));
  }
}

}  // namespace

void MatchComponent::traceEncode(Trace::Encoder& e) const {
  e.raw(matchCompType_);
  prefix_.traceEncode(e);
  e.raw(static_cast<std::uint32_t>(numericalRange_.size()));
  for (auto const& range : numericalRange_) {
    e.raw(range.rangeMin());
    e.raw(range.rangeMax());
  }
  encodeMasks(e, tcpBitMask_);
  encodeMasks(e, ipBitMask_);
}

MatchComponent MatchComponent::traceDecode(Trace::Decoder& d) {
  MatchComponent c(d.raw<MatchCompType>());
  c.prefix_ = Nwk::IpGenPrefix::traceDecode(d);
  for (auto count = d.raw<std::uint32_t>(); count > 0; --count) {
    auto const rangeMin = d.raw<std::uint32_t>();
    c.numericalRange_.insert(NumericalRange(rangeMin, d.raw<std::uint32_t>()));
  }
  decodeMasks(d, c.tcpBitMask_);
  decodeMasks(d, c.ipBitMask_);
  return c;
}

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
