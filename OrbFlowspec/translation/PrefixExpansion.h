#pragma once

#include <queue>

#include "models/acl/IpFilter.h"
#include "models/flowspec/MatchComponent.h"

namespace OrbFlowspec {

// One entry with the destination (type 1) or source (type 2) prefix set.
void expandRuleForPrefix(Flowspec::MatchComponent const& matchComp, Acl::IpFilter& ruleFilter,
                         std::queue<Acl::IpFilter>& queue);
void expandRuleForPrefix(Flowspec::MatchComponent const& matchComp, Acl::Ip6Filter& ruleFilter,
                         std::queue<Acl::Ip6Filter>& queue);

}  // namespace OrbFlowspec
