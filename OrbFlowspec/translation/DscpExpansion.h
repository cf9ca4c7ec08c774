#pragma once

#include <queue>

#include "models/acl/IpFilter.h"

namespace OrbFlowspec {

// One entry matching one DSCP value: the DSCP field on IPv4, the upper six bits of the traffic
// class on IPv6.
void expandRuleForDscp(unsigned int dscp, Acl::IpFilter& ruleFilter,
                       std::queue<Acl::IpFilter>& queue);
void expandRuleForDscp(unsigned int dscp, Acl::Ip6Filter& ruleFilter,
                       std::queue<Acl::Ip6Filter>& queue);

}  // namespace OrbFlowspec
