#include "agent/Show.h"

#include <map>
#include <set>
#include <sstream>
#include <vector>

#include "agent/ProgrammingText.h"
#include "models/flowspec/FlowspecUtil.h"

namespace Agent {

namespace {

void showClassMap(std::ostream& os, PolicyMap::ClassMapTypeConfig const& cmapType,
                  Cog::SharedString const& className) {
  auto const cmap = cmapType.cmap(className);
  auto const current = cmap ? cmap->currCfg() : nullptr;
  if (!current) {
    os << "      (no class-map)\n";
    return;
  }
  for (auto const& [option, match] : current->match()) {
    for (auto const& [seq, rule] : match->ipRule()) {
      os << "      " << seq << " " << rule.filter().toStrep() << "\n";
    }
    for (auto const& [seq, rule] : match->ip6Rule()) {
      os << "      " << seq << " " << rule.filter().toStrep() << "\n";
    }
  }
}

// How the machinery reports the policy on one interface: " (ipv4 installed, ipv6 failed: <why>)",
// nothing before it has taken the interface up.
std::string intfProgramming(PolicyMap::PolicyMapStatus const* programmed, std::string const& intf) {
  auto const status = programmed ? programmed->intfStatus(Nwk::IntfId(intf)) : nullptr;
  if (!status || status->installed().empty()) {
    return {};
  }
  std::string out = " (";
  for (auto const& [option, installed] : status->installed()) {
    if (out.size() > 2) {
      out += ", ";
    }
    out += option == PolicyMap::ClassMapMatchOption::matchIpAccessGroup ? "ipv4 " : "ipv6 ";
    out += installedStateText(installed.state);
    if (installed.state == PolicyMap::InstalledState::failed) {
      out += ": " + installed.errorText;
    }
  }
  return out + ")";
}

// The class's programming state over the policy's interfaces and its packet count:
// " [installed, 12 packets]"; nothing before the machinery has taken the class up.
std::string classProgramming(PolicyMap::PolicyMapStatus const* programmed,
                             Cog::SharedString const& className) {
  auto const status = programmed ? programmed->cmap(className) : nullptr;
  if (!status) {
    return {};
  }
  return " [" + classStateText(status->classState()) + ", " +
         std::to_string(status->packetCount()) + " packets]";
}

}  // namespace

std::string showFlowspec(OrbFlowspec::FlowspecSm const& root) {
  std::ostringstream os;
  Flowspec::FlowspecUtil const util;
  auto const& mounts = *root.flowspecMounts();
  auto const pmapType = root.policyMapConfig()->pmapType("Flowspec");
  auto const cmapType = root.policyMapConfig()->cmapType("Flowspec");

  std::map<std::string, std::vector<std::string>> boundIntfs;
  for (auto const& [intf, policy] : root.intfConfig()->intf()) {
    boundIntfs[policy].push_back(intf.toStrep());
  }
  // Every VRF the system knows of: with rules, or with a status left to clean up.
  std::set<Vrf::VrfIdMap::VrfId> vrfIds;
  for (auto const& [vrfId, vrfRuleConfig] : mounts.flowspecConfig()->vrfRuleConfig()) {
    vrfIds.insert(vrfId);
  }
  for (auto const& [vrfId, vrfRuleStatus] : mounts.flowspecStatus()->vrfRuleStatus()) {
    vrfIds.insert(vrfId);
  }
  std::set<Cog::SharedString> shownClassMaps;

  for (auto const vrfId : vrfIds) {
    std::string const vrfName = mounts.vrfIdStatus()->vrfName(vrfId);
    auto const vrfRuleConfig = mounts.flowspecConfig()->vrfRuleConfig(vrfId);
    os << "VRF " << vrfId << " " << (vrfName.empty() ? "(no name)" : vrfName)
       << (vrfRuleConfig ? "" : " (no rules)") << "\n";
    auto const policy = vrfName.empty() ? nullptr : pmapType->pmap(vrfName);
    if (policy && policy->currCfg()) {
      auto const programmed = root.pbrStatus()->pmapStatus(vrfName);
      os << "  policy-map " << vrfName << ", interfaces:";
      for (auto const& intf : boundIntfs[vrfName]) {
        os << " " << intf << intfProgramming(programmed.get(), intf);
      }
      os << (boundIntfs[vrfName].empty() ? " none\n" : "\n");
      boundIntfs.erase(vrfName);
      auto const current = policy->currCfg();
      for (auto const& [prio, className] : current->classPrio()) {
        os << "    class " << prio << " \"" << className << "\"";
        if (auto const classAction = current->classAction(className)) {
          for (auto const& [type, action] : classAction->policyAction()) {
            os << " | " << actionText(*action);
          }
        }
        os << classProgramming(programmed.get(), className) << "\n";
        showClassMap(os, *cmapType, className);
        shownClassMaps.insert(className);
      }
    } else if (vrfRuleConfig) {
      // Without a policy-map (the VRF has no name yet), show what was digested.
      os << "  no policy-map\n";
      for (auto const& [key, rule] : vrfRuleConfig->rule()) {
        os << "  rule \"" << key.stringValue() << "\": " << rule->toStrep() << "\n";
      }
    }
    if (auto const vrfStatus = mounts.flowspecStatus()->vrfRuleStatus(vrfId)) {
      for (auto const& [key, status] : vrfStatus->ruleStatus()) {
        os << "  status \"" << key.stringValue()
           << "\": " << static_cast<unsigned>(status->statusCode()) << " "
           << util.statusCodeToStrep(status->statusCode());
        if (!status->errorReason().empty()) {
          os << " (" << status->errorReason() << ")";
        }
        os << ", packets " << status->packetCount() << "\n";
      }
      for (auto const& [af, coll] : vrfStatus->activeIntfPerAf()) {
        os << "  installed " << Nwk::toStrep(af) << ":";
        for (auto const& intf : coll->intf()) {
          os << " " << intf.toStrep();
        }
        os << "\n";
      }
      for (auto const& [key, error] : vrfStatus->intfError()) {
        os << "  failed " << key.toStrep() << ": " << error << "\n";
      }
    }
    if (vrfRuleConfig) {
      for (auto const& [key, infeasible] : vrfRuleConfig->infeasibleRule()) {
        os << "  infeasible \"" << key.stringValue() << "\" ruleId " << infeasible->ruleId() << ": "
           << util.compTypeToDetailLabel(infeasible->matchCompType()) << "\n";
      }
    }
  }
  // What no VRF accounts for: bindings to a policy that does not exist (yet), and class-maps
  // that no policy uses. Both are normal while work is under way, and wrong once it is done.
  for (auto const& [policy, intfs] : boundIntfs) {
    os << "interfaces bound to policy " << policy << " without a policy-map:";
    for (auto const& intf : intfs) {
      os << " " << intf;
    }
    os << "\n";
  }
  for (auto const& [af, qual] : mounts.flowspecStatus()->unsupportedQual()) {
    os << "unsupported qualifiers " << Nwk::toStrep(af) << ": " << qual.toStrep() << "\n";
  }
  std::set<Cog::SharedString> unused;  // hashed collection: sorted for a stable text
  for (auto const& [name, cmap] : cmapType->cmap()) {
    if (!shownClassMaps.contains(name)) {
      unused.insert(name);
    }
  }
  for (auto const& name : unused) {
    os << "class-map \"" << name << "\" used by no policy\n";
    showClassMap(os, *cmapType, name);
  }
  return os.str();
}

}  // namespace Agent
