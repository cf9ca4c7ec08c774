#include "agent/Scenario.h"

#include <algorithm>
#include <initializer_list>
#include <limits>
#include <map>
#include <optional>
#include <set>
#include <string_view>
#include <unordered_map>

#include "agent/JsonText.h"
#include "agent/QuotedText.h"
#include "agent/RegularFile.h"
#include "platform/trace/Trace.h"

namespace Agent {

namespace {

Trace::Handle gTrace("Agent");
using Json = nlohmann::json;
using VrfId = Vrf::VrfIdMap::VrfId;

constexpr std::size_t kMaxVrfNameLength = 100;
// Rates are held as a float of bytes per second and programmed as a 64-bit count of bits per
// second: a rate must stay below 2^64 / 8 once it is a float.
constexpr double kPoliceRateLimit = 2305843009213693952.0;  // 2^61
constexpr std::size_t kMaxMessageChars = 160;

bool validVrfName(std::string const& name) {
  return !name.empty() && name.size() <= kMaxVrfNameLength && !hasControlCharacter(name);
}

// Validates every item before it touches the records, so that an item is installed whole or
// not at all. Items are loaded in a fixed order (VRFs, interfaces, flowspec, rules) whatever the
// key order of the file, so rules can name the VRFs declared in the same scenario.
class Loader {
 public:
  Loader(MountedRecords& records, ScenarioResult& result) : records_(records), result_(result) {}

  void load(Json const& scenario) {
    if (!scenario.is_object()) {
      error("scenario", "expected an object");
      return;
    }
    knownKeys(
        scenario, "scenario",
        {"vrfs", "interfaces", "flowspec", "rules", "lineCards", "packets", "counterRequests"});
    forEach(scenario, "vrfs", "vrfs",
            [this](Json const& item, std::string const& where) { loadVrf(item, where); });
    forEach(scenario, "interfaces", "interfaces",
            [this](Json const& item, std::string const& where) { loadInterface(item, where); });
    if (auto const it = scenario.find("flowspec"); it != scenario.end()) {
      loadFlowspec(*it);
    }
    if (auto const it = scenario.find("rules"); it != scenario.end() && it->is_array()) {
      rules_.reserve(it->size());
    }
    forEach(scenario, "rules", "rules",
            [this](Json const& item, std::string const& where) { loadRule(item, where); });
    forEach(scenario, "lineCards", "lineCards",
            [this](Json const& item, std::string const& where) { loadLineCard(item, where); });
    forEach(scenario, "packets", "packets",
            [this](Json const& item, std::string const& where) { loadStream(item, where); });
    forEach(scenario, "counterRequests", "counterRequests",
            [this](Json const& item, std::string const& where) {
              if (auto const at = seconds(item, where)) {
                result_.hardware.counterRequests.push_back(*at);
              }
            });
  }

 private:
  template <class F>
  void forEach(Json const& parent, char const* name, std::string const& path, F&& load) {
    auto const it = parent.find(name);
    if (it == parent.end()) {
      return;
    }
    if (!it->is_array()) {
      error(path, "expected an array");
      return;
    }
    for (std::size_t i = 0; i < it->size(); ++i) {
      load((*it)[i], path + "[" + std::to_string(i) + "]");
    }
  }

  void error(std::string const& where, std::string const& what) {
    std::string const line = where + ": " + what;
    TRACE(gTrace, 0, "scenario error: ", line);
    result_.errors.push_back(line);
  }

  void warning(std::string const& where, std::string const& what) {
    std::string const line = where + ": " + what;
    TRACE(gTrace, 0, "scenario warning: ", line);
    result_.warnings.push_back(line);
  }

  // Reports every key of `object` not in `keys`; false when there was one.
  bool knownKeys(Json const& object, std::string const& where,
                 std::initializer_list<std::string_view> keys) {
    bool known = true;
    for (auto const& [key, value] : object.items()) {
      if (std::find(keys.begin(), keys.end(), key) == keys.end()) {
        error(where, "unknown key " + quotedValue(key));
        known = false;
      }
    }
    return known;
  }

