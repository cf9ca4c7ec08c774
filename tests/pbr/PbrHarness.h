#pragma once

// The programming machinery over the hardware model under simulated time: the records a
// feature writes (class-maps, policies, interface bindings, requests) and the machinery's
// status, with helpers that play the feature.
#include <string>
#include <vector>

#include "models/policymap/Config.h"
#include "pbr/OrbPbrSm.h"
#include "pbr/hwmodel/HardwareModel.h"

namespace PbrTest {

struct ClassSpec {
  std::string name;
  bool deny = false;
};

class PbrHarness {
 public:
  PbrHarness() {
    hw->lineCardIs("lc1", 1000, 1000, 8);
    hw->lineCardIs("lc2", 100000, 100000, 8);
    hw->intfIs(Nwk::IntfId("Ethernet1"), "lc1");
    hw->intfIs(Nwk::IntfId("Ethernet2"), "lc2");
    hw->intfIs(Nwk::IntfId("Ethernet3"), "lc2");
    intfConfig->typeIs(kMapType);
    pmapTypeStatus->typeIs(kMapType);
  }
  ~PbrHarness() { pbr = nullptr; }

  // Creates the PBR state machine (of type Sm, an OrbPbrSm) with every input the platform
  // mounts, and starts it unless told not to.
  template <class Sm = Orb::OrbPbrSm>
  Cog::Ptr<Sm> start(PolicyMap::ProgrammingFlags flags = {}, bool initialized = true) {
    auto const sm = Cog::make<Sm>(
        intfConfig, pmapTypeConfig, cmapTypeConfig, statusRequestDir, pmapTypeStatus,
        Cog::make<Acl::Config>("acl"), Cog::make<Classification::FieldSetConfig>("fieldSet"),
        Cog::make<Lag::Input::Config>("lag"), Cog::make<Ip::Status>("ip"),
        Cog::make<Ip6::Status>("ip6"), Cog::make<Cog::Dir>("routing"),
        Cog::make<Cog::Dir>("routing6"), aclHelper, Cog::make<Acl::AclDiff>("aclDiff"),
        flags.skipUnknownIntfs, flags.makeBeforeBreak, flags.atomicInstall,
        Cog::make<Orb::NexthopConfig>("nh"), Cog::make<Orb::NexthopStatus>("nhStatus"),
        Cog::make<Orb::NexthopGroupConfig>("nhg"), Cog::make<Orb::NexthopGroupStatus>("nhgStatus"),
        scheduler->timerWheel(), Cog::make<Orb::OrbCommonSmData>("ocsd"));
    pbr = sm;
    sm->initializedIs(initialized);
    return sm;
  }

  // Publishes a new version of a class-map with IPv4 (or IPv6) entries; returns the version.
  Kiln::UniqueId classMapIs(std::string const& name, std::vector<Acl::IpFilter> const& ip,
                            std::vector<Acl::Ip6Filter> const& ip6 = {}) {
    auto const cmap = cmapTypeConfig->cmapInputIs(name);
    cmapTypeConfig->cmapIs(cmap);
    Kiln::UniqueId const version = Kiln::UniqueId::next();
    auto const sub = cmap->subconfigIs(name, version);
    std::uint32_t seq = 10;
    if (!ip.empty()) {
      auto const match = sub->matchIs(PolicyMap::ClassMapMatchOption::matchIpAccessGroup);
      for (auto const& filter : ip) {
        match->ipRuleIs(seq += 10, Acl::IpRuleConfig(filter));
      }
    }
    if (!ip6.empty()) {
      auto const match = sub->matchIs(PolicyMap::ClassMapMatchOption::matchIpv6AccessGroup);
      for (auto const& filter : ip6) {
        match->ip6RuleIs(seq += 10, Acl::Ip6RuleConfig(filter));
      }
    }
    cmap->currCfgIs(sub);
    return version;
  }

