#include "agent/Scenario.h"

#include <rapidjson/document.h>

#include <algorithm>
#include <initializer_list>
#include <limits>
#include <map>
#include <optional>
#include <set>
#include <string_view>
#include <unordered_set>

#include "agent/JsonText.h"
#include "agent/QuotedText.h"
#include "agent/RegularFile.h"
#include "platform/trace/Trace.h"

namespace Agent {

namespace {

Trace::Handle gTrace("Agent");
using Json = rapidjson::Value;
using VrfId = Vrf::VrfIdMap::VrfId;

constexpr std::size_t kMaxVrfNameLength = 100;
// Rates are held as a float of bytes per second and programmed as a 64-bit count of bits per
// second: a rate must stay below 2^64 / 8 once it is a float.
constexpr double kPoliceRateLimit = 2305843009213693952.0;  // 2^61
constexpr std::size_t kMaxMessageChars = 160;

std::string_view text(Json const& string) { return {string.GetString(), string.GetStringLength()}; }

// The value of the first member `name` of an object; null when there is none.
Json const* member(Json const& object, std::string_view name) {
  for (auto m = object.MemberBegin(); m != object.MemberEnd(); ++m) {
    if (text(m->name) == name) {
      return &m->value;
    }
  }
  return nullptr;
}

// Where an item is in the document ("rules[3].actions"), spelt out only when an error or a
// warning names it. Refers to its parent: a path lives no longer than its parent's.
class Path {
 public:
  Path(char const* root) : name_(root) {}  // implicit: error("scenario", ...) names the root
  Path(Path const& parent, char const* field) : parent_(&parent), name_(field) {}
  Path(Path const& parent, std::size_t index) : parent_(&parent), index_(index) {}

  std::size_t index() const { return index_; }  // of an array element
  std::string text() const {
    std::string out = parent_ ? parent_->text() : std::string();
    if (!name_) {
      return out + "[" + std::to_string(index_) + "]";
    }
    return out + (parent_ ? "." : "") + name_;
  }

 private:
  Path const* parent_ = nullptr;
  char const* name_ = nullptr;  // null: an element of the parent array
  std::size_t index_ = 0;
};

bool isAscii(std::string_view text) {
  unsigned char any = 0;  // a reduction without an early exit, so that it vectorises
  for (char const c : text) {
    any |= static_cast<unsigned char>(c);
  }
  return any < 0x80;
}

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
    if (!scenario.IsObject()) {
      error("scenario", "expected an object");
      return;
    }
    knownKeys(
        scenario, "scenario",
        {"vrfs", "interfaces", "flowspec", "rules", "lineCards", "packets", "counterRequests"});
    forEach(scenario, "vrfs", "vrfs",
            [this](Json const& item, Path const& where) { loadVrf(item, where); });
    forEach(scenario, "interfaces", "interfaces",
            [this](Json const& item, Path const& where) { loadInterface(item, where); });
    if (Json const* it = member(scenario, "flowspec")) {
      loadFlowspec(*it);
    }
    if (Json const* it = member(scenario, "rules"); it && it->IsArray()) {
      rules_.reserve(it->Size());
      ruleItem_.reserve(it->Size());
      ruleIndex_.reserve(it->Size());
    }
    forEach(scenario, "rules", "rules",
            [this](Json const& item, Path const& where) { loadRule(item, where); });
    writeRules();
    forEach(scenario, "lineCards", "lineCards",
            [this](Json const& item, Path const& where) { loadLineCard(item, where); });
    forEach(scenario, "packets", "packets",
            [this](Json const& item, Path const& where) { loadStream(item, where); });
    forEach(scenario, "counterRequests", "counterRequests",
            [this](Json const& item, Path const& where) {
              if (auto const at = seconds(item, where)) {
                result_.hardware.counterRequests.push_back(*at);
              }
            });
  }

 private:
  template <class F>
  void forEach(Json const& parent, char const* name, Path const& path, F&& load) {
    Json const* it = member(parent, name);
    if (!it) {
      return;
    }
    if (!it->IsArray()) {
      error(path, "expected an array");
      return;
    }
    for (rapidjson::SizeType i = 0; i < it->Size(); ++i) {
      load((*it)[i], Path(path, i));
    }
  }

