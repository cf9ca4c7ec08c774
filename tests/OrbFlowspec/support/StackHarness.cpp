#include "tests/OrbFlowspec/support/StackHarness.h"

#include <map>
#include <sstream>

namespace OrbFlowspecTest {

StackHarness::StackHarness() : scheduler(Kiln::simulatedTaskSchedulerFactory()) {}

StackHarness::~StackHarness() { stop(); }

void StackHarness::start() {
  root = OrbFlowspec::flowspecSmFactory(records.mounts,
                                        Cog::make<PolicyMap::PolicyMapAclHelper>(), scheduler,
                                        scheduler->timerWheel(), records.ocsd);
}

void StackHarness::stop() { root = nullptr; }

void StackHarness::vrfIs(Vrf::VrfIdMap::VrfId vrfId, std::string const& name) {
  vrfIdStatus->vrfEntryIs(vrfId, name);
}

void StackHarness::vrfDel(Vrf::VrfIdMap::VrfId vrfId) { vrfIdStatus->vrfEntryDel(vrfId); }

void StackHarness::intfIs(std::string const& intf, std::string const& vrf) {
  l3StatusDir->intfStatusIs(Nwk::IntfId(intf))->vrfIs(vrf);
}

void StackHarness::intfDel(std::string const& intf) {
  l3StatusDir->intfStatusDel(Nwk::IntfId(intf));
}

void StackHarness::enabledIntfIs(std::string const& intf, Flowspec::IpVersion version) {
  cliConfig->enabledIntfIs(Nwk::IntfId(intf), version);
}

void StackHarness::enabledIntfAllIs(bool all) { config->enabledIntfAllIs(all); }

Flowspec::FlowspecTidalKey StackHarness::ruleIs(Vrf::VrfIdMap::VrfId vrfId,
                                                std::string const& match, std::uint64_t ruleId,
                                                Flowspec::ActionFieldSet actions,
                                                Flowspec::TrafficRedirect redirect) {
  Flowspec::FlowspecKey key;
  key.copyInStringValue(match);
  Flowspec::Rule rule;
  rule.key = Flowspec::FlowspecTidalKey(vrfId, key);
  rule.ruleId = ruleId;
  rule.actionFieldSet = actions;
  rule.trafficRedirect = redirect;
  ruleSet->ruleIs(rule);
  return rule.key;
}

void StackHarness::ruleIs(Flowspec::Rule const& rule) { ruleSet->ruleIs(rule); }

void StackHarness::ruleDel(Vrf::VrfIdMap::VrfId vrfId, std::string const& match) {
  Flowspec::FlowspecKey key;
  key.copyInStringValue(match);
  ruleSet->ruleDel(Flowspec::FlowspecTidalKey(vrfId, key));
}

void StackHarness::runUntilIdle() { scheduler->runUntilIdle(); }

void StackHarness::runFor(double seconds) { scheduler->runFor(seconds); }

void StackHarness::settle() { scheduler->runUntilNoWork(24 * 3600.0); }

namespace {

void printAction(std::ostream& os, PolicyMap::Action const& action) {
  os << "      action " << static_cast<int>(action.actionType());
  if (auto const* police = dynamic_cast<PolicyMap::PoliceAction const*>(&action)) {
    os << " rate " << police->rate().rate;
  } else if (auto const* dscp = dynamic_cast<PolicyMap::SetDscpAction const*>(&action)) {
    os << " dscp " << static_cast<int>(dscp->dscp().value());
  } else if (auto const* redirect = dynamic_cast<Pbr::PbrFwdAction const*>(&action)) {
    os << " vrf " << redirect->vrfName().value();
    for (auto const& [address, resolve] : redirect->nexthop()) {
      os << " nexthop " << address.toStrep();
    }
  }
  os << "\n";
}

}  // namespace

std::string StackHarness::outputs() const {
  std::ostringstream os;
  Kiln::DumpContext digested;
  config->dumpState(&digested, 0);
  os << digested.text() << "\n";
  for (auto const& [vrfId, vrfStatus] : status->vrfRuleStatus()) {
    os << "status vrf " << vrfId << "\n";
    for (auto const& [key, rule] : vrfStatus->ruleStatus()) {
      os << "  " << key.stringValue() << " code " << static_cast<int>(rule->statusCode())
         << " reason '" << rule->errorReason() << "'\n";
    }
  }
  if (!root) {
    return os.str();
  }
  for (auto const& [intf, policy] : root->intfConfig()->intf()) {
    os << "intf " << intf.toStrep() << " policy " << policy << "\n";
  }
  auto const pmapType = root->policyMapConfig()->pmapType("Flowspec");
  for (auto const& [name, pmap] : pmapType->pmap()) {
    os << "policy " << name << "\n";
    auto const current = pmap->currCfg();
    if (!current) {
      continue;
    }
    for (auto const& [prio, className] : current->classPrio()) {
      os << "  class " << prio << " " << className << "\n";
      if (auto const classAction = current->classAction(className)) {
        for (auto const& [type, action] : classAction->policyAction()) {
          printAction(os, *action);
        }
      }
    }
  }
  // Class-maps are hashed: print them by name so that stacks compare by content only.
  std::map<std::string, Cog::Ptr<PolicyMap::ClassMapConfig const>> cmaps;
  for (auto const& [name, cmap] : root->policyMapConfig()->cmapType("Flowspec")->cmap()) {
    cmaps.emplace(name, cmap);
  }
  for (auto const& [name, cmap] : cmaps) {
    os << "classmap " << name << "\n";
    auto const current = cmap->currCfg();
    if (!current) {
      continue;
    }
    for (auto const& [option, match] : current->match()) {
      for (auto const& [seq, rule] : match->ipRule()) {
        os << "  " << seq << " " << rule.toStrep() << "\n";
      }
      for (auto const& [seq, rule] : match->ip6Rule()) {
        os << "  " << seq << " " << rule.toStrep() << "\n";
      }
    }
  }
  return os.str();
}

}  // namespace OrbFlowspecTest