  // Publishes a new version of a policy with the classes in match order (priorities 1, 2 ...)
  // and switches to it, dropping the previous one; returns the version. With `keepActions`, a
  // class of the previous version keeps its action object, as a feature does for the classes
  // whose action stayed.
  Kiln::UniqueId policyIs(std::string const& name, std::vector<ClassSpec> const& classes,
                          bool keepActions = false) {
    auto const pmap = pmapTypeConfig->pmapInputIs(name, kMapType);
    pmapTypeConfig->pmapIs(pmap);
    Kiln::UniqueId const version = Kiln::UniqueId::next();
    auto const sub = pmap->subconfigIs(name, version);
    PolicyMap::ClassPriority priority = 1;
    for (auto const& c : classes) {
      sub->classPrioIs(priority++, c.name);
      if (auto const kept =
              keepActions && pmap->currCfg() ? pmap->currCfg()->classAction(c.name) : nullptr) {
        sub->classActionIs(c.name, kept);
        continue;
      }
      auto const classAction = Cog::make<PolicyMap::ClassAction>(c.name);
      classAction->policyActionIs(Cog::make<PolicyMap::Action>(
          c.deny ? "deny" : "permit",
          c.deny ? PolicyMap::ActionType::actionDeny : PolicyMap::ActionType::actionPermit,
          Kiln::UniqueId(7, 7)));
      sub->classActionIs(c.name, classAction);
    }
    auto const previous = pmap->currCfg();
    pmap->currCfgIs(sub);
    if (previous) {
      pmap->subconfigDel(previous->version());
    }
    return version;
  }

  void policyDel(std::string const& name) {
    pmapTypeConfig->pmapDel(name);
    pmapTypeConfig->pmapInputDel(name);
  }

  void bind(std::string const& intf, std::string const& policy) {
    intfConfig->intfIs(Nwk::IntfId(intf), policy);
  }
  void unbind(std::string const& intf) { intfConfig->intfDel(Nwk::IntfId(intf)); }

  Cog::Ptr<PolicyMap::PolicyMapStatus> status(std::string const& policy) const {
    return pmapTypeStatus->pmapStatus(policy);
  }
  // The class's state, or -1 without a status.
  int classState(std::string const& policy, std::string const& cls) const {
    auto const s = status(policy);
    auto const c = s ? s->cmap(cls) : nullptr;
    return c ? static_cast<int>(c->classState()) : -1;
  }
  // "installed", "unknown", the error of a failure, or "-" without an entry for the family.
  std::string installed(std::string const& policy, std::string const& intf,
                        PolicyMap::ClassMapMatchOption option =
                            PolicyMap::ClassMapMatchOption::matchIpAccessGroup) const {
    auto const s = status(policy);
    auto const i = s ? s->intfStatus(Nwk::IntfId(intf)) : nullptr;
    if (!i || !i->installed().contains(option)) {
      return "-";
    }
    auto const entry = i->installed(option);
    return entry.state == PolicyMap::InstalledState::installed ? "installed"
           : entry.state == PolicyMap::InstalledState::failed  ? entry.errorText
                                                               : "unknown";
  }

  void settle() { scheduler->runUntilNoWork(3600); }

  static constexpr PolicyMap::MapType kMapType{7};

  Cog::Ptr<Kiln::TaskScheduler> scheduler = Kiln::simulatedTaskSchedulerFactory();
  Cog::Ptr<Acl::StatusDp> statusDp = Cog::make<Acl::StatusDp>("dp");
  Cog::Ptr<Pbr::HardwareModel> hw = Cog::make<Pbr::HardwareModel>(scheduler, statusDp);
  Cog::Ptr<PolicyMap::PolicyMapAclHelper> aclHelper = hw;
  Cog::Ptr<PolicyMap::Config> config = Cog::make<PolicyMap::Config>("test");
  Cog::Ptr<PolicyMap::PolicyMapTypeConfig> pmapTypeConfig = config->pmapTypeIs("Test", kMapType);
  Cog::Ptr<PolicyMap::ClassMapTypeConfig> cmapTypeConfig = config->cmapTypeIs("Test");
  Cog::Ptr<PolicyMap::IntfConfig> intfConfig = Cog::make<PolicyMap::IntfConfig>("Test");
  Cog::Ptr<PolicyMap::PolicyMapStatusRequestDir> statusRequestDir =
      Cog::make<PolicyMap::PolicyMapStatusRequestDir>("Test");
  Cog::Ptr<PolicyMap::PolicyMapTypeStatus> pmapTypeStatus =
      Cog::make<PolicyMap::PolicyMapTypeStatus>("Test");
  Cog::Ptr<PolicyMap::ServicePolicySm> pbr;
};

}  // namespace PbrTest
