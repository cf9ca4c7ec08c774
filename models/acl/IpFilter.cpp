#include "models/acl/IpFilter.h"

#include <cstdio>

#include "platform/cog/Errors.h"

namespace Acl {

std::string TcpFlag::toStrep() const {
  static char const* const kNames[] = {"fin", "syn", "rst", "psh", "ack",
                                       "urg", "ece", "cwr", "ns"};
  std::string out;
  for (unsigned bit = 0; bit < 9; ++bit) {
    if (bits_ & (1u << bit)) {
      out += out.empty() ? "" : "+";
      out += kNames[bit];
    }
  }
  return out.empty() ? "none" : out;
}

void IpFilterBase::tniIs(std::uint32_t tni) {
  if (tni > 16777215) {
    throw Cog::RangeError("IpFilterBase::tni < 0 or > 16777215 not allowed");
  }
  tni_ = tni;
}

void IpFilterBase::vniIs(std::uint32_t vni) {
  if (vni > 16777215) {
    throw Cog::RangeError("IpFilterBase::vni < 0 or > 16777215 not allowed");
  }
  vni_ = vni;
}

namespace {

std::size_t mix(std::size_t h, std::size_t v) { return (h ^ v) * 0x100000001B3ull; }

std::string hex(unsigned value) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%x", value);
  return text;
}

std::string v4(std::uint32_t address) { return Nwk::IpGenAddr::ipv4(address).toStrep(); }

std::uint32_t maskOf(unsigned len) { return len == 0 ? 0 : ~std::uint32_t{0} << (32 - len); }

}  // namespace

std::size_t IpFilterBase::hash() const {
  std::size_t h = 0xcbf29ce484222325ull;
  h = mix(h, std::size_t{protocol_} << 8 | protocolMask_);
  h = mix(h, std::size_t{icmpType_} << 16 | std::size_t{icmpCode_} << 8 |
                 std::size_t{icmpTypeSet_} << 2 | std::size_t{icmpCodeSet_} << 1 | fragments_);
  h = mix(h, std::size_t{tcpFlag_.bits()} << 16 | tcpFlagMask_.bits());
  h = mix(
      h, std::hash<std::string_view>()(sport_.valueText()) + static_cast<std::size_t>(sport_.op()));
  h = mix(
      h, std::hash<std::string_view>()(dport_.valueText()) + static_cast<std::size_t>(dport_.op()));
  h = mix(
      h, std::hash<std::string_view>()(ipLen_.valueText()) + static_cast<std::size_t>(ipLen_.op()));
  return mix(h, std::size_t{tni_} << 24 ^ vni_);
}

std::string IpFilterBase::baseStrep() const {
  std::string out;
  if (protocolMask_) {
    out += " proto " + std::to_string(protocol_) + "/" + hex(protocolMask_);
  }
  if (sport_) {
    out += " sport " + sport_.toStrep();
  }
  if (dport_) {
    out += " dport " + dport_.toStrep();
  }
  if (ipLen_) {
    out += " len " + ipLen_.toStrep();
  }
  if (icmpTypeSet_) {
    out += " icmp-type " + std::to_string(icmpType_);
  }
  if (icmpCodeSet_) {
    out += " icmp-code " + std::to_string(icmpCode_);
  }
  if (tcpFlagMask_.bits()) {
    out += " tcp " + tcpFlag_.toStrep() + "/" + tcpFlagMask_.toStrep();
  }
  if (fragments_) {
    out += " fragments";
  }
  if (tni_) {
    out += " tni " + std::to_string(tni_);
  }
  if (vni_) {
    out += " vni " + std::to_string(vni_);
  }
  return out;
}

void IpFilter::sourceIs(std::uint32_t address, std::uint32_t mask) {
  source_ = address;
  sourceMask_ = mask;
}

void IpFilter::sourceIs(Nwk::IpGenPrefix const& prefix) {
  sourceIs(prefix.addr().v4(), maskOf(prefix.len()));
}

void IpFilter::destinationIs(std::uint32_t address, std::uint32_t mask) {
  destination_ = address;
  destinationMask_ = mask;
}

void IpFilter::destinationIs(Nwk::IpGenPrefix const& prefix) {
  destinationIs(prefix.addr().v4(), maskOf(prefix.len()));
}

void IpFilter::dscpIs(unsigned dscp) {
  if (dscp > 63) {
    throw Cog::RangeError("IpFilter::dscp < 0 or > 63 not allowed");
  }
  dscp_ = static_cast<std::uint8_t>(dscp);
}

std::size_t IpFilter::hash() const {
  std::size_t h = IpFilterBase::hash();
  h = mix(h, std::size_t{source_} << 32 | sourceMask_);
  h = mix(h, std::size_t{destination_} << 32 | destinationMask_);
  return mix(h, std::size_t{matchDscp_} << 16 | std::size_t{dscp_} << 8 | dscpMask_);
}

std::string IpFilter::toStrep() const {
  std::string out;
  if (sourceMask_) {
    out += " src " + v4(source_) + "/" + v4(sourceMask_);
  }
  if (destinationMask_) {
    out += " dst " + v4(destination_) + "/" + v4(destinationMask_);
  }
  out += baseStrep();
  if (matchDscp_) {
    out += " dscp " + std::to_string(dscp_) + "/" + hex(dscpMask_);
  }
  return out.empty() ? "ip any" : "ip" + out;
}

std::size_t Ip6Filter::hash() const {
  std::size_t h = IpFilterBase::hash();
  h = mix(h, std::hash<Nwk::IpGenAddr>()(source_.addr()) + source_.len());
  h = mix(h, std::hash<Nwk::IpGenAddr>()(destination_.addr()) + destination_.len());
  return mix(h, std::size_t{trafficClass_} << 8 | trafficClassMask_);
}

std::string Ip6Filter::toStrep() const {
  std::string out;
  if (source_.len()) {
    out += " src " + source_.toStrep();
  }
  if (destination_.len()) {
    out += " dst " + destination_.toStrep();
  }
  out += baseStrep();
  if (trafficClassMask_) {
    out += " tc " + std::to_string(trafficClass_) + "/" + hex(trafficClassMask_);
  }
  return out.empty() ? "ipv6 any" : "ipv6" + out;
}

}  // namespace Acl
