#pragma once

#include <queue>

#include "models/acl/IpFilter.h"
#include "models/flowspec/MatchComponent.h"

namespace OrbFlowspec {

// An ACL port or length condition for a range: eq with one value, or an inclusive range.
template <class Spec>
Spec getAclSpec(Flowspec::NumericalRange const& range);

// The port condition accepting what both `spec` and `range` accept; an empty spec (testing
// false) when they do not overlap. A spec of "any" gives the range's own condition.
Acl::PortSpec intersectPortSpecWithRange(Acl::PortSpec const& spec,
                                         Flowspec::NumericalRange const& range);

// Pushes onto `queue` one narrowed copy of `ruleFilter` per ACL entry needed to express each
// range of a numeric component: protocols as value/mask pairs, ports and lengths as
// conditions (a `port` component as a source copy and a destination copy), ICMP types and
// codes and DSCP values one entry per value. Values outside the field and flow labels push
// nothing for that range (traced). The filter is a template and is spent afterwards.
template <class RuleFilter>
void expandRuleForNumericalRange(Flowspec::MatchComponent const& matchComp, RuleFilter& ruleFilter,
                                 std::queue<RuleFilter>& queue);

}  // namespace OrbFlowspec