  void error(Path const& where, std::string const& what) {
    std::string const line = where.text() + ": " + what;
    TRACE(gTrace, 0, "scenario error: ", line);
    result_.errors.push_back(line);
  }

  void warning(std::string const& where, std::string const& what) {
    std::string const line = where + ": " + what;
    TRACE(gTrace, 0, "scenario warning: ", line);
    result_.warnings.push_back(line);
  }

  // Reports every key of `object` not in `keys`; false when there was one.
  bool knownKeys(Json const& object, Path const& where,
                 std::initializer_list<std::string_view> keys) {
    bool known = true;
    std::uint32_t seen = 0;  // bit i: keys[i] was there
    for (auto m = object.MemberBegin(); m != object.MemberEnd(); ++m) {
      std::string_view const key = text(m->name);
      auto const index = std::find(keys.begin(), keys.end(), key) - keys.begin();
      if (index == static_cast<std::ptrdiff_t>(keys.size())) {
        error(where, "unknown key " + quotedValue(std::string(key)));
        known = false;
        continue;
      }
      if (seen & (1u << index)) {
        error(where, "duplicate key " + quotedValue(std::string(key)));
        known = false;
      }
      seen |= 1u << index;
    }
    return known;
  }

  // An object item with only the given keys.
  bool itemObject(Json const& item, Path const& where,
                  std::initializer_list<std::string_view> keys) {
    if (!item.IsObject()) {
      error(where, "expected an object");
      return false;
    }
    return knownKeys(item, where, keys);
  }

  Json const* required(Json const& item, char const* field, Path const& where) {
    Json const* value = member(item, field);
    if (!value) {
      error(where, std::string("missing \"") + field + "\"");
    }
    return value;
  }

  // A string member, as it stands in the document.
  std::optional<std::string_view> string(Json const& item, char const* field, Path const& where) {
    Json const* value = required(item, field, where);
    if (!value) {
      return std::nullopt;
    }
    if (!value->IsString()) {
      error(Path(where, field), "expected a string");
      return std::nullopt;
    }
    return text(*value);
  }

  std::optional<std::uint64_t> unsignedField(Json const& item, char const* field, Path const& where,
                                             std::uint64_t max) {
    Json const* value = required(item, field, where);
    if (!value) {
      return std::nullopt;
    }
    if (!value->IsUint64() || value->GetUint64() > max) {
      error(Path(where, field), "expected a number from 0 to " + std::to_string(max));
      return std::nullopt;
    }
    return value->GetUint64();
  }

  std::optional<std::string> vrfName(Json const& item, char const* field, Path const& where) {
    std::optional<std::string> const name(string(item, field, where));
    if (name && !validVrfName(*name)) {
      error(Path(where, field),
            "a VRF name has 1 to 100 characters, none a control character: " + quotedValue(*name));
      return std::nullopt;
    }
    return name;
  }

  // A VRF given by id (a number; one the scenario does not declare is a warning) or by a name
  // declared in "vrfs".
  std::optional<VrfId> vrfRef(Json const& ref, Path const& where) {
    if (ref.IsUint64() && ref.GetUint64() < Vrf::VrfIdMap::kInvalidVrfId) {
      auto const id = static_cast<VrfId>(ref.GetUint64());
      if (!vrfNames_.contains(id)) {
        pendingWarnings_.emplace_back(
            where.text(), "VRF id " + std::to_string(id) + " is not declared in \"vrfs\"");
      }
      return id;
    }
    if (ref.IsString()) {
      auto const it = vrfIds_.find(std::string(text(ref)));
      if (it != vrfIds_.end()) {
        return it->second.first;
      }
      error(where, "unknown VRF " + quotedValue(std::string(text(ref))));
      return std::nullopt;
    }
    error(where, "expected a VRF id below 16777215 or a declared VRF name");
    return std::nullopt;
  }