  // An object item with only the given keys.
  bool itemObject(Json const& item, std::string const& where,
                  std::initializer_list<std::string_view> keys) {
    if (!item.is_object()) {
      error(where, "expected an object");
      return false;
    }
    return knownKeys(item, where, keys);
  }

  Json const* required(Json const& item, char const* field, std::string const& where) {
    auto const it = item.find(field);
    if (it == item.end()) {
      error(where, std::string("missing \"") + field + "\"");
      return nullptr;
    }
    return &*it;
  }

  std::optional<std::string> string(Json const& item, char const* field, std::string const& where) {
    Json const* value = required(item, field, where);
    if (!value) {
      return std::nullopt;
    }
    if (!value->is_string()) {
      error(where + "." + field, "expected a string");
      return std::nullopt;
    }
    return value->get<std::string>();
  }

  std::optional<std::uint64_t> unsignedField(Json const& item, char const* field,
                                             std::string const& where, std::uint64_t max) {
    Json const* value = required(item, field, where);
    if (!value) {
      return std::nullopt;
    }
    if (!value->is_number_unsigned() || value->get<std::uint64_t>() > max) {
      error(where + "." + field, "expected a number from 0 to " + std::to_string(max));
      return std::nullopt;
    }
    return value->get<std::uint64_t>();
  }

  std::optional<std::string> vrfName(Json const& item, char const* field,
                                     std::string const& where) {
    auto name = string(item, field, where);
    if (name && !validVrfName(*name)) {
      error(where + "." + field,
            "a VRF name has 1 to 100 characters, none a control character: " + quotedValue(*name));
      return std::nullopt;
    }
    return name;
  }

  // A VRF given by id (a number; one the scenario does not declare is a warning) or by a name
  // declared in "vrfs".
  std::optional<VrfId> vrfRef(Json const& ref, std::string const& where) {
    if (ref.is_number_unsigned() && ref.get<std::uint64_t>() < Vrf::VrfIdMap::kInvalidVrfId) {
      auto const id = static_cast<VrfId>(ref.get<std::uint64_t>());
      if (!vrfNames_.contains(id)) {
        pendingWarnings_.emplace_back(
            where, "VRF id " + std::to_string(id) + " is not declared in \"vrfs\"");
      }
      return id;
    }
    if (ref.is_string()) {
      auto const it = vrfIds_.find(ref.get<std::string>());
      if (it != vrfIds_.end()) {
        return it->second.first;
      }
      error(where, "unknown VRF " + quotedValue(ref.get<std::string>()));
      return std::nullopt;
    }
    error(where, "expected a VRF id below 16777215 or a declared VRF name");
    return std::nullopt;
  }

  void loadVrf(Json const& item, std::string const& where) {
    if (!itemObject(item, where, {"id", "name"})) {
      return;
    }
    auto const id = unsignedField(item, "id", where, Vrf::VrfIdMap::kInvalidVrfId - 1);
    auto const name = id ? vrfName(item, "name", where) : std::nullopt;
    if (!name) {
      return;
    }
    auto const vrfId = static_cast<VrfId>(*id);
    if (auto const it = vrfNames_.find(vrfId); it != vrfNames_.end()) {
      error(where + ".id",
            "duplicate VRF id " + std::to_string(vrfId) + " (also " + it->second.second + ")");
      return;
    }
    if (auto const it = vrfIds_.find(*name); it != vrfIds_.end()) {
      error(where + ".name",
            "duplicate VRF name " + quotedValue(*name) + " (also " + it->second.second + ")");
      return;
    }
    vrfIds_.emplace(*name, std::make_pair(vrfId, where));
    vrfNames_.emplace(vrfId, std::make_pair(*name, where));
    records_.vrfIdStatus->vrfEntryIs(vrfId, *name);
    ++result_.vrfs;
  }

  std::optional<Nwk::IntfId> intfName(Json const& item, std::string const& where) {
    auto const name = string(item, "name", where);
    if (!name) {
      return std::nullopt;
    }
    auto intf = Nwk::IntfId::parse(*name);
    if (!intf) {
      error(where + ".name", "invalid interface name " + quotedValue(*name));
    }
    return intf;
  }

