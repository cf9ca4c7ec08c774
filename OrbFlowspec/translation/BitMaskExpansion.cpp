#include "OrbFlowspec/translation/BitMaskExpansion.h"

#include "platform/cog/Assert.h"
#include "platform/trace/Trace.h"

namespace OrbFlowspec {

using Flowspec::MatchCompType;

namespace {
Trace::Handle gTrace("FlowspecBitMaskExpansion");
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
      TRACE(gTrace, 2, "Unsupported TcpFlag ", tcpBitMask.toStrepCli());
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
      TRACE(gTrace, 2, "Unsupported IpBitMask ", ipBitMask.toStrepCli());
    }
  }
}

void expandRuleForIpBitMask(Flowspec::MatchComponent const&, Acl::Ip6Filter&,
                            std::queue<Acl::Ip6Filter>&) {}

}  // namespace OrbFlowspec
