#include "agent/SystemReport.h"

#include <map>

#include "agent/ProgrammingText.h"
#include "models/flowspec/FlowspecUtil.h"

namespace Agent {

namespace {

using nlohmann::json;

std::string ipVersionText(Flowspec::IpVersion version) {
  switch (version) {
    case Flowspec::IpVersion::ipv4:
      return "ipv4";
    case Flowspec::IpVersion::ipv6:
      return "ipv6";
    case Flowspec::IpVersion::ipv4AndIpv6:
      return "both";
    default:
      return "none";
  }
}

}  // namespace

json interfacesReport(OrbFlowspec::FlowspecSm const& root, HardwareLayout const& hardware) {
  auto const& mounts = *root.flowspecMounts();
  json interfaces = json::array();
  for (auto const& [intf, l3] : mounts.l3StatusDir()->intfStatus()) {
    std::string const policy = root.intfConfig()->intf(intf);
    json programming = json::array();
    if (auto const pmapStatus = policy.empty() ? nullptr : root.pbrStatus()->pmapStatus(policy)) {
      if (auto const status = pmapStatus->intfStatus(intf)) {
        for (auto const& [option, installed] : status->installed()) {
          programming.push_back(
              {{"family",
                option == PolicyMap::ClassMapMatchOption::matchIpAccessGroup ? "ipv4" : "ipv6"},
               {"state", installedStateText(installed.state)},
               {"error", installed.errorText}});
        }
      }
    }
    interfaces.push_back({{"interface", intf.toStrep()},
                          {"vrf", l3->vrf()},
                          {"enabled", ipVersionText(mounts.flowspecCliConfig()->enabledIntf(intf))},
                          {"policy", policy},
                          {"lineCard", hardware.lineCardOf(intf.toStrep())},
                          {"programming", std::move(programming)}});
  }
  return json{{"allInterfaces", mounts.flowspecConfig()->enabledIntfAll()},
              {"interfaces", std::move(interfaces)}};
}

json unsupportedReport(OrbFlowspec::FlowspecSm const& root) {
  Flowspec::FlowspecUtil const util;
  auto const& mounts = *root.flowspecMounts();
  json qualifiers = json::array();
  for (auto const& [af, qual] : mounts.flowspecStatus()->unsupportedQual()) {
    for (auto const& [type, name] : qual.qual()) {
      qualifiers.push_back({{"family", Nwk::toStrep(af)},
                            {"type", static_cast<unsigned>(type)},
                            {"match", util.compTypeToDetailLabel(type)},
                            {"qualifier", name}});
    }
  }
  json rules = json::array();
  for (auto const& [vrfId, vrfStatus] : mounts.flowspecStatus()->vrfRuleStatus()) {
    for (auto const& [key, status] : vrfStatus->ruleStatus()) {
      auto const code = status->statusCode();
      if (code == Flowspec::HwRuleProgrammingStatus::hwStatusUnsupportedMatch ||
          code == Flowspec::HwRuleProgrammingStatus::hwStatusUnsupportedQualifier) {
        rules.push_back({{"vrfId", vrfId},
                         {"rule", key.stringValue()},
                         {"status", static_cast<unsigned>(code)},
                         {"reason", status->errorReason()}});
      }
    }
  }
  json infeasible = json::array();
  for (auto const& [vrfId, vrfConfig] : mounts.flowspecConfig()->vrfRuleConfig()) {
    for (auto const& [key, rule] : vrfConfig->infeasibleRule()) {
      infeasible.push_back({{"vrfId", vrfId},
                            {"rule", key.stringValue()},
                            {"ruleId", rule->ruleId()},
                            {"reason", util.compTypeToDetailLabel(rule->matchCompType())}});
    }
  }
  return json{{"qualifiers", std::move(qualifiers)},
              {"rules", std::move(rules)},
              {"infeasible", std::move(infeasible)}};
}

json summaryReport(OrbFlowspec::FlowspecSm const& root, HardwareLayout const& hardware) {
  Flowspec::FlowspecUtil const util;
  auto const& mounts = *root.flowspecMounts();
  std::map<Flowspec::HwRuleProgrammingStatus, std::size_t> perStatus;
  std::size_t total = 0;
  for (auto const& [vrfId, vrfStatus] : mounts.flowspecStatus()->vrfRuleStatus()) {
    for (auto const& [key, status] : vrfStatus->ruleStatus()) {
      ++perStatus[status->statusCode()];
      ++total;
    }
  }
  json statuses = json::array();
  for (auto const& [code, count] : perStatus) {
    statuses.push_back({{"status", static_cast<unsigned>(code)},
                        {"statusText", util.statusCodeToStrep(code)},
                        {"rules", count}});
  }
  json banks = json::array();
  for (auto const& card : hardware.lineCards()) {
    for (auto const af : {Nwk::AddressFamily::ipv4, Nwk::AddressFamily::ipv6}) {
      auto const usage = hardware.model->bankUsage(card, af);
      banks.push_back({{"lineCard", card},
                       {"family", Nwk::toStrep(af)},
                       {"used", usage.used},
                       {"capacity", usage.capacity}});
    }
  }
  double const lastPass = mounts.flowspecStatus()->counterUpdateTime();
  return json{{"rules", total},
              {"statuses", std::move(statuses)},
              {"banks", std::move(banks)},
              {"counterUpdateTime", lastPass > 0 ? json(lastPass) : json(nullptr)}};
}

}  // namespace Agent