  bool unique(std::map<Nwk::IntfId, std::string>& seen, Nwk::IntfId const& intf,
              std::string const& where) {
    auto const [it, inserted] = seen.emplace(intf, where);
    if (!inserted) {
      error(where + ".name",
            "duplicate interface " + quotedValue(intf.name()) + " (also " + it->second + ")");
    }
    return inserted;
  }

  void loadInterface(Json const& item, std::string const& where) {
    if (!itemObject(item, where, {"name", "vrf"})) {
      return;
    }
    auto const intf = intfName(item, where);
    auto const vrf = intf ? vrfName(item, "vrf", where) : std::nullopt;
    if (!vrf || !unique(interfaces_, *intf, where)) {
      return;
    }
    records_.l3StatusDir->intfStatusIs(*intf)->vrfIs(*vrf);
    ++result_.interfaces;
  }

  // Seconds after start: a number from 0 to a day.
  std::optional<double> seconds(Json const& value, std::string const& where) {
    if (!value.is_number() || !(value.get<double>() >= 0) || value.get<double>() > 86400) {
      error(where, "expected seconds from 0 to 86400");
      return std::nullopt;
    }
    return value.get<double>();
  }

  void loadLineCard(Json const& item, std::string const& where) {
    if (!itemObject(
            item, where,
            {"name", "ipv4Entries", "ipv6Entries", "rangeCheckers", "interfaces", "unsupported"})) {
      return;
    }
    HardwareSpec::LineCard card;
    auto const name = string(item, "name", where);
    auto const v4 = unsignedField(item, "ipv4Entries", where, 10'000'000);
    auto const v6 = unsignedField(item, "ipv6Entries", where, 10'000'000);
    auto const checkers = unsignedField(item, "rangeCheckers", where, 65535);
    if (!name || !v4 || !v6 || !checkers) {
      return;
    }
    if (name->empty() || name->size() > 64 || hasControlCharacter(*name)) {
      error(where + ".name", "a line card name has 1 to 64 characters, none a control character");
      return;
    }
    if (lineCards_.contains(*name)) {
      error(where + ".name", "duplicate line card " + quotedValue(*name));
      return;
    }
    card = {*name,
            static_cast<std::uint32_t>(*v4),
            static_cast<std::uint32_t>(*v6),
            static_cast<std::uint32_t>(*checkers),
            {},
            0,
            0};
    if (auto const it = item.find("interfaces"); it != item.end()) {
      if (!it->is_array()) {
        error(where + ".interfaces", "expected an array of interface names");
        return;
      }
      for (std::size_t i = 0; i < it->size(); ++i) {
        std::string const at = where + ".interfaces[" + std::to_string(i) + "]";
        if (!(*it)[i].is_string() || !Nwk::IntfId::parse((*it)[i].get<std::string>())) {
          error(at, "expected an interface name");
          return;
        }
        std::string const intf = (*it)[i].get<std::string>();
        if (cardOfIntf_.contains(intf) ||
            std::count(card.interfaces.begin(), card.interfaces.end(), intf) > 0) {
          error(at, "interface " + quotedValue(intf) + " is on a line card already");
          return;
        }
        card.interfaces.push_back(intf);
      }
    }
    if (auto const it = item.find("unsupported"); it != item.end()) {
      if (!itemObject(*it, where + ".unsupported", {"ipv4", "ipv6"}) ||
          !qualifiers(*it, "ipv4", Nwk::AddressFamily::ipv4, where, card.unsupportedIpv4) ||
          !qualifiers(*it, "ipv6", Nwk::AddressFamily::ipv6, where, card.unsupportedIpv6)) {
        return;
      }
    }
    lineCards_.insert(*name);
    for (auto const& intf : card.interfaces) {
      cardOfIntf_.emplace(intf, *name);
    }
    result_.hardware.lineCards.push_back(std::move(card));
  }

