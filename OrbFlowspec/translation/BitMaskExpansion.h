#pragma once

#include <queue>

#include "models/acl/IpFilter.h"
#include "models/flowspec/MatchComponent.h"

namespace OrbFlowspec {

// One entry per TCP-flags test, with protocol 6; tests of ECE, CWR or NS push nothing (traced).
template <class RuleFilter>
void expandRuleForTcpBitMask(Flowspec::MatchComponent const& matchComp, RuleFilter& ruleFilter,
                             std::queue<RuleFilter>& queue);

// IPv4: one entry per "is a fragment" test; other fragment tests push nothing (traced).
void expandRuleForIpBitMask(Flowspec::MatchComponent const& matchComp, Acl::IpFilter& ruleFilter,
                            std::queue<Acl::IpFilter>& queue);
// IPv6 filters cannot test fragments: nothing is pushed.
void expandRuleForIpBitMask(Flowspec::MatchComponent const& matchComp, Acl::Ip6Filter& ruleFilter,
                            std::queue<Acl::Ip6Filter>& queue);

}  // namespace OrbFlowspec
