#include "OrbFlowspec/BitMaskExpansion.h"

#include "OrbFlowspec/ExpansionTrace.h"
#include "platform/cog/Assert.h"

namespace OrbFlowspec {

using Flowspec::MatchCompType;

namespace {
// FIN, SYN, RST, PSH, ACK and URG: the flags the hardware filter can test.
constexpr std::uint16_t kExpressibleTcpFlags = 0x3F;
constexpr std::uint16_t kIsFragment = 0x02;
}  // namespace

template <class RuleFilter>
void expandRuleForTcpBitMask(Flowspec::MatchComponent const& matchComp, RuleFilter& ruleFilter,
                             std::queue<RuleFilter>& queue) {
  for (Flowspec::TcpBitMask const& tcpBitMask : matchComp.tcpBitMask()) {
    COG_ASSERT(tcpBitMask.isValid());
    COG_ASSERT(tcpBitMask.matchAll());
    Acl::TcpFlag const mask(tcpBitMask.mask());
    Acl::TcpFlag const value(tcpBitMask.value());
    if ((tcpBitMask.mask() & kExpressibleTcpFlags) == tcpBitMask.mask()) {
      RuleFilter filter = ruleFilter;
      filter.protocolIs(6);
      filter.protocolMaskIs(0xFF);
      filter.tcpFlagMaskIs(mask);
      filter.tcpFlagIs(value);
      queue.push(filter);
    } else {
      TRACE(expansionTrace(), 2, "Unsupported TcpFlag ", tcpBitMask.toStrepCli());
    }
  }
}

template void expandRuleForTcpBitMask(Flowspec::MatchComponent const&, Acl::IpFilter&,
                                      std::queue<Acl::IpFilter>&);
template void expandRuleForTcpBitMask(Flowspec::MatchComponent const&, Acl::Ip6Filter&,
                                      std::queue<Acl::Ip6Filter>&);

void expandRuleForIpBitMask(Flowspec::MatchComponent const& matchComp, Acl::IpFilter& ruleFilter,
                            std::queue<Acl::IpFilter>& queue) {
  for (Flowspec::IpBitMask const& ipBitMask : matchComp.ipBitMask()) {
    COG_ASSERT(ipBitMask.isValid());
    if ((ipBitMask.mask() & ~kIsFragment) == 0 && (ipBitMask.value() & kIsFragment)) {
      Acl::IpFilter filter = ruleFilter;
      filter.fragmentsIs(true);
      queue.push(filter);
    } else {
      TRACE(expansionTrace(), 2, "Unsupported IpBitMask ", ipBitMask.toStrepCli());
    }
  }
}

void expandRuleForIpBitMask(Flowspec::MatchComponent const&, Acl::Ip6Filter&,
                            std::queue<Acl::Ip6Filter>&) {}

void expandRuleForPrefix(Flowspec::MatchComponent const& matchComp, Acl::IpFilter& ruleFilter,
                         std::queue<Acl::IpFilter>& queue) {
  if (matchComp.matchCompType() == MatchCompType::destinationPrefix) {
    ruleFilter.destinationIs(matchComp.prefix());
  } else if (matchComp.matchCompType() == MatchCompType::sourcePrefix) {
    ruleFilter.sourceIs(matchComp.prefix());
  } else {
    COG_ASSERT(false && "unrecognized compType");
  }
  queue.push(ruleFilter);
}

void expandRuleForPrefix(Flowspec::MatchComponent const& matchComp, Acl::Ip6Filter& ruleFilter,
                         std::queue<Acl::Ip6Filter>& queue) {
  Nwk::Ip6AddrWithMask const address(matchComp.prefix().addr(), matchComp.prefix().len());
  if (matchComp.matchCompType() == MatchCompType::destinationPrefix) {
    ruleFilter.destinationIs(address);
  } else if (matchComp.matchCompType() == MatchCompType::sourcePrefix) {
    ruleFilter.sourceIs(address);
  } else {
    COG_ASSERT(false && "unrecognized compType");
  }
  queue.push(ruleFilter);
}

void expandRuleForDscp(unsigned int dscp, Acl::IpFilter& ruleFilter,
                       std::queue<Acl::IpFilter>& queue) {
  ruleFilter.matchDscpIs(true);
  ruleFilter.dscpIs(dscp);
  ruleFilter.dscpMaskIs(63);
  queue.push(ruleFilter);
}

void expandRuleForDscp(unsigned int dscp, Acl::Ip6Filter& ruleFilter,
                       std::queue<Acl::Ip6Filter>& queue) {
  ruleFilter.trafficClassIs(static_cast<std::uint8_t>(dscp * 4));
  ruleFilter.trafficClassMaskIs(0xFC);
  queue.push(ruleFilter);
}

}  // namespace OrbFlowspec