  // The qualifier names of one family, as a line card reports them ("ip-length", ...).
  bool qualifiers(Json const& unsupported, char const* family, Nwk::AddressFamily af,
                  std::string const& where, Pbr::QualifierSet& set) {
    auto const it = unsupported.find(family);
    if (it == unsupported.end()) {
      return true;
    }
    std::string const at = where + ".unsupported." + family;
    if (!it->is_array()) {
      error(at, "expected an array of qualifier names");
      return false;
    }
    for (auto const& name : *it) {
      bool found = false;
      for (int bit = 0; bit < Pbr::kQualifierCount && name.is_string(); ++bit) {
        auto const qualifier = static_cast<Pbr::Qualifier>(1 << bit);
        if (name.get<std::string>() == Pbr::qualifierName(qualifier, af)) {
          set |= qualifier;
          found = true;
        }
      }
      if (!found) {
        error(at, "unknown qualifier " + (name.is_string() ? quotedValue(name.get<std::string>())
                                                           : std::string("(not a string)")));
        return false;
      }
    }
    return true;
  }

  void loadStream(Json const& item, std::string const& where) {
    if (!itemObject(item, where, {"at", "interface", "count", "fields"})) {
      return;
    }
    HardwareSpec::Stream stream;
    auto const at = item.contains("at") ? seconds(item["at"], where + ".at") : std::nullopt;
    auto const intf = string(item, "interface", where);
    auto const count = unsignedField(item, "count", where, 1'000'000);
    Json const* fields = required(item, "fields", where);
    if (!item.contains("at") || !at || !intf || !count || !fields) {
      if (!item.contains("at")) {
        error(where, "missing \"at\"");
      }
      return;
    }
    stream.at = *at;
    stream.interface = *intf;
    stream.count = static_cast<std::uint32_t>(*count);
    if (packet(*fields, where + ".fields", stream.packet)) {
      result_.hardware.streams.push_back(std::move(stream));
    }
  }

  bool packet(Json const& fields, std::string const& where, Pbr::Packet& packet) {
    if (!itemObject(fields, where,
                    {"family", "src", "dst", "protocol", "sport", "dport", "icmpType", "icmpCode",
                     "tcpFlags", "length", "dscp", "fragment"})) {
      return false;
    }
    auto const family = string(fields, "family", where);
    if (!family || (*family != "ipv4" && *family != "ipv6")) {
      if (family) {
        error(where + ".family", "expected \"ipv4\" or \"ipv6\"");
      }
      return false;
    }
    packet.af = *family == "ipv4" ? Nwk::AddressFamily::ipv4 : Nwk::AddressFamily::ipv6;
    for (auto const& [field, address] : {std::pair{"src", &packet.src}, {"dst", &packet.dst}}) {
      auto const text = string(fields, field, where);
      auto const parsed = text ? Nwk::IpGenAddr::parse(*text) : std::nullopt;
      if (!parsed || parsed->af() != packet.af) {
        if (text) {
          error(where + "." + field, "expected an address of the packet's family");
        }
        return false;
      }
      *address = *parsed;
    }
    struct Numeric {
      char const* name;
      std::uint64_t max;
      std::uint64_t* value;
    };
    std::uint64_t protocol = 6, sport = 0, dport = 0, icmpType = 0, icmpCode = 0, tcpFlags = 0,
                  length = 0, dscp = 0;
    for (auto const& n :
         {Numeric{"protocol", 255, &protocol}, Numeric{"sport", 65535, &sport},
          Numeric{"dport", 65535, &dport}, Numeric{"icmpType", 255, &icmpType},
          Numeric{"icmpCode", 255, &icmpCode}, Numeric{"tcpFlags", 0x1FF, &tcpFlags},
          Numeric{"length", 65535, &length}, Numeric{"dscp", 63, &dscp}}) {
      if (fields.contains(n.name)) {
        auto const value = unsignedField(fields, n.name, where, n.max);
        if (!value) {
          return false;
        }
        *n.value = *value;
      }
    }
    packet.protocol = static_cast<std::uint8_t>(protocol);
    packet.sport = static_cast<std::uint16_t>(sport);
    packet.dport = static_cast<std::uint16_t>(dport);
    packet.icmpType = static_cast<std::uint8_t>(icmpType);
    packet.icmpCode = static_cast<std::uint8_t>(icmpCode);
    packet.tcpFlags = static_cast<std::uint16_t>(tcpFlags);
    packet.length = static_cast<std::uint16_t>(length);
    packet.trafficClass = static_cast<std::uint8_t>(dscp << 2);
    if (auto const it = fields.find("fragment"); it != fields.end()) {
      if (!it->is_boolean()) {
        error(where + ".fragment", "expected true or false");
        return false;
      }
      packet.fragment = it->get<bool>();
    }
    return true;
  }

