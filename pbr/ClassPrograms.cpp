#include "pbr/ClassPrograms.h"

#include "models/pbr/PbrFwdAction.h"

namespace Pbr {

namespace {

Cog::Ptr<PolicyMap::ClassMapSubConfig const> publishedVersion(
    Cog::SharedString const& name, PolicyMap::ClassMapTypeConfig const& cmapTypeConfig) {
  auto const cmap = cmapTypeConfig.cmap(name);
  return cmap ? Cog::Ptr<PolicyMap::ClassMapSubConfig const>(cmap->currCfg()) : nullptr;
}

// The filters of a match's rules, in sequence order, in a vector of their exact number: it is
// kept as long as the class-map version.
template <class Entries, class Rules>
std::shared_ptr<Entries const> entriesFrom(Rules const& rules) {
  auto entries = std::make_shared<Entries>();
  entries->reserve(rules.size());
  for (auto const& [seq, rule] : rules) {
    entries->push_back(rule.filter());
  }
  return entries;
}

}  // namespace

ClassProgramsByFamily classPrograms(Cog::SharedString const& name, ClassEntries& entries,
                                    PolicyMap::ClassAction const* classAction,
                                    PolicyMap::ClassMapTypeConfig const& cmapTypeConfig) {
  ClassProgramsByFamily out;
  auto const sub = publishedVersion(name, cmapTypeConfig);
  if (entries.from != sub) {
    entries = ClassEntries{sub, nullptr, nullptr};
  }
  if (!sub) {
    return out;
  }
  auto const ipMatch = sub->match(PolicyMap::ClassMapMatchOption::matchIpAccessGroup);
  auto const ip6Match = sub->match(PolicyMap::ClassMapMatchOption::matchIpv6AccessGroup);
  if (!ipMatch && !ip6Match) {
    return out;
  }
  ClassProgram const program{name, sub->version(), actionSpecFrom(classAction), nullptr, nullptr};
  if (ipMatch) {
    if (!entries.ipEntries) {
      entries.ipEntries = entriesFrom<IpEntries>(ipMatch->ipRule());
    }
    out[0] = program;
    out[0]->ipEntries = entries.ipEntries;
  }
  if (ip6Match) {
    if (!entries.ip6Entries) {
      entries.ip6Entries = entriesFrom<Ip6Entries>(ip6Match->ip6Rule());
    }
    out[1] = program;
    out[1]->ip6Entries = entries.ip6Entries;
  }
  return out;
}

bool entriesCurrent(Cog::SharedString const& name, ClassEntries const& entries,
                    PolicyMap::ClassMapTypeConfig const& cmapTypeConfig) {
  return entries.from == publishedVersion(name, cmapTypeConfig);
}

ActionSpec actionSpecFrom(PolicyMap::ClassAction const* classAction) {
  ActionSpec out;
  if (!classAction) {
    return out;
  }
  for (auto const& [type, action] : classAction->policyAction()) {
    if (!action) {
      continue;
    }
    if (type == PolicyMap::ActionType::actionDeny) {
      out.deny = true;
    } else if (auto const* police = dynamic_cast<PolicyMap::PoliceAction const*>(action.get())) {
      out.policeRateBps = police->rate().rate;
    } else if (auto const* dscp = dynamic_cast<PolicyMap::SetDscpAction const*>(action.get())) {
      out.setDscp = dscp->dscp().value();
    } else if (auto const* fwd = dynamic_cast<Pbr::PbrFwdAction const*>(action.get())) {
      if (fwd->pbrActionType() == PbrActionType::pbrActionDrop) {
        out.deny = true;
        continue;
      }
      ActionSpec::Redirect redirect{fwd->vrfName().value(), {}};
      for (auto const& [address, inUse] : fwd->nexthop()) {
        redirect.nexthops.insert(address);
      }
      out.redirect = std::make_shared<ActionSpec::Redirect const>(std::move(redirect));
    }
  }
  return out;
}

}  // namespace Pbr
