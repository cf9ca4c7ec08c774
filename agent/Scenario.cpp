#include "agent/Scenario.h"

#include <fstream>
#include <limits>
#include <nlohmann/json.hpp>
#include <optional>
#include <sstream>

#include "platform/trace/Trace.h"

namespace Agent {

namespace {

Trace::Handle gTrace("Agent");
using Json = nlohmann::json;

constexpr std::size_t kMaxVrfNameLength = 100;

class Loader {
 public:
  Loader(MountedRecords& records, ScenarioResult& result) : records_(records), result_(result) {}

  void load(Json const& scenario) {
    if (!scenario.is_object()) {
      error("scenario", "expected a JSON object");
      return;
    }
    forEach(scenario, "vrfs", [this](Json const& item, std::string const& where) {
      loadVrf(item, where);
    });
    forEach(scenario, "interfaces", [this](Json const& item, std::string const& where) {
      loadInterface(item, where);
    });
    if (auto const it = scenario.find("flowspec"); it != scenario.end()) {
      loadFlowspec(*it);
    }
    forEach(scenario, "rules", [this](Json const& item, std::string const& where) {
      loadRule(item, where);
    });
  }

 private:
  template <class F>
  void forEach(Json const& parent, char const* name, F&& load) {
    auto const it = parent.find(name);
    if (it == parent.end()) {
      return;
    }
    if (!it->is_array()) {
      error(name, "expected an array");
      return;
    }
    for (std::size_t i = 0; i < it->size(); ++i) {
      load((*it)[i], std::string(name) + "[" + std::to_string(i) + "]");
    }
  }

  void error(std::string const& where, std::string const& what) {
    std::string const line = where + ": " + what;
    TRACE(gTrace, 0, "scenario ", line);
    result_.errors.push_back(line);
  }

  std::optional<std::string> string(Json const& item, char const* field, std::string const& where) {
    if (!item.is_object()) {
      error(where, "expected an object");
      return std::nullopt;
    }
    auto const it = item.find(field);
    if (it == item.end() || !it->is_string()) {
      error(where, std::string("expected a string \"") + field + "\"");
      return std::nullopt;
    }
    return it->get<std::string>();
  }

  std::optional<std::uint64_t> unsignedField(Json const& item, char const* field,
                                             std::string const& where, std::uint64_t max) {
    if (!item.is_object()) {
      error(where, "expected an object");
      return std::nullopt;
    }
    auto const it = item.find(field);
    if (it == item.end() || !it->is_number_unsigned() || it->get<std::uint64_t>() > max) {
      error(where, std::string("expected \"") + field + "\" as a number from 0 to " +
                       std::to_string(max));
      return std::nullopt;
    }
    return it->get<std::uint64_t>();
  }

  // A VRF given by id (a number) or by a name declared in "vrfs".
  std::optional<Vrf::VrfIdMap::VrfId> vrfRef(Json const& ref, std::string const& where) {
    if (ref.is_number_unsigned() && ref.get<std::uint64_t>() < Vrf::VrfIdMap::kInvalidVrfId) {
      return static_cast<Vrf::VrfIdMap::VrfId>(ref.get<std::uint64_t>());
    }
    if (ref.is_string()) {
      auto const it = vrfIds_.find(ref.get<std::string>());
      if (it != vrfIds_.end()) {
        return it->second;
      }
      error(where, "unknown VRF \"" + ref.get<std::string>() + "\"");
      return std::nullopt;
    }
    error(where, "expected a VRF id below 16777215 or a declared VRF name");
    return std::nullopt;
  }

  void loadVrf(Json const& item, std::string const& where) {
    auto const id = unsignedField(item, "id", where, Vrf::VrfIdMap::kInvalidVrfId - 1);
    auto const name = id ? string(item, "name", where) : std::nullopt;
    if (!name) {
      return;
    }
    if (name->empty() || name->size() > kMaxVrfNameLength) {
      error(where, "a VRF name has 1 to 100 characters");
      return;
    }
    vrfIds_[*name] = static_cast<Vrf::VrfIdMap::VrfId>(*id);
    records_.vrfIdStatus->vrfEntryIs(static_cast<Vrf::VrfIdMap::VrfId>(*id), *name);
    ++result_.vrfs;
  }

  void loadInterface(Json const& item, std::string const& where) {
    auto const name = string(item, "name", where);
    auto const vrf = name ? string(item, "vrf", where) : std::nullopt;
    if (!vrf) {
      return;
    }
    auto const intf = Nwk::IntfId::parse(*name);
    if (!intf) {
      error(where, "invalid interface name");
      return;
    }
    records_.l3StatusDir->intfStatusIs(*intf)->vrfIs(*vrf);
    ++result_.interfaces;
  }