  void loadFlowspec(Json const& flowspec) {
    if (!flowspec.is_object()) {
      error("flowspec", "expected an object");
      return;
    }
    knownKeys(flowspec, "flowspec", {"interfaces", "allInterfaces"});
    if (auto const all = flowspec.find("allInterfaces"); all != flowspec.end()) {
      if (all->is_boolean()) {
        records_.config->enabledIntfAllIs(all->get<bool>());
      } else {
        error("flowspec.allInterfaces", "expected true or false");
      }
    }
    forEach(
        flowspec, "interfaces", "flowspec.interfaces",
        [this](Json const& item, std::string const& where) { loadEnabledInterface(item, where); });
  }

  void loadEnabledInterface(Json const& item, std::string const& where) {
    if (!itemObject(item, where, {"name", "ipVersion"})) {
      return;
    }
    auto const intf = intfName(item, where);
    if (!intf) {
      return;
    }
    Flowspec::IpVersion ipVersion = Flowspec::IpVersion::ipv4AndIpv6;
    if (auto const version = item.find("ipVersion"); version != item.end()) {
      std::string const text = version->is_string() ? version->get<std::string>() : "";
      if (text == "ipv4") {
        ipVersion = Flowspec::IpVersion::ipv4;
      } else if (text == "ipv6") {
        ipVersion = Flowspec::IpVersion::ipv6;
      } else if (text != "both") {
        error(where + ".ipVersion", "expected \"ipv4\", \"ipv6\" or \"both\"");
        return;
      }
    }
    if (!unique(enabledInterfaces_, *intf, where)) {
      return;
    }
    records_.cliConfig->enabledIntfIs(*intf, ipVersion);
    ++result_.enabledInterfaces;
  }

