#include "OrbFlowspec/translation/PrefixExpansion.h"

#include "platform/cog/Assert.h"

namespace OrbFlowspec {

using Flowspec::MatchCompType;

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

}  // namespace OrbFlowspec
