#pragma once

#include <cstdint>

#include "models/flowspec/RuleConfig.h"

namespace OrbFlowspec {

// How many ACL entries the expansion of `rule` produces at most: the product over its
// components of the entries each needs for one filter (protocol ranges as value/mask pairs, a
// `port` range twice, one ICMP or DSCP value per entry, one entry per bitmask test, prefixes and
// port or length ranges one each). Computed from the ranges alone, in time independent of the
// result; a product past 2^64 - 1 stays there.
std::uint64_t aclEntryCount(Flowspec::RuleConfig const& rule);

}  // namespace OrbFlowspec