  void loadRule(Json const& item, std::string const& where) {
    pendingWarnings_.clear();
    if (!itemObject(item, where, {"vrf", "id", "match", "actions"})) {
      return;
    }
    Json const* vrfJson = required(item, "vrf", where);
    auto const vrf = vrfJson ? vrfRef(*vrfJson, where + ".vrf") : std::nullopt;
    auto const id =
        vrf ? unsignedField(item, "id", where, std::numeric_limits<std::uint64_t>::max())
            : std::nullopt;
    auto const match = id ? string(item, "match", where) : std::nullopt;
    if (!match) {
      return;
    }
    std::string parseError;
    auto const key = Flowspec::FlowspecKey::parse(*match, &parseError);
    if (!key) {
      error(where + ".match", escaped(parseError, kMaxMessageChars));
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
    auto const [it, inserted] = rules_.emplace(rule.key, where);
    if (!inserted) {
      error(where + ".match",
            "duplicate rule in VRF " + std::to_string(*vrf) + " (also " + it->second + ")");
      return;
    }
    for (auto const& [path, what] : pendingWarnings_) {
      warning(path, what);
    }
    records_.ruleSet->ruleIs(rule);
    ++result_.rules;
  }

  bool loadActions(Json const& actions, std::string const& where, Nwk::AddressFamily af,
                   Flowspec::Rule& rule) {
    if (!itemObject(actions, where, {"permit", "deny", "police", "dscp", "redirect"})) {
      return false;
    }
    std::uint8_t bits = 0;
    for (auto const& [name, bit] :
         {std::pair<char const*, std::uint8_t>{"permit", 0x02}, {"deny", 0x04}}) {
      if (auto const it = actions.find(name); it != actions.end()) {
        if (!it->is_boolean()) {
          error(where + "." + name, "expected true or false");
          return false;
        }
        bits |= it->get<bool>() ? bit : 0;
      }
    }
    if (auto const police = actions.find("police"); police != actions.end()) {
      auto const rate = policeRate(*police);
      if (!rate) {
        error(where + ".police",
              "expected a rate in bytes per second, at least 0 and below 2305843009213693952");
        return false;
      }
      bits |= Flowspec::ActionFieldSet::kPolice;
      rule.trafficRateLimit = *rate;
    }
    if (auto const dscp = actions.find("dscp"); dscp != actions.end()) {
      if (!dscp->is_number_unsigned() || dscp->get<std::uint64_t>() > 63) {
        error(where + ".dscp", "expected a number from 0 to 63");
        return false;
      }
      bits |= Flowspec::ActionFieldSet::kDscp;
      rule.trafficMarkingDscp = Nwk::IpTos(static_cast<std::uint8_t>(dscp->get<std::uint64_t>()));
    }
    if (auto const redirect = actions.find("redirect"); redirect != actions.end()) {
      if (!loadRedirect(*redirect, where + ".redirect", af, rule)) {
        return false;
      }
      bits |= Flowspec::ActionFieldSet::kRedirect;
    }
    rule.actionFieldSet = Flowspec::ActionFieldSet(bits);
    return true;
  }

  static std::optional<float> policeRate(Json const& value) {
    if (!value.is_number()) {
      return std::nullopt;
    }
    double const rate = value.get<double>();
    // The first test also refuses NaN; the float conversion is defined once below the limit.
    if (!(rate >= 0.0 && rate < kPoliceRateLimit)) {
      return std::nullopt;
    }
    float const held = static_cast<float>(rate);
    if (!(static_cast<double>(held) < kPoliceRateLimit)) {
      return std::nullopt;
    }
    return held + 0.0f;  // -0 as +0
  }

  bool loadRedirect(Json const& redirect, std::string const& where, Nwk::AddressFamily af,
                    Flowspec::Rule& rule) {
    if (!itemObject(redirect, where, {"vrf", "nexthop"})) {
      return false;
    }
    Json const* vrfJson = required(redirect, "vrf", where);
    auto const vrf = vrfJson ? vrfRef(*vrfJson, where + ".vrf") : std::nullopt;
    if (!vrf) {
      return false;
    }
    rule.trafficRedirect.vrfId = *vrf;
    if (auto const nexthop = redirect.find("nexthop"); nexthop != redirect.end()) {
      auto const address =
          nexthop->is_string() ? Nwk::IpGenAddr::parse(nexthop->get<std::string>()) : std::nullopt;
      if (!address || address->af() != af) {
        error(where + ".nexthop", "expected an address of the rule's family");
        return false;
      }
      rule.trafficRedirect.address = *address;
    }
    return true;
  }

  MountedRecords& records_;
  ScenarioResult& result_;
  // Declared VRFs, each with the path of its item.
  std::map<std::string, std::pair<VrfId, std::string>> vrfIds_;
  std::map<VrfId, std::pair<std::string, std::string>> vrfNames_;
  std::map<Nwk::IntfId, std::string> interfaces_;
  std::map<Nwk::IntfId, std::string> enabledInterfaces_;
  // Where each loaded rule came from, for naming the first of two duplicates.
  std::unordered_map<Flowspec::FlowspecTidalKey, std::string> rules_;
  std::set<std::string> lineCards_;
  std::map<std::string, std::string> cardOfIntf_;  // interface -> its line card
  // Warnings of the rule being loaded, reported only if it loads.
  std::vector<std::pair<std::string, std::string>> pendingWarnings_;
};

}  // namespace

ScenarioResult loadScenario(std::string const& text, MountedRecords& records) {
  ScenarioResult result;
  JsonText const parsed = parseJsonText(text);
  if (!parsed.error.empty()) {
    result.errors.push_back("scenario: " + parsed.error);
    TRACE(gTrace, 0, result.errors.back());
    return result;
  }
  Loader(records, result).load(parsed.value);
  return result;
}

ScenarioResult loadScenarioFile(std::string const& path, MountedRecords& records) {
  FileContent const file = readRegularFile(path, kMaxScenarioBytes);
  if (!file.text) {
    ScenarioResult result;
    result.errors.push_back(escaped(path, 4096) + ": " + file.error);
    TRACE(gTrace, 0, result.errors.back());
    return result;
  }
  return loadScenario(*file.text, records);
}

}  // namespace Agent
