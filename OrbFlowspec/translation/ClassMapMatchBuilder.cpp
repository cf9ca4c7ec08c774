#include "OrbFlowspec/translation/ClassMapMatchBuilder.h"

#include <queue>

#include "OrbFlowspec/translation/AclEntryCount.h"
#include "OrbFlowspec/translation/BitMaskExpansion.h"
#include "OrbFlowspec/translation/NumericalRangeExpansion.h"
#include "OrbFlowspec/translation/PrefixExpansion.h"
#include "models/flowspec/FlowspecUtil.h"
#include "platform/cog/Assert.h"
#include "platform/trace/Trace.h"

namespace OrbFlowspec {

namespace {
Trace::Handle gTrace("FlowspecClassMapMatch");
}  // namespace

using Flowspec::MatchCompType;

template <class Filter>
MatchCompType updateClassMapMatch(Cog::Ptr<Flowspec::RuleConfig const> const& rule,
                                  Cog::Ptr<PolicyMap::ClassMapMatch> const& match) {
  // The filters of the components expanded so far; kept between rules, which spares its
  // allocations, as translation is not re-entrant. Emptied first: an expansion may have thrown.
  static std::queue<Filter> queue;
  while (!queue.empty()) {
    queue.pop();
  }
  queue.push(Filter());
  TRACE(gTrace, 5, rule->key(), ", num match components: #", rule->matchSet().size());
  for (auto const& [type, matchComp] : rule->matchSet()) {
    TRACE(gTrace, 5, "matchComp ", matchComp);
    std::size_t const count = queue.size();
    for (std::size_t i = 0; i < count; ++i) {
      Filter filter = queue.front();
      queue.pop();
      TRACE(gTrace, 6, "Expanding ", filter.toStrep());
      if (matchComp.matchTypePrefix()) {
        expandRuleForPrefix(matchComp, filter, queue);
      } else if (matchComp.matchTypeNumericalRange()) {
        expandRuleForNumericalRange(matchComp, filter, queue);
      } else if (type == MatchCompType::tcpFlags) {
        expandRuleForTcpBitMask(matchComp, filter, queue);
      } else if (type == MatchCompType::fragment) {
        expandRuleForIpBitMask(matchComp, filter, queue);
      } else {
        COG_ASSERT(false && "invalid match type");
      }
    }
    if (queue.empty()) {
      TRACE(gTrace, 3, "matchComp ", matchComp, " failed to expand");
      return type;
    }
  }
  std::size_t const numRuleFilter = queue.size();
  TRACE(gTrace, 5, rule->key(), " expanded into #", numRuleFilter, " rule filters");
  COG_ASSERT(numRuleFilter > 0);
  for (std::uint32_t seq = 0; seq < numRuleFilter; ++seq) {
    Filter const filter = queue.front();
    queue.pop();
    TRACE(gTrace, 6, seq, ": ", filter.toStrep());
    addClassMapRule(seq, filter, match);
  }
  return MatchCompType::none;
}

template MatchCompType updateClassMapMatch<Acl::IpFilter>(
    Cog::Ptr<Flowspec::RuleConfig const> const&, Cog::Ptr<PolicyMap::ClassMapMatch> const&);
template MatchCompType updateClassMapMatch<Acl::Ip6Filter>(
    Cog::Ptr<Flowspec::RuleConfig const> const&, Cog::Ptr<PolicyMap::ClassMapMatch> const&);

void addClassMapRule(std::uint32_t seq, Acl::IpFilter const& filter,
                     Cog::Ptr<PolicyMap::ClassMapMatch> const& match) {
  match->ipRuleIs(seq, Acl::IpRuleConfig(filter));
}

void addClassMapRule(std::uint32_t seq, Acl::Ip6Filter const& filter,
                     Cog::Ptr<PolicyMap::ClassMapMatch> const& match) {
  match->ip6RuleIs(seq, Acl::Ip6RuleConfig(filter));
}

void doCleanupCmapConfig(Cog::String const& vrfName,
                         Cog::Ptr<PolicyMap::ClassMapTypeConfig> const& cmapTypeConfig,
                         Cog::SharedString const& className, Cog::String const& reason) {
  TRACE(gTrace, 3, vrfName, " Cleanup of ", className, " due to ", reason);
  if (auto const cmap = cmapTypeConfig->cmapInput(className)) {
    cmap->userDel(vrfName);
    if (!cmap->user().empty()) {
      TRACE(gTrace, 5, className, " still used by ", *cmap->user().firstKey());
      return;
    }
  }
  cmapTypeConfig->cmapDel(className);
  cmapTypeConfig->cmapInputDel(className);
}

void processRuleMatchSet(Flowspec::FlowspecKey const& key, Cog::String const& vrfName,
                         Cog::Ptr<Flowspec::VrfRuleConfig const> const& vrfRuleConfig,
                         Cog::Ptr<Flowspec::VrfRuleStatus> const& vrfRuleStatus,
                         Cog::Ptr<PolicyMap::ClassMapTypeConfig> const& cmapTypeConfig,
                         std::uint64_t aclEntryLimit) {
  Cog::SharedString const className = key.sharedStringValue();
  auto const rule = vrfRuleConfig->rule(key);
  if (!rule) {
    TRACE(gTrace, 3, "flowspec rule was removed from ", vrfName);
    doCleanupCmapConfig(vrfName, cmapTypeConfig, className, "rule deleted");
    vrfRuleStatus->ruleStatusDel(key);
    return;
  }
  if (auto const published = cmapTypeConfig->cmap(className)) {
    // Built already, for this VRF or another with the same rule: share it, and its name.
    TRACE(gTrace, 5, "flowspec rule was already processed for ", className);
    key.sharedStringValueIs(published->name());
    published->userIs(vrfName);
    vrfRuleStatus->ruleStatusIs(key);
    return;
  }
  TRACE(gTrace, 5, "className ", className, " is being processed");
  auto const ruleStatus = vrfRuleStatus->ruleStatusIs(key);
  Flowspec::FlowspecUtil const util;
  // Refused before any work: one rule could otherwise expand into millions of entries, hold
  // the task for minutes and exhaust memory, and no TCAM bank would hold it anyway.
  if (std::uint64_t const count = aclEntryCount(*rule); count > aclEntryLimit) {
    std::string const why = "too many ACL entries (" + std::to_string(count) + " > " +
                            std::to_string(aclEntryLimit) + ")";
    TRACE(gTrace, 2, "className ", className, " refused: ", why);
    ruleStatus->statusCodeIs(Flowspec::HwRuleProgrammingStatus::hwStatusUnsupportedMatch);
    ruleStatus->errorReasonIs(util.statusCodeToStrep(ruleStatus->statusCode()) + " - " + why);
    return;
  }
  auto const cmap = cmapTypeConfig->cmapInputIs(className);
  cmap->userIs(vrfName);
  cmapTypeConfig->cmapIs(cmap);
  Kiln::UniqueId const version = Kiln::UniqueId::next();
  auto const cmapSub = cmap->subconfigIs(className, version);
  MatchCompType result = MatchCompType::none;
  switch (key.af()) {
    case Nwk::AddressFamily::ipv4:
      result = updateClassMapMatch<Acl::IpFilter>(
          rule, cmapSub->matchIs(PolicyMap::ClassMapMatchOption::matchIpAccessGroup));
      break;
    case Nwk::AddressFamily::ipv6:
      result = updateClassMapMatch<Acl::Ip6Filter>(
          rule, cmapSub->matchIs(PolicyMap::ClassMapMatchOption::matchIpv6AccessGroup));
      break;
    default:
      COG_ASSERT(false && "unknown address-family");
  }
  if (result != MatchCompType::none) {
    doCleanupCmapConfig(vrfName, cmapTypeConfig, className, "unsupported or infeasible matchSet");
    ruleStatus->statusCodeIs(Flowspec::HwRuleProgrammingStatus::hwStatusUnsupportedMatch);
    ruleStatus->errorReasonIs(util.statusCodeToStrep(ruleStatus->statusCode()) + " - " +
                              util.compTypeToDetailLabel(result));
    return;
  }
  TRACE(gTrace, 3, "className ", className, " programmed. cmapVersion ", version);
  cmap->currCfgIs(cmapSub);
  TRACE(gTrace, 5, "className ", className, " processing finished.");
}

}  // namespace OrbFlowspec
