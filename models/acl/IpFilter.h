#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "models/acl/AclSpec.h"
#include "platform/nwk/IpGenPrefix.h"

namespace Acl {

// The fields an IPv4 and an IPv6 ACL entry have in common. A default filter matches every packet
// of its family; each field set narrows it, all conditions ANDed:
// - protocol/protocolMask: packet protocol & mask == protocol & mask (mask 0: any protocol);
// - sport, dport: port conditions; a filter with one matches TCP (6) and UDP (17) packets only;
// - ipLen: the packet length condition;
// - icmpType, icmpCode: compared only when set (their presence flags); the ICMP type and code
//   of ICMP (1) or ICMPv6 (58) packets, a protocol the translation always pins with them;
// - tcpFlag/tcpFlagMask: packet flags & mask == value & mask (mask 0: no condition), TCP only;
// - fragments: when set, only fragments match;
// - tni, vni: tunnel identifiers (0 to 16777215), unused by flowspec.
class IpFilterBase {
 public:
  std::uint8_t protocol() const { return protocol_; }
  void protocolIs(std::uint8_t protocol) { protocol_ = protocol; }
  std::uint8_t protocolMask() const { return protocolMask_; }
  void protocolMaskIs(std::uint8_t mask) { protocolMask_ = mask; }
  PortSpec const& sport() const { return sport_; }
  void sportIs(PortSpec const& spec) { sport_ = spec; }
  PortSpec const& dport() const { return dport_; }
  void dportIs(PortSpec const& spec) { dport_ = spec; }
  IpLenSpec const& ipLen() const { return ipLen_; }
  void ipLenIs(IpLenSpec const& spec) { ipLen_ = spec; }
  bool icmpTypeSet() const { return icmpTypeSet_; }
  std::uint8_t icmpType() const { return icmpType_; }
  void icmpTypeIs(std::uint8_t type) {
    icmpType_ = type;
    icmpTypeSet_ = true;
  }
  bool icmpCodeSet() const { return icmpCodeSet_; }
  std::uint8_t icmpCode() const { return icmpCode_; }
  void icmpCodeIs(std::uint8_t code) {
    icmpCode_ = code;
    icmpCodeSet_ = true;
  }
  TcpFlag const& tcpFlag() const { return tcpFlag_; }
  void tcpFlagIs(TcpFlag const& flag) { tcpFlag_ = flag; }
  TcpFlag const& tcpFlagMask() const { return tcpFlagMask_; }
  void tcpFlagMaskIs(TcpFlag const& mask) { tcpFlagMask_ = mask; }
  bool fragments() const { return fragments_; }
  void fragmentsIs(bool fragments) { fragments_ = fragments; }
  std::uint32_t tni() const { return tni_; }
  void tniIs(std::uint32_t tni);  // range error above 16777215
  std::uint32_t vni() const { return vni_; }
  void vniIs(std::uint32_t vni);  // range error above 16777215

  bool operator==(IpFilterBase const&) const = default;
  std::size_t hash() const;

 protected:
  // The conditions of the common part, each preceded by a blank; "" for none.
  std::string baseStrep() const;

 private:
  std::uint8_t protocol_ = 0;
  std::uint8_t protocolMask_ = 0;
  bool icmpTypeSet_ = false;
  bool icmpCodeSet_ = false;
  std::uint8_t icmpType_ = 0;
  std::uint8_t icmpCode_ = 0;
  bool fragments_ = false;
  TcpFlag tcpFlag_;
  TcpFlag tcpFlagMask_;
  std::uint32_t tni_ = 0;
  std::uint32_t vni_ = 0;
  PortSpec sport_;
  PortSpec dport_;
  IpLenSpec ipLen_;
};

// An IPv4 ACL entry: the common part, source and destination (address and mask, network
// order; mask 0 matches any address), and DSCP (compared when matchDscp is set: packet DSCP &
// dscpMask == dscp & dscpMask).
class IpFilter : public IpFilterBase {
 public:
  std::uint32_t source() const { return source_; }
  std::uint32_t sourceMask() const { return sourceMask_; }
  void sourceIs(std::uint32_t address, std::uint32_t mask);
  void sourceIs(Nwk::IpGenPrefix const& prefix);
  std::uint32_t destination() const { return destination_; }
  std::uint32_t destinationMask() const { return destinationMask_; }
  void destinationIs(std::uint32_t address, std::uint32_t mask);
  void destinationIs(Nwk::IpGenPrefix const& prefix);
  bool matchDscp() const { return matchDscp_; }
  void matchDscpIs(bool match) { matchDscp_ = match; }
  std::uint8_t dscp() const { return dscp_; }
  void dscpIs(unsigned dscp);  // range error "IpFilter::dscp < 0 or > 63 not allowed"
  std::uint8_t dscpMask() const { return dscpMask_; }
  void dscpMaskIs(std::uint8_t mask) { dscpMask_ = mask; }