  void loadFlowspec(Json const& flowspec) {
    if (!flowspec.is_object()) {
      error("flowspec", "expected an object");
      return;
    }
    if (auto const all = flowspec.find("allInterfaces"); all != flowspec.end()) {
      if (all->is_boolean()) {
        records_.config->enabledIntfAllIs(all->get<bool>());
      } else {
        error("flowspec.allInterfaces", "expected true or false");
      }
    }
    forEach(flowspec, "interfaces", [this](Json const& item, std::string const& where) {
      auto const name = string(item, "name", "flowspec." + where);
      if (!name) {
        return;
      }
      auto const intf = Nwk::IntfId::parse(*name);
      if (!intf) {
        error("flowspec." + where, "invalid interface name");
        return;
      }
      std::string const version = item.value("ipVersion", std::string("both"));
      Flowspec::IpVersion ipVersion;
      if (version == "ipv4") {
        ipVersion = Flowspec::IpVersion::ipv4;
      } else if (version == "ipv6") {
        ipVersion = Flowspec::IpVersion::ipv6;
      } else if (version == "both") {
        ipVersion = Flowspec::IpVersion::ipv4AndIpv6;
      } else {
        error("flowspec." + where, "ipVersion is ipv4, ipv6 or both");
        return;
      }
      records_.cliConfig->enabledIntfIs(*intf, ipVersion);
      ++result_.enabledInterfaces;
    });
  }

  void loadRule(Json const& item, std::string const& where) {
    if (!item.is_object() || !item.contains("vrf")) {
      error(where, "expected an object with \"vrf\", \"id\" and \"match\"");
      return;
    }
    auto const vrf = vrfRef(item["vrf"], where + ".vrf");
    auto const id = vrf ? unsignedField(item, "id", where, std::numeric_limits<std::uint64_t>::max())
                        : std::nullopt;
    auto const match = id ? string(item, "match", where) : std::nullopt;
    if (!match) {
      return;
    }
    std::string parseError;
    auto const key = Flowspec::FlowspecKey::parse(*match, &parseError);
    if (!key) {
      error(where + ".match", parseError);
      return;
    }
    Flowspec::Rule rule;
    rule.key = Flowspec::FlowspecTidalKey(*vrf, *key);
    rule.ruleId = *id;
    if (auto const actions = item.find("actions"); actions != item.end()) {
      if (!loadActions(*actions, where + ".actions", key->af(), rule)) {
        return;
      }
    }
    records_.ruleSet->ruleIs(rule);
    ++result_.rules;
  }

  bool loadActions(Json const& actions, std::string const& where, Nwk::AddressFamily af,
                   Flowspec::Rule& rule) {
    if (!actions.is_object()) {
      error(where, "expected an object");
      return false;
    }
    std::uint8_t bits = 0;
    for (auto const& [name, bit] : {std::pair<char const*, std::uint8_t>{"permit", 0x02},
                                    {"deny", 0x04}}) {
      if (auto const it = actions.find(name); it != actions.end()) {
        if (!it->is_boolean()) {
          error(where + "." + name, "expected true or false");
          return false;
        }
        bits |= it->get<bool>() ? bit : 0;
      }
    }
    if (auto const police = actions.find("police"); police != actions.end()) {
      if (!police->is_number() || police->get<double>() < 0) {
        error(where + ".police", "expected a rate in bytes per second");
        return false;
      }
      bits |= Flowspec::ActionFieldSet::kPolice;
      rule.trafficRateLimit = police->get<float>();
    }
    if (auto const dscp = actions.find("dscp"); dscp != actions.end()) {
      if (!dscp->is_number_unsigned() || dscp->get<std::uint64_t>() > 255) {
        error(where + ".dscp", "expected a number from 0 to 255");
        return false;
      }
      bits |= Flowspec::ActionFieldSet::kDscp;
      rule.trafficMarkingDscp = Nwk::IpTos(static_cast<std::uint8_t>(dscp->get<std::uint64_t>()));
    }
    if (auto const redirect = actions.find("redirect"); redirect != actions.end()) {
      if (!redirect->is_object() || !redirect->contains("vrf")) {
        error(where + ".redirect", "expected {\"vrf\": ..., \"nexthop\": ...}");
        return false;
      }
      auto const vrf = vrfRef((*redirect)["vrf"], where + ".redirect.vrf");
      if (!vrf) {
        return false;
      }
      rule.trafficRedirect.vrfId = *vrf;
      if (auto const nexthop = redirect->find("nexthop"); nexthop != redirect->end()) {
        auto const address =
            nexthop->is_string() ? Nwk::IpGenAddr::parse(nexthop->get<std::string>()) : std::nullopt;
        if (!address || address->af() != af) {
          error(where + ".redirect.nexthop", "expected an address of the rule's family");
          return false;
        }
        rule.trafficRedirect.address = *address;
      }
      bits |= Flowspec::ActionFieldSet::kRedirect;
    }
    rule.actionFieldSet = Flowspec::ActionFieldSet(bits);
    return true;
  }

  MountedRecords& records_;
  ScenarioResult& result_;
  std::map<std::string, Vrf::VrfIdMap::VrfId> vrfIds_;
};

}  // namespace

ScenarioResult loadScenario(std::string const& text, MountedRecords& records) {
  ScenarioResult result;
  Json const scenario = Json::parse(text, nullptr, /*allow_exceptions=*/false);
  Loader loader(records, result);
  if (scenario.is_discarded()) {
    TRACE(gTrace, 0, "scenario: not valid JSON");
    result.errors.push_back("scenario: not valid JSON");
    return result;
  }
  loader.load(scenario);
  return result;
}

ScenarioResult loadScenarioFile(std::string const& path, MountedRecords& records) {
  std::ifstream file(path);
  if (!file) {
    ScenarioResult result;
    result.errors.push_back(path + ": cannot be read");
    TRACE(gTrace, 0, path, ": cannot be read");
    return result;
  }
  std::ostringstream text;
  text << file.rdbuf();
  return loadScenario(text.str(), records);
}

}  // namespace Agent
