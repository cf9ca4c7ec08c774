#include "OrbFlowspec/translation/DscpExpansion.h"

namespace OrbFlowspec {

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
