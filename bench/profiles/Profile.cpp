#include "bench/profiles/Profile.h"

#include <array>
#include <cstdio>
#include <random>
#include <unordered_set>

namespace Bench {

namespace {

// Draws from the engine's raw output only: its sequence is fixed by the standard, whereas the
// standard distributions differ between library versions.
class Draw {
 public:
  explicit Draw(std::uint64_t seed) : engine_(seed) {}

  std::uint32_t below(std::uint32_t bound) { return static_cast<std::uint32_t>(engine_() % bound); }
  std::uint32_t between(std::uint32_t low, std::uint32_t high) {
    return low + below(high - low + 1);
  }
  bool percent(std::uint32_t chance) { return below(100) < chance; }
  template <class T, std::size_t N>
  T const& pick(std::array<T, N> const& items) {
    return items[below(N)];
  }

 private:
  std::mt19937_64 engine_;
};

std::string n(std::uint64_t value) { return std::to_string(value); }

std::string ipv4Prefix(Draw& draw, std::uint32_t minLength, std::uint32_t maxLength) {
  std::uint32_t const length = draw.between(minLength, maxLength);
  std::uint32_t address = static_cast<std::uint32_t>(draw.below(0xffffffffu));
  address = length == 0 ? 0 : address & ~((std::uint64_t{1} << (32 - length)) - 1);
  return n(address >> 24) + "." + n((address >> 16) & 255) + "." + n((address >> 8) & 255) + "." +
         n(address & 255) + "/" + n(length);
}

std::string ipv6Prefix(Draw& draw, std::uint32_t minLength, std::uint32_t maxLength) {
  // Under 2001:db8::/32, at most /64: the generator only varies the third and fourth groups.
  std::uint32_t const length = draw.between(minLength, maxLength);
  std::uint32_t bits = draw.below(0xffffffffu);
  bits = length <= 32 ? 0 : bits & ~((std::uint64_t{1} << (64 - length)) - 1);
  char text[48];
  std::snprintf(text, sizeof text, "2001:db8:%x:%x::/%u", bits >> 16, bits & 0xffff, length);
  return text;
}

// A port match as rule sets write them: one port, a well-known port, or one of the few ranges
// rule sets share (ephemeral ports, service blocks), which is what lets a line card's handful of
// range checkers hold them.
std::string portMatch(Draw& draw, char const* name) {
  static constexpr std::array<std::uint32_t, 10> kWellKnown = {22,  25,  53,   80,   123,
                                                               443, 445, 3389, 8080, 11211};
  static constexpr std::array<char const*, 8> kRanges = {
      ">=1024",        ">=49152",         ">=1&<=1023",  ">=6000&<=6063",
      ">=8000&<=8080", ">=33434&<=33534", ">=137&<=139", ">=27000&<=27015"};
  std::string out = std::string(" ") + name + " ";
  switch (draw.below(4)) {
    case 0:
      return out + "=" + n(draw.pick(kWellKnown));
    case 1:
      return out + "=" + n(draw.between(1, 65535));
    default:
      return out + draw.pick(kRanges);
  }
}

// A packet-length match: the buckets mitigation rules use.
std::string lengthMatch(Draw& draw) {
  static constexpr std::array<char const*, 8> kLengths = {">=1200&<=1500", ">=512",  "<=64",
                                                          ">=64&<=128",    ">=1400", ">=100&<=200",
                                                          ">=256&<=511",   ">=1000"};
  return std::string(" len ") + draw.pick(kLengths);
}

struct Item {
  std::string family;  // "ipv4" or "ipv6"
  std::string match;   // components after the family
  std::string actions;
};

std::string police(Draw& draw) { return R"("police": )" + n(draw.between(1, 10000) * 1000) + ".0"; }

Item classbench(Draw& draw) {
  Item item{"ipv4", " dst " + ipv4Prefix(draw, 16, 32), ""};
  if (draw.percent(70)) {
    item.match += " src " + ipv4Prefix(draw, 8, 32);
  }
  if (draw.percent(90)) {
    item.match += draw.percent(70) ? " proto =6" : " proto =17";
    if (draw.percent(30)) {
      item.match += portMatch(draw, "dport");
    }
    if (draw.percent(60)) {
      item.match += portMatch(draw, "sport");
    }
  }
  item.actions = draw.percent(60) ? R"("permit": true)" : R"("deny": true)";
  return item;
}

Item ddos(Draw& draw) {
  static constexpr std::array<std::uint32_t, 5> kAmplifiers = {19, 53, 123, 389, 11211};
  Item item{"ipv4", " dst " + ipv4Prefix(draw, 24, 32), ""};
  std::uint32_t const kind = draw.below(4);
  if (kind == 0) {
    item.match += " proto =17 sport =" + n(draw.pick(kAmplifiers));
  } else if (kind == 1) {
    item.match += " proto =6 tcp-flags =syn&!ack";
  } else {
    item.match += kind == 2 ? " proto =17" : " proto =1";
  }
  if (draw.percent(50)) {
    item.match += lengthMatch(draw);
  }
  if (draw.percent(10)) {
    item.match += " frag isf";
  }
  item.actions = draw.percent(50) ? police(draw) : R"("deny": true)";
  return item;
}

Item mixed(Draw& draw) {
  bool const v6 = draw.percent(40);
  Item item{v6 ? "ipv6" : "ipv4", "", ""};
  item.match = " dst " + (v6 ? ipv6Prefix(draw, 32, 64) : ipv4Prefix(draw, 16, 32));
  if (draw.percent(30)) {
    item.match += " src " + (v6 ? ipv6Prefix(draw, 32, 48) : ipv4Prefix(draw, 8, 24));
  }
  switch (draw.below(5)) {
    case 0:
      item.match += " proto =6" + portMatch(draw, "dport") + " tcp-flags =syn";
      break;
    case 1:
      item.match += " proto =17" + portMatch(draw, "port");
      break;
    case 2:
      item.match += v6 ? " proto =58 icmp-type =128" : " proto =1 icmp-type =8";
      break;
    case 3:
      item.match += " dscp =" + n(draw.below(64));
      break;
    default:
      item.match += lengthMatch(draw);
      break;
  }
  switch (draw.below(5)) {
    case 0:
      item.actions = R"("permit": true)";
      break;
    case 1:
      item.actions = R"("deny": true)";
      break;
    case 2:
      item.actions = police(draw);
      break;
    case 3:
      item.actions = R"("dscp": )" + n(draw.below(64));
      break;
    default:
      item.actions = R"("redirect": {"vrf": )" + n(draw.between(1, kProfileVrfs)) + "}";
      break;
  }
  return item;
}

}  // namespace

std::optional<Profile> profileNamed(std::string_view name) {
  for (Profile profile : {Profile::classbench, Profile::ddos, Profile::mixed}) {
    if (name == profileName(profile)) {
      return profile;
    }
  }
  return std::nullopt;
}

char const* profileName(Profile profile) {
  switch (profile) {
    case Profile::classbench:
      return "classbench";
    case Profile::ddos:
      return "ddos";
    case Profile::mixed:
      return "mixed";
  }
  return "?";
}

std::string profileScenario(Profile profile, std::size_t rules, std::uint64_t seed) {
  Draw draw(seed);
  std::string out = "{\n\"vrfs\": [";
  std::string interfaces;
  std::string enabled;
  std::string cardInterfaces;
  for (int vrf = 1; vrf <= kProfileVrfs; ++vrf) {
    std::string const sep = vrf == 1 ? "" : ", ";
    std::string const intf = "\"Ethernet" + n(vrf) + "\"";
    out += sep + R"({"id": )" + n(vrf) + R"(, "name": "vrf)" + n(vrf) + "\"}";
    interfaces += sep + R"({"name": )" + intf + R"(, "vrf": "vrf)" + n(vrf) + "\"}";
    enabled += sep + R"({"name": )" + intf + R"(, "ipVersion": "both"})";
    cardInterfaces += sep + intf;
  }
  out += "],\n\"interfaces\": [" + interfaces + "],\n\"flowspec\": {\"interfaces\": [" + enabled +
         "]},\n\"lineCards\": [{\"name\": \"lc1\", \"ipv4Entries\": 10000000, \"ipv6Entries\": "
         "10000000, \"rangeCheckers\": 1024, \"interfaces\": [" +
         cardInterfaces + "]}],\n\"rules\": [\n";
  // A match drawn twice for one VRF would be one rule: it is drawn again.
  std::unordered_set<std::string> seen;
  for (std::size_t i = 0; i < rules; ++i) {
    std::string const vrf = n(1 + i % kProfileVrfs);
    Item item;
    do {
      item = profile == Profile::classbench ? classbench(draw)
             : profile == Profile::ddos     ? ddos(draw)
                                            : mixed(draw);
    } while (!seen.insert(vrf + " " + item.family + item.match).second);
    out += R"({"vrf": )" + vrf + R"(, "id": )" + n(i + 1) + R"(, "match": ")" + item.family +
           item.match + R"(", "actions": {)" + item.actions + "}}" +
           (i + 1 == rules ? "\n" : ",\n");
  }
  out += "]\n}\n";
  return out;
}

}  // namespace Bench