  void loadVrf(Json const& item, Path const& where) {
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
      error(Path(where, "id"),
            "duplicate VRF id " + std::to_string(vrfId) + " (also " + it->second.second + ")");
      return;
    }
    if (auto const it = vrfIds_.find(*name); it != vrfIds_.end()) {
      error(Path(where, "name"),
            "duplicate VRF name " + quotedValue(*name) + " (also " + it->second.second + ")");
      return;
    }
    vrfIds_.emplace(*name, std::make_pair(vrfId, where.text()));
    vrfNames_.emplace(vrfId, std::make_pair(*name, where.text()));
    records_.vrfIdStatus->vrfEntryIs(vrfId, *name);
    ++result_.vrfs;
  }

  std::optional<Nwk::IntfId> intfName(Json const& item, Path const& where) {
    auto const name = string(item, "name", where);
    if (!name) {
      return std::nullopt;
    }
    auto intf = Nwk::IntfId::parse(*name);
    if (!intf) {
      error(Path(where, "name"), "invalid interface name " + quotedValue(*name));
    }
    return intf;
  }

  bool unique(std::map<Nwk::IntfId, std::string>& seen, Nwk::IntfId const& intf,
              Path const& where) {
    auto const [it, inserted] = seen.emplace(intf, where.text());
    if (!inserted) {
      error(Path(where, "name"),
            "duplicate interface " + quotedValue(intf.name()) + " (also " + it->second + ")");
    }
    return inserted;
  }

  void loadInterface(Json const& item, Path const& where) {
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
  std::optional<double> seconds(Json const& value, Path const& where) {
    if (!value.IsNumber() || !(value.GetDouble() >= 0) || value.GetDouble() > 86400) {
      error(where, "expected seconds from 0 to 86400");
      return std::nullopt;
    }
    return value.GetDouble();
  }

  void loadLineCard(Json const& item, Path const& where) {
    if (!itemObject(
            item, where,
            {"name", "ipv4Entries", "ipv6Entries", "rangeCheckers", "interfaces", "unsupported"})) {
      return;
    }
    HardwareSpec::LineCard card;
    std::optional<std::string> const name(string(item, "name", where));
    auto const v4 = unsignedField(item, "ipv4Entries", where, 10'000'000);
    auto const v6 = unsignedField(item, "ipv6Entries", where, 10'000'000);
    auto const checkers = unsignedField(item, "rangeCheckers", where, 65535);
    if (!name || !v4 || !v6 || !checkers) {
      return;
    }
    if (name->empty() || name->size() > 64 || hasControlCharacter(*name)) {
      error(Path(where, "name"),
            "a line card name has 1 to 64 characters, none a control character");
      return;
    }
    if (lineCards_.contains(*name)) {
      error(Path(where, "name"), "duplicate line card " + quotedValue(*name));
      return;
    }
    card = {*name,
            static_cast<std::uint32_t>(*v4),
            static_cast<std::uint32_t>(*v6),
            static_cast<std::uint32_t>(*checkers),
            {},
            0,
            0};
    if (Json const* it = member(item, "interfaces")) {
      Path const interfaces(where, "interfaces");
      if (!it->IsArray()) {
        error(interfaces, "expected an array of interface names");
        return;
      }
      for (rapidjson::SizeType i = 0; i < it->Size(); ++i) {
        Path const at(interfaces, i);
        std::string const intf = (*it)[i].IsString() ? std::string(text((*it)[i])) : "";
        if (!Nwk::IntfId::parse(intf)) {
          error(at, "expected an interface name");
          return;
        }
        if (cardOfIntf_.contains(intf) ||
            std::count(card.interfaces.begin(), card.interfaces.end(), intf) > 0) {
          error(at, "interface " + quotedValue(intf) + " is on a line card already");
          return;
        }
        card.interfaces.push_back(intf);
      }
    }
    if (Json const* it = member(item, "unsupported")) {
      if (!itemObject(*it, Path(where, "unsupported"), {"ipv4", "ipv6"}) ||
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
                  Path const& where, Pbr::QualifierSet& set) {
    Json const* it = member(unsupported, family);
    if (!it) {
      return true;
    }
    Path const unsupportedPath(where, "unsupported");
    Path const at(unsupportedPath, family);
    if (!it->IsArray()) {
      error(at, "expected an array of qualifier names");
      return false;
    }
    for (auto const& name : it->GetArray()) {
      bool found = false;
      for (int bit = 0; bit < Pbr::kQualifierCount && name.IsString(); ++bit) {
        auto const qualifier = static_cast<Pbr::Qualifier>(1 << bit);
        if (text(name) == Pbr::qualifierName(qualifier, af)) {
          set |= qualifier;
          found = true;
        }
      }
      if (!found) {
        error(at, "unknown qualifier " + (name.IsString() ? quotedValue(std::string(text(name)))
                                                          : std::string("(not a string)")));
        return false;
      }
    }
    return true;
  }

  void loadStream(Json const& item, Path const& where) {
    if (!itemObject(item, where, {"at", "interface", "count", "fields"})) {
      return;
    }
    HardwareSpec::Stream stream;
    Json const* atJson = member(item, "at");
    auto const at = atJson ? seconds(*atJson, Path(where, "at")) : std::nullopt;
    auto const intf = string(item, "interface", where);
    auto const count = unsignedField(item, "count", where, 1'000'000);
    Json const* fields = required(item, "fields", where);
    if (!atJson || !at || !intf || !count || !fields) {
      if (!atJson) {
        error(where, "missing \"at\"");
      }
      return;
    }
    stream.at = *at;
    stream.interface = *intf;
    stream.count = static_cast<std::uint32_t>(*count);
    if (packet(*fields, Path(where, "fields"), stream.packet)) {
      result_.hardware.streams.push_back(std::move(stream));
    }
  }

  bool packet(Json const& fields, Path const& where, Pbr::Packet& packet) {
    if (!itemObject(fields, where,
                    {"family", "src", "dst", "protocol", "sport", "dport", "icmpType", "icmpCode",
                     "tcpFlags", "length", "dscp", "fragment"})) {
      return false;
    }
    auto const family = string(fields, "family", where);
    if (!family || (*family != "ipv4" && *family != "ipv6")) {
      if (family) {
        error(Path(where, "family"), "expected \"ipv4\" or \"ipv6\"");
      }
      return false;
    }
    packet.af = *family == "ipv4" ? Nwk::AddressFamily::ipv4 : Nwk::AddressFamily::ipv6;
    for (auto const& [field, address] : {std::pair{"src", &packet.src}, {"dst", &packet.dst}}) {
      auto const text = string(fields, field, where);
      auto const parsed = text ? Nwk::IpGenAddr::parse(*text) : std::nullopt;
      if (!parsed || parsed->af() != packet.af) {
        if (text) {
          error(Path(where, field), "expected an address of the packet's family");
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
      if (member(fields, n.name)) {
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
    if (Json const* it = member(fields, "fragment")) {
      if (!it->IsBool()) {
        error(Path(where, "fragment"), "expected true or false");
        return false;
      }
      packet.fragment = it->GetBool();
    }
    return true;
  }

  void loadFlowspec(Json const& flowspec) {
    Path const flowspecPath("flowspec");
    if (!flowspec.IsObject()) {
      error(flowspecPath, "expected an object");
      return;
    }
    knownKeys(flowspec, flowspecPath, {"interfaces", "allInterfaces"});
    if (Json const* all = member(flowspec, "allInterfaces")) {
      if (all->IsBool()) {
        records_.config->enabledIntfAllIs(all->GetBool());
      } else {
        error(Path(flowspecPath, "allInterfaces"), "expected true or false");
      }
    }
    forEach(flowspec, "interfaces", Path(flowspecPath, "interfaces"),
            [this](Json const& item, Path const& where) { loadEnabledInterface(item, where); });
  }

  void loadEnabledInterface(Json const& item, Path const& where) {
    if (!itemObject(item, where, {"name", "ipVersion"})) {
      return;
    }
    auto const intf = intfName(item, where);
    if (!intf) {
      return;
    }
    Flowspec::IpVersion ipVersion = Flowspec::IpVersion::ipv4AndIpv6;
    if (Json const* version = member(item, "ipVersion")) {
      std::string_view const name = version->IsString() ? text(*version) : "";
      if (name == "ipv4") {
        ipVersion = Flowspec::IpVersion::ipv4;
      } else if (name == "ipv6") {
        ipVersion = Flowspec::IpVersion::ipv6;
      } else if (name != "both") {
        error(Path(where, "ipVersion"), "expected \"ipv4\", \"ipv6\" or \"both\"");
        return;
      }
    }
    if (!unique(enabledInterfaces_, *intf, where)) {
      return;
    }
    records_.cliConfig->enabledIntfIs(*intf, ipVersion);
    ++result_.enabledInterfaces;
  }

  void loadRule(Json const& item, Path const& where) {
    pendingWarnings_.clear();
    if (!itemObject(item, where, {"vrf", "id", "match", "actions"})) {
      return;
    }
    Json const* vrfJson = required(item, "vrf", where);
    auto const vrf = vrfJson ? vrfRef(*vrfJson, Path(where, "vrf")) : std::nullopt;
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
      error(Path(where, "match"), escaped(parseError, kMaxMessageChars));
      return;
    }
    Flowspec::Rule rule;
    rule.key = Flowspec::FlowspecTidalKey(*vrf, *key);
    rule.ruleId = *id;
    if (Json const* actions = member(item, "actions")) {
      if (!loadActions(*actions, Path(where, "actions"), key->af(), rule)) {
        return;
      }
    }
    rules_.push_back(std::move(rule));
    auto const [it, inserted] = ruleIndex_.insert(rules_.size() - 1);
    if (!inserted) {
      rules_.pop_back();
      Path const rules("rules");
      error(Path(where, "match"), "duplicate rule in VRF " + std::to_string(*vrf) + " (also " +
                                      Path(rules, ruleItem_[*it]).text() + ")");
      return;
    }
    ruleItem_.push_back(static_cast<std::uint32_t>(where.index()));
    for (auto const& [path, what] : pendingWarnings_) {
      warning(path, what);
    }
    ++result_.rules;
  }

  // Writes the loaded rules in key order: the table then appends each after one comparison.
  void writeRules() {
    struct Entry {
      std::pair<std::uint64_t, std::uint64_t> prefix;
      std::uint32_t rule;
    };
    std::vector<Entry> order;
    order.reserve(rules_.size());
    for (std::uint32_t i = 0; i < rules_.size(); ++i) {
      order.push_back({rules_[i].key.orderPrefix(), i});
    }
    std::sort(order.begin(), order.end(), [this](Entry const& a, Entry const& b) {
      return a.prefix != b.prefix ? a.prefix < b.prefix : rules_[a.rule].key < rules_[b.rule].key;
    });
    for (Entry const& entry : order) {
      records_.ruleSet->ruleIs(rules_[entry.rule]);
    }
  }

  bool loadActions(Json const& actions, Path const& where, Nwk::AddressFamily af,
                   Flowspec::Rule& rule) {
    if (!itemObject(actions, where, {"permit", "deny", "police", "dscp", "redirect"})) {
      return false;
    }
    std::uint8_t bits = 0;
    for (auto const& [name, bit] :
         {std::pair<char const*, std::uint8_t>{"permit", 0x02}, {"deny", 0x04}}) {
      if (Json const* it = member(actions, name)) {
        if (!it->IsBool()) {
          error(Path(where, name), "expected true or false");
          return false;
        }
        bits |= it->GetBool() ? bit : 0;
      }
    }
    if (Json const* police = member(actions, "police")) {
      auto const rate = policeRate(*police);
      if (!rate) {
        error(Path(where, "police"),
              "expected a rate in bytes per second, at least 0 and below 2305843009213693952");
        return false;
      }
      bits |= Flowspec::ActionFieldSet::kPolice;
      rule.trafficRateLimit = *rate;
    }
    if (Json const* dscp = member(actions, "dscp")) {
      if (!dscp->IsUint64() || dscp->GetUint64() > 63) {
        error(Path(where, "dscp"), "expected a number from 0 to 63");
        return false;
      }
      bits |= Flowspec::ActionFieldSet::kDscp;
      rule.trafficMarkingDscp = Nwk::IpTos(static_cast<std::uint8_t>(dscp->GetUint64()));
    }
    if (Json const* redirect = member(actions, "redirect")) {
      if (!loadRedirect(*redirect, Path(where, "redirect"), af, rule)) {
        return false;
      }
      bits |= Flowspec::ActionFieldSet::kRedirect;
    }
    rule.actionFieldSet = Flowspec::ActionFieldSet(bits);
    return true;
  }

  static std::optional<float> policeRate(Json const& value) {
    if (!value.IsNumber()) {
      return std::nullopt;
    }
    double const rate = value.GetDouble();
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

  bool loadRedirect(Json const& redirect, Path const& where, Nwk::AddressFamily af,
                    Flowspec::Rule& rule) {
    if (!itemObject(redirect, where, {"vrf", "nexthop"})) {
      return false;
    }
    Json const* vrfJson = required(redirect, "vrf", where);
    auto const vrf = vrfJson ? vrfRef(*vrfJson, Path(where, "vrf")) : std::nullopt;
    if (!vrf) {
      return false;
    }
    rule.trafficRedirect.vrfId = *vrf;
    if (Json const* nexthop = member(redirect, "nexthop")) {
      auto const address =
          nexthop->IsString() ? Nwk::IpGenAddr::parse(std::string(text(*nexthop))) : std::nullopt;
      if (!address || address->af() != af) {
        error(Path(where, "nexthop"), "expected an address of the rule's family");
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
  // The rules that loaded, written to the table once all are read; which item each came from,
  // for naming the first of two duplicates; and an index of them by key.
  std::vector<Flowspec::Rule> rules_;
  std::vector<std::uint32_t> ruleItem_;  // its index in "rules"
  struct RuleKeyHash {
    std::vector<Flowspec::Rule> const* rules;
    std::size_t operator()(std::uint32_t i) const { return (*rules)[i].key.hash(); }
  };
  struct RuleKeyEqual {
    std::vector<Flowspec::Rule> const* rules;
    bool operator()(std::uint32_t a, std::uint32_t b) const {
      return (*rules)[a].key == (*rules)[b].key;
    }
  };
  std::unordered_set<std::uint32_t, RuleKeyHash, RuleKeyEqual> ruleIndex_{0, RuleKeyHash{&rules_},
                                                                          RuleKeyEqual{&rules_}};
  std::set<std::string> lineCards_;
  std::map<std::string, std::string> cardOfIntf_;  // interface -> its line card
  // Warnings of the rule being loaded, reported only if it loads.
  std::vector<std::pair<std::string, std::string>> pendingWarnings_;
};

}  // namespace

ScenarioResult loadScenario(std::string const& text, MountedRecords& records) {
  ScenarioResult result;
  // Strict JSON in valid UTF-8, parsed without recursion so that no nesting depth can
  // overflow the stack; the document's values live in one pool, freed at once. Text that is
  // all ASCII is valid UTF-8: checking that first spares the parser's slower check per string.
  // The parser would take a NUL byte for the end of the text, so one is refused before.
  constexpr unsigned kFlags = rapidjson::kParseIterativeFlag | rapidjson::kParseFullPrecisionFlag;
  rapidjson::Document document;
  std::size_t failedAt = text.find('\0');
  if (failedAt == std::string::npos) {
    if (isAscii(text)) {
      document.Parse<kFlags>(text.data(), text.size());
    } else {
      document.Parse<kFlags | rapidjson::kParseValidateEncodingFlag>(text.data(), text.size());
    }
    if (document.HasParseError()) {
      failedAt = document.GetErrorOffset();
    }
  }
  if (failedAt != std::string::npos) {
    bool const outOfRange = document.GetParseError() == rapidjson::kParseErrorNumberTooBig;
    result.errors.push_back("scenario: " + jsonErrorAt(text, failedAt, outOfRange));
    TRACE(gTrace, 0, result.errors.back());
    return result;
  }
  Loader(records, result).load(document);
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