  bool operator==(IpFilter const&) const = default;
  std::size_t hash() const;
  // "ip any", or the conditions: "ip dst 10.0.0.0/255.0.0.0 proto 6/0xff dport eq 80".
  std::string toStrep() const;

 private:
  std::uint32_t source_ = 0;
  std::uint32_t sourceMask_ = 0;
  std::uint32_t destination_ = 0;
  std::uint32_t destinationMask_ = 0;
  bool matchDscp_ = false;
  std::uint8_t dscp_ = 0;
  std::uint8_t dscpMask_ = 0;
};

// An IPv6 ACL entry: the common part, source and destination prefixes (::/0 matches any), and
// the traffic class (packet traffic class & trafficClassMask == trafficClass &
// trafficClassMask; DSCP is its upper six bits).
class Ip6Filter : public IpFilterBase {
 public:
  Nwk::Ip6AddrWithMask const& source() const { return source_; }
  void sourceIs(Nwk::Ip6AddrWithMask const& source) { source_ = source; }
  Nwk::Ip6AddrWithMask const& destination() const { return destination_; }
  void destinationIs(Nwk::Ip6AddrWithMask const& destination) { destination_ = destination; }
  std::uint8_t trafficClass() const { return trafficClass_; }
  void trafficClassIs(std::uint8_t tc) { trafficClass_ = tc; }
  std::uint8_t trafficClassMask() const { return trafficClassMask_; }
  void trafficClassMaskIs(std::uint8_t mask) { trafficClassMask_ = mask; }

  bool operator==(Ip6Filter const&) const = default;
  std::size_t hash() const;
  // "ipv6 any", or the conditions.
  std::string toStrep() const;

 private:
  Nwk::Ip6AddrWithMask source_;
  Nwk::Ip6AddrWithMask destination_;
  std::uint8_t trafficClass_ = 0;
  std::uint8_t trafficClassMask_ = 0;
};

enum class AclAction : std::uint8_t { permit = 0, deny = 1 };

// The common part of an ACL rule.
struct RuleConfig {
  AclAction action = AclAction::permit;
  bool log = false;
  bool operator==(RuleConfig const&) const = default;
};

// An ACL rule: the defaults of a rule with the filter copied in.
template <class Filter>
class FilterRuleConfig : public RuleConfig {
 public:
  FilterRuleConfig() = default;
  explicit FilterRuleConfig(Filter const& filter) : filter_(filter) {}
  Filter const& filter() const { return filter_; }
  bool operator==(FilterRuleConfig const&) const = default;
  std::string toStrep() const {
    return (action == AclAction::permit ? "permit " : "deny ") + filter_.toStrep();
  }

 private:
  Filter filter_;
};

using IpRuleConfig = FilterRuleConfig<IpFilter>;
using Ip6RuleConfig = FilterRuleConfig<Ip6Filter>;

}  // namespace Acl

template <>
struct std::hash<Acl::IpFilter> {
  std::size_t operator()(Acl::IpFilter const& f) const noexcept { return f.hash(); }
};
template <>
struct std::hash<Acl::Ip6Filter> {
  std::size_t operator()(Acl::Ip6Filter const& f) const noexcept { return f.hash(); }
};
