#pragma once

#include <cstdint>

#include "models/acl/IpFilter.h"
#include "models/flowspec/Config.h"
#include "models/flowspec/Status.h"
#include "models/policymap/ClassMapTypeConfig.h"

namespace OrbFlowspec {

// Expands a rule's match set, component by component in ascending type, into ACL entries whose
// union accepts exactly the rule's packets, and writes them as the numbered rules (0, 1, ...)
// of `match`. Returns 0, or the type of the first component that expands into nothing (not
// expressible on this family, or contradicting the earlier components).
template <class Filter>
Flowspec::MatchCompType updateClassMapMatch(Cog::Ptr<Flowspec::RuleConfig const> const& rule,
                                            Cog::Ptr<PolicyMap::ClassMapMatch> const& match);

void addClassMapRule(std::uint32_t seq, Acl::IpFilter const& filter,
                     Cog::Ptr<PolicyMap::ClassMapMatch> const& match);
void addClassMapRule(std::uint32_t seq, Acl::Ip6Filter const& filter,
                     Cog::Ptr<PolicyMap::ClassMapMatch> const& match);

// The most ACL entries one rule may expand into unless configured otherwise: a typical TCAM
// bank.
inline constexpr std::uint64_t kDefaultAclEntryLimit = 4096;

// Builds the class-map of one rule of a VRF, named by the rule key's text, or, when the match
// cannot be expressed or would need more than `aclEntryLimit` ACL entries, removes it and gives
// the rule status 3 with the reason. A removed rule loses its class-map and status; a published
// class-map is never rebuilt (a changed match is a new key).
void processRuleMatchSet(Flowspec::FlowspecKey const& key, Cog::String const& vrfName,
                         Cog::Ptr<Flowspec::VrfRuleConfig const> const& vrfRuleConfig,
                         Cog::Ptr<Flowspec::VrfRuleStatus> const& vrfRuleStatus,
                         Cog::Ptr<PolicyMap::ClassMapTypeConfig> const& cmapTypeConfig,
                         std::uint64_t aclEntryLimit);

// Removes a class-map, published and input, tracing why.
void doCleanupCmapConfig(Cog::String const& vrfName,
                         Cog::Ptr<PolicyMap::ClassMapTypeConfig> const& cmapTypeConfig,
                         Cog::SharedString const& className, Cog::String const& reason);

}  // namespace OrbFlowspec
