#include "agent/RuleReport.h"

#include <map>
#include <set>
#include <vector>

#include "agent/ExactnessNote.h"
#include "agent/ProgrammingText.h"
#include "models/flowspec/FlowspecUtil.h"

namespace Agent {

namespace {

using nlohmann::json;
using VrfId = Vrf::VrfIdMap::VrfId;

// One VRF's records, as the reports read them; any of the pointers may be null.
struct VrfView {
  VrfId id;
  std::string name;
  Cog::Ptr<Flowspec::VrfRuleConfig const> config;
  Cog::Ptr<Flowspec::VrfRuleStatus const> status;
  Cog::Ptr<PolicyMap::PolicyMapSubConfig const> policy;  // the version in force
  Cog::Ptr<PolicyMap::PolicyMapStatus const> programmed;
};

// Every VRF with rules or a status left, in VRF id order.
std::vector<VrfView> vrfViews(OrbFlowspec::FlowspecSm const& root) {
  auto const& mounts = *root.flowspecMounts();
  std::set<VrfId> ids;
  for (auto const& [id, config] : mounts.flowspecConfig()->vrfRuleConfig()) {
    ids.insert(id);
  }
  for (auto const& [id, status] : mounts.flowspecStatus()->vrfRuleStatus()) {
    ids.insert(id);
  }
  auto const pmapType = root.policyMapConfig()->pmapType("Flowspec");
  std::vector<VrfView> views;
  for (auto const id : ids) {
    VrfView view{id,
                 mounts.vrfIdStatus()->vrfName(id),
                 mounts.flowspecConfig()->vrfRuleConfig(id),
                 mounts.flowspecStatus()->vrfRuleStatus(id),
                 nullptr,
                 nullptr};
    if (!view.name.empty()) {
      auto const pmap = pmapType ? pmapType->pmap(view.name) : nullptr;
      view.policy = pmap ? pmap->currCfg() : nullptr;
      view.programmed = root.pbrStatus()->pmapStatus(view.name);
    }
    views.push_back(std::move(view));
  }
  return views;
}

Cog::Ptr<PolicyMap::ClassMapSubConfig const> classMap(OrbFlowspec::FlowspecSm const& root,
                                                      std::string const& name) {
  auto const cmapType = root.policyMapConfig()->cmapType("Flowspec");
  auto const cmap = cmapType ? cmapType->cmap(name) : nullptr;
  return cmap ? cmap->currCfg() : nullptr;
}

std::size_t aclEntryCount(PolicyMap::ClassMapSubConfig const* cmap) {
  std::size_t count = 0;
  if (cmap) {
    for (auto const& [option, match] : cmap->match()) {
      count += match->ipRule().size() + match->ip6Rule().size();
    }
  }
  return count;
}

PolicyMap::ClassMapMatchOption optionOf(Nwk::AddressFamily af) {
  return af == Nwk::AddressFamily::ipv6 ? PolicyMap::ClassMapMatchOption::matchIpv6AccessGroup
                                        : PolicyMap::ClassMapMatchOption::matchIpAccessGroup;
}

// What `show rules` says of one rule.
json ruleJson(OrbFlowspec::FlowspecSm const& root, VrfView const& vrf,
              Flowspec::FlowspecKey const& key, std::optional<PolicyMap::ClassPriority> priority) {
  static Flowspec::FlowspecUtil const util;
  std::string const name = key.stringValue();
  json rule{{"rule", name}, {"vrf", vrf.name}, {"vrfId", vrf.id}};
  rule["priority"] = priority ? json(*priority) : json(nullptr);
  auto const status = vrf.status ? vrf.status->ruleStatus(key) : nullptr;
  auto const code = status ? status->statusCode() : Flowspec::HwRuleProgrammingStatus{};
  rule["status"] = static_cast<unsigned>(code);
  rule["statusText"] = util.statusCodeToStrep(code);
  rule["errorReason"] = status ? std::string(status->errorReason()) : std::string();
  rule["packets"] = status ? status->packetCount() : 0;
  std::string action;
  auto const classAction = vrf.policy ? vrf.policy->classAction(name) : nullptr;
  if (classAction) {
    for (auto const& [type, each] : classAction->policyAction()) {
      action += (action.empty() ? "" : ", ") + actionText(*each);
    }
  }
  rule["action"] = action;
  rule["entries"] = aclEntryCount(classMap(root, name).get());
  json installed = json::array();
  json failed = json::array();
  if (vrf.status) {
    if (auto const active = vrf.status->activeIntfPerAf(key.af())) {
      for (auto const& intf : active->intf()) {
        installed.push_back(intf.toStrep());
      }
    }
    for (auto const& [errorKey, error] : vrf.status->intfError()) {
      if (errorKey.af == key.af()) {
        failed.push_back({{"interface", errorKey.intfId.toStrep()}, {"error", error}});
      }
    }
  }
  rule["installed"] = installed;
  rule["failed"] = failed;
  if (std::string const note = exactnessNote(key); !note.empty()) {
    rule["exactness"] = note;
  }
  return rule;
}

// The VRF's rules in precedence order, each with its class priority when it has one.
std::vector<std::pair<Flowspec::FlowspecKey, std::optional<PolicyMap::ClassPriority>>> rulesOf(
    VrfView const& vrf) {
  std::map<std::string, PolicyMap::ClassPriority> priorities;
  if (vrf.policy) {
    for (auto const& [priority, className] : vrf.policy->classPrio()) {
      priorities.emplace(className, priority);
    }
  }
  std::set<Flowspec::FlowspecKey> keys;
  if (vrf.config) {
    for (auto const& [key, config] : vrf.config->rule()) {
      keys.insert(key);
    }
  }
  if (vrf.status) {
    for (auto const& [key, status] : vrf.status->ruleStatus()) {
      keys.insert(key);
    }
  }
  std::vector<std::pair<Flowspec::FlowspecKey, std::optional<PolicyMap::ClassPriority>>> rules;
  for (auto const& key : keys) {
    auto const found = priorities.find(key.stringValue());
    rules.emplace_back(key, found == priorities.end()
                                ? std::nullopt
                                : std::optional<PolicyMap::ClassPriority>(found->second));
  }
  // Stable: rules without a class keep their key order, after those with one.
  std::stable_sort(rules.begin(), rules.end(), [](auto const& a, auto const& b) {
    return a.second.has_value() && (!b.second.has_value() || *a.second < *b.second);
  });
  return rules;
}

json aclEntriesJson(PolicyMap::ClassMapSubConfig const* cmap) {
  json entries = json::array();
  if (!cmap) {
    return entries;
  }
  for (auto const& [option, match] : cmap->match()) {
    for (auto const& [seq, rule] : match->ipRule()) {
      entries.push_back({{"seq", seq}, {"filter", rule.filter().toStrep()}});
    }
    for (auto const& [seq, rule] : match->ip6Rule()) {
      entries.push_back({{"seq", seq}, {"filter", rule.filter().toStrep()}});
    }
  }
  return entries;
}

// The rule's family on every interface bound to the VRF's policy.
json interfacesJson(OrbFlowspec::FlowspecSm const& root, HardwareLayout const& hardware,
                    VrfView const& vrf, Nwk::AddressFamily af) {
  json interfaces = json::array();
  for (auto const& [intf, policy] : root.intfConfig()->intf()) {
    if (policy != vrf.name) {
      continue;
    }
    auto const status = vrf.programmed ? vrf.programmed->intfStatus(intf) : nullptr;
    auto const installed = status ? status->installed(optionOf(af)) : PolicyMap::InstalledStatus{};
    json entry{{"interface", intf.toStrep()},
               {"lineCard", hardware.lineCardOf(intf.toStrep())},
               {"state", installedStateText(installed.state)},
               {"error", installed.errorText}};
    if (hardware.model) {
      entry["slotEntries"] = hardware.model->forwardingEntries(intf, af);
    }
    interfaces.push_back(std::move(entry));
  }
  return interfaces;
}

}  // namespace

std::optional<json> rulesReport(OrbFlowspec::FlowspecSm const& root,
                                std::optional<std::string> const& vrf) {
  json vrfs = json::array();
  for (auto const& view : vrfViews(root)) {
    if (vrf && view.name != *vrf) {
      continue;
    }
    json rules = json::array();
    for (auto const& [key, priority] : rulesOf(view)) {
      rules.push_back(ruleJson(root, view, key, priority));
    }
    vrfs.push_back({{"id", view.id}, {"name", view.name}, {"rules", std::move(rules)}});
  }
  if (vrf && vrfs.empty()) {
    return std::nullopt;
  }
  return json{{"vrfs", std::move(vrfs)}};
}

json ruleReport(OrbFlowspec::FlowspecSm const& root, HardwareLayout const& hardware,
                Flowspec::FlowspecKey const& key) {
  json rules = json::array();
  for (auto const& view : vrfViews(root)) {
    for (auto const& [each, priority] : rulesOf(view)) {
      if (each == key) {
        json rule = ruleJson(root, view, key, priority);
        auto const cmap = classMap(root, key.stringValue());
        rule["aclEntries"] = aclEntriesJson(cmap.get());
        rule["interfaces"] = interfacesJson(root, hardware, view, key.af());
        rules.push_back(std::move(rule));
      }
    }
  }
  return json{{"rules", std::move(rules)}};
}

json countersReport(OrbFlowspec::FlowspecSm const& root) {
  json rules = json::array();
  for (auto const& view : vrfViews(root)) {
    if (!view.status) {
      continue;
    }
    for (auto const& [key, status] : view.status->ruleStatus()) {
      rules.push_back(
          {{"vrf", view.name}, {"rule", key.stringValue()}, {"packets", status->packetCount()}});
    }
  }
  return json{{"counterUpdateTime", root.flowspecMounts()->flowspecStatus()->counterUpdateTime()},
              {"rules", std::move(rules)}};
}

}  // namespace Agent
