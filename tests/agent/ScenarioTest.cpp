// Scenario files are untrusted input: every wrong item is refused whole with an error that says
// where and what, nothing is dropped silently, and everything else still loads.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cmath>
#include <fstream>
#include <string>
#include <vector>

#include "agent/Scenario.h"

namespace {

using Strings = std::vector<std::string>;

Flowspec::Rule ruleOf(Agent::MountedRecords const& records, Vrf::VrfIdMap::VrfId vrf,
                      std::string const& match) {
  Flowspec::FlowspecKey key;
  key.copyInStringValue(match);
  return records.ruleSet->rule(Flowspec::FlowspecTidalKey(vrf, key));
}

TEST(AgentScenario, LoadsEveryKindOfItem) {
  Agent::MountedRecords records;
  auto const result = Agent::loadScenario(R"({
    "vrfs": [{"id": 1, "name": "default"}, {"id": 2, "name": "red"}],
    "interfaces": [{"name": "Ethernet1", "vrf": "red"}],
    "flowspec": {"interfaces": [{"name": "Ethernet1", "ipVersion": "ipv4"}, {"name": "Vlan10"}],
                 "allInterfaces": true},
    "rules": [{"vrf": "red", "id": 7, "match": "ipv4 dport =80",
               "actions": {"police": 1000.0, "dscp": 63,
                           "redirect": {"vrf": 1, "nexthop": "10.0.0.1"}}}]
  })",
                                          records);
  EXPECT_EQ(result.errors, Strings{});
  EXPECT_EQ(result.warnings, Strings{});
  EXPECT_EQ(result.vrfs, 2u);
  EXPECT_EQ(result.enabledInterfaces, 2u);
  EXPECT_EQ(records.vrfIdStatus->vrfName(2), "red");
  EXPECT_EQ(records.l3StatusDir->intfStatus(Nwk::IntfId("Ethernet1"))->vrf(), "red");
  EXPECT_EQ(records.cliConfig->enabledIntf(Nwk::IntfId("Ethernet1")), Flowspec::IpVersion::ipv4);
  EXPECT_EQ(records.cliConfig->enabledIntf(Nwk::IntfId("Vlan10")),
            Flowspec::IpVersion::ipv4AndIpv6);
  EXPECT_TRUE(records.config->enabledIntfAll());
  auto const rule = ruleOf(records, 2, "ipv4 dport =80");
  EXPECT_EQ(rule.ruleId, 7u);
  EXPECT_EQ(rule.actionFieldSet.bits(), Flowspec::ActionFieldSet::kPolice |
                                            Flowspec::ActionFieldSet::kDscp |
                                            Flowspec::ActionFieldSet::kRedirect);
  EXPECT_EQ(rule.trafficRedirect.vrfId, 1u);
  EXPECT_EQ(rule.trafficRedirect.address, *Nwk::IpGenAddr::parse("10.0.0.1"));
  EXPECT_EQ(rule.trafficRateLimit, 1000.0f);
  EXPECT_EQ(rule.trafficMarkingDscp.value(), 63);
}

// Each case: scenario items after the declared VRFs 1 "red" and 2 "blue", the exact errors
// and warnings, and how many items of each kind were installed.
struct ItemCase {
  char const* name;
  std::string items;
  Strings errors;
  Strings warnings = {};
  std::size_t interfaces = 0;
  std::size_t enabled = 0;
  std::size_t rules = 0;
};

// Cases print as their name (test listings would otherwise show the case's bytes).
void PrintTo(ItemCase const& c, std::ostream* os) { *os << c.name; }

std::string const kRule = R"("vrf": "red", "id": 1, "match": "ipv4 dport =80")";

std::vector<ItemCase> const kItemCases = {
    {"UnknownKeyOfEachKind",
     R"("interfaces": [{"name": "Ethernet1", "vrf": "red", "mtu": 9000}],
        "flowspec": {"interfaces": [{"name": "Ethernet1", "ipv": "ipv4"}], "all": true},
        "rules": [{)" +
         kRule + R"(, "prio": 1},
                  {)" +
         kRule + R"(, "actions": {"drop": true}},
                  {)" +
         kRule + R"(, "actions": {"redirect": {"vrf": 1, "rt": "1:1"}}}],
        "extra": 1)",
     {"scenario: unknown key \"extra\"", "interfaces[0]: unknown key \"mtu\"",
      "flowspec: unknown key \"all\"", "flowspec.interfaces[0]: unknown key \"ipv\"",
      "rules[0]: unknown key \"prio\"", "rules[1].actions: unknown key \"drop\"",
      "rules[2].actions.redirect: unknown key \"rt\""}},
    {"KeyTwiceInAnObject",
     R"("rules": [{)" + kRule + R"(, "vrf": "blue"}, {)" + kRule +
         R"(, "actions": {"deny": true, "deny": false}}])",
     {"rules[0]: duplicate key \"vrf\"", "rules[1].actions: duplicate key \"deny\""}},
    {"WrongTypesNeverThrow",
     R"("interfaces": [{"name": 5, "vrf": "red"}, {"name": "Ethernet1", "vrf": ["red"]}],
        "flowspec": {"interfaces": [{"name": "Ethernet1", "ipVersion": 4}], "allInterfaces": 1},
        "rules": [{"vrf": 1.5, "id": 1, "match": "ipv4"}, {"vrf": 1, "id": "1", "match": "ipv4"},
                  {"vrf": 1, "id": 1, "match": null}, {)" +
         kRule + R"(, "actions": []},
                  {)" +
         kRule + R"(, "actions": {"deny": "yes"}},
                  {)" +
         kRule + R"(, "actions": {"redirect": "blue"}}])",
     {"interfaces[0].name: expected a string", "interfaces[1].vrf: expected a string",
      "flowspec.allInterfaces: expected true or false",
      "flowspec.interfaces[0].ipVersion: expected \"ipv4\", \"ipv6\" or \"both\"",
      "rules[0].vrf: expected a VRF id below 16777215 or a declared VRF name",
      "rules[1].id: expected a number from 0 to 18446744073709551615",
      "rules[2].match: expected a string", "rules[3].actions: expected an object",
      "rules[4].actions.deny: expected true or false",
      "rules[5].actions.redirect: expected an object"}},
    {"MissingFields",
     R"("interfaces": [{"vrf": "red"}], "rules": [{"id": 1, "match": "ipv4"},
        {)" +
         kRule + R"(, "actions": {"redirect": {"nexthop": "10.0.0.1"}}}])",
     {"interfaces[0]: missing \"name\"", "rules[0]: missing \"vrf\"",
      "rules[1].actions.redirect: missing \"vrf\""}},
    {"DscpOutsideItsSixBits",
     R"("rules": [{)" + kRule + R"(, "actions": {"deny": true, "dscp": 64}},
                  {)" +
         kRule + R"(, "actions": {"dscp": -1}}])",
     {"rules[0].actions.dscp: expected a number from 0 to 63",
      "rules[1].actions.dscp: expected a number from 0 to 63"}},
    {"RedirectOfAnotherFamilyOrUnknownName",
     R"("rules": [{"vrf": 1, "id": 1, "match": "ipv6 dport =80",
                   "actions": {"redirect": {"vrf": 2, "nexthop": "10.0.0.1"}}},
                  {)" +
         kRule + R"(, "actions": {"redirect": {"vrf": "green"}}}])",
     {"rules[0].actions.redirect.nexthop: expected an address of the rule's family",
      "rules[1].actions.redirect.vrf: unknown VRF \"green\""}},
    {"DuplicatesAfterTheFirst",
     R"("interfaces": [{"name": "Ethernet1", "vrf": "red"}, {"name": "Ethernet1", "vrf": "blue"}],
        "flowspec": {"interfaces": [{"name": "Vlan10"}, {"name": "Vlan10", "ipVersion": "ipv6"}]},
        "rules": [{)" +
         kRule + R"(}, {"vrf": 1, "id": 2, "match": "ipv4  dport =80"},
                  {"vrf": 2, "id": 3, "match": "ipv4 dport =80"}])",
     {"interfaces[1].name: duplicate interface \"Ethernet1\" (also interfaces[0])",
      "flowspec.interfaces[1].name: duplicate interface \"Vlan10\" (also "
      "flowspec.interfaces[0])",
      "rules[1].match: duplicate rule in VRF 1 (also rules[0])"},
     {},
     1,
     1,
     2},
    {"RefusedRuleFreesItsKey",
     R"("rules": [{)" + kRule + R"(, "actions": {"dscp": 99}}, {)" + kRule + R"(}])",
     {"rules[0].actions.dscp: expected a number from 0 to 63"},
     {},
     0,
     0,
     1},
    {"UndeclaredVrfIdsAreWarnings",
     R"("rules": [{"vrf": 9, "id": 1, "match": "ipv4 dport =80"},
                  {)" +
         kRule + R"(, "actions": {"redirect": {"vrf": 16777214}}},
                  {"vrf": 8, "id": 1, "match": "ipv4 dport =80", "actions": {"dscp": 64}}])",
     {"rules[2].actions.dscp: expected a number from 0 to 63"},
     {"rules[0].vrf: VRF id 9 is not declared in \"vrfs\"",
      "rules[1].actions.redirect.vrf: VRF id 16777214 is not declared in \"vrfs\""},
     0,
     0,
     2},
    {"HostileNamesQuotedEscapedAndCut",
     R"("interfaces": [{"name": "Eth\u0000ernet1", "vrf": "red"},
                       {"name": "Ethernet2", "vrf": "red\nblue"},
                       {"name": ")" +
         std::string(100, 'E') + R"(\"", "vrf": "red"}],
        "rules": [{"vrf": "\u00e9)" +
         std::string(90, 'x') + R"(", "id": 1, "match": "ipv4"},
                  {"vrf": 1, "id": 1, "match": "ipv4 bogus\u0007 =1"}])",
     {"interfaces[0].name: invalid interface name \"Eth\\x00ernet1\"",
      "interfaces[1].vrf: a VRF name has 1 to 100 characters, none a control character: "
      "\"red\\nblue\"",
      "interfaces[2].name: invalid interface name \"" + std::string(80, 'E') + "\"...",
      "rules[0].vrf: unknown VRF \"\u00e9" + std::string(79, 'x') + "\"...",
      "rules[1].match: position 5: unknown component 'bogus\\x07'"}},
};

class AgentScenarioItems : public testing::TestWithParam<ItemCase> {};

TEST_P(AgentScenarioItems, RefusedWholeWithPathAndReason) {
  ItemCase const& c = GetParam();
  Agent::MountedRecords records;
  auto const result = Agent::loadScenario(
      R"({"vrfs": [{"id": 1, "name": "red"}, {"id": 2, "name": "blue"}], )" + c.items + "}",
      records);
  EXPECT_EQ(result.errors, c.errors);
  EXPECT_EQ(result.warnings, c.warnings);
  EXPECT_EQ(result.interfaces, c.interfaces);
  EXPECT_EQ(result.enabledInterfaces, c.enabled);
  EXPECT_EQ(result.rules, c.rules);
  // What was counted is what the records hold: a refused item left nothing behind.
  EXPECT_EQ(records.ruleSet->size(), c.rules);
  EXPECT_EQ(records.cliConfig->enabledIntf().size(), c.enabled);
  EXPECT_FALSE(records.config->enabledIntfAll());
}

INSTANTIATE_TEST_SUITE_P(Cases, AgentScenarioItems, testing::ValuesIn(kItemCases),
                         [](auto const& param) { return std::string(param.param.name); });

TEST(AgentScenario, HardwareItemsLoadOrAreRefusedWithPathAndReason) {
  Agent::MountedRecords records;
  auto const result = Agent::loadScenario(R"({
    "lineCards": [
      {"name": "lc1", "ipv4Entries": 8, "ipv6Entries": 8, "rangeCheckers": 2,
       "interfaces": ["Ethernet1"], "unsupported": {"ipv4": ["ip-length"], "ipv6": ["dst-ip"]}},
      {"name": "lc1", "ipv4Entries": 1, "ipv6Entries": 1, "rangeCheckers": 1},
      {"name": "lc2", "ipv4Entries": 1, "ipv6Entries": 1, "rangeCheckers": 1,
       "interfaces": ["Ethernet1"]},
      {"name": "lc3", "ipv4Entries": 1, "ipv6Entries": 1, "rangeCheckers": 1,
       "unsupported": {"ipv4": ["ipv6-next-header"]}}],
    "packets": [
      {"at": 0.5, "interface": "Ethernet1", "count": 3,
       "fields": {"family": "ipv4", "src": "192.0.2.1", "dst": "10.0.0.1", "dport": 80,
                  "dscp": 46, "fragment": true}},
      {"at": -1, "interface": "Ethernet1", "count": 1,
       "fields": {"family": "ipv4", "src": "192.0.2.1", "dst": "10.0.0.1"}},
      {"at": 1, "interface": "Ethernet1", "count": 1,
       "fields": {"family": "ipv6", "src": "192.0.2.1", "dst": "10.0.0.1"}},
      {"at": 1, "interface": "Ethernet1", "count": 1,
       "fields": {"family": "ipv4", "src": "192.0.2.1", "dst": "10.0.0.1", "dport": 70000}}],
    "counterRequests": [1.5, "soon"]
  })",
                                          records);
  Strings const expected = {
      "lineCards[1].name: duplicate line card \"lc1\"",
      "lineCards[2].interfaces[0]: interface \"Ethernet1\" is on a line card already",
      "lineCards[3].unsupported.ipv4: unknown qualifier \"ipv6-next-header\"",
      "packets[1].at: expected seconds from 0 to 86400",
      "packets[2].fields.src: expected an address of the packet's family",
      "packets[3].fields.dport: expected a number from 0 to 65535",
      "counterRequests[1]: expected seconds from 0 to 86400",
  };
  EXPECT_EQ(result.errors, expected);
  ASSERT_EQ(result.hardware.lineCards.size(), 1u);
  auto const& card = result.hardware.lineCards[0];
  EXPECT_EQ(card.interfaces, Strings{"Ethernet1"});
  EXPECT_EQ(card.unsupportedIpv4, Pbr::qualIpLength);
  EXPECT_EQ(card.unsupportedIpv6, Pbr::qualDstIp);
  ASSERT_EQ(result.hardware.streams.size(), 1u);
  auto const& stream = result.hardware.streams[0];
  EXPECT_EQ(stream.count, 3u);
  EXPECT_EQ(stream.packet.dport, 80);
  EXPECT_EQ(stream.packet.trafficClass, 46 << 2);
  EXPECT_TRUE(stream.packet.fragment);
  EXPECT_EQ(result.hardware.counterRequests, std::vector<double>{1.5});
}

TEST(AgentScenario, VrfsRefusedWithPathAndReason) {
  Agent::MountedRecords records;
  auto const result =
      Agent::loadScenario(R"({"vrfs": [
    {"id": 16777215, "name": "x"}, {"id": 3, "name": ""}, {"id": 4, "name": "ok"},
    {"id": 4, "name": "again"}, {"id": 5, "name": "ok"}, {"id": 6, "name": "tab\there"},
    {"id": 7, "name": ")" + std::string(101, 'n') +
                              R"("}, {"id": 8}, 3, {"id": 9, "name": "b", "x": 0}]})",
                          records);
  Strings const expected = {
      "vrfs[0].id: expected a number from 0 to 16777214",
      "vrfs[1].name: a VRF name has 1 to 100 characters, none a control character: \"\"",
      "vrfs[3].id: duplicate VRF id 4 (also vrfs[2])",
      "vrfs[4].name: duplicate VRF name \"ok\" (also vrfs[2])",
      "vrfs[5].name: a VRF name has 1 to 100 characters, none a control character: "
      "\"tab\\there\"",
      "vrfs[6].name: a VRF name has 1 to 100 characters, none a control character: \"" +
          std::string(80, 'n') + "\"...",
      "vrfs[7]: missing \"name\"",
      "vrfs[8]: expected an object",
      "vrfs[9]: unknown key \"x\""};
  EXPECT_EQ(result.errors, expected);
  EXPECT_EQ(result.vrfs, 1u);
  EXPECT_EQ(records.vrfIdStatus->vrfName(4), "ok");
  EXPECT_EQ(records.vrfIdStatus->size(), 1u);
}

// A rate is held as a float of bytes per second and programmed as 64-bit bits per second.
TEST(AgentScenario, PoliceRateMustFitBitsPerSecond) {
  struct RateCase {
    char const* json;
    std::optional<float> held;
  };
  std::vector<RateCase> const cases = {
      {"0", 0.0f},
      {"-0.0", 0.0f},
      {"1000.5", 1000.5f},
      {"18446744073709551615", std::nullopt},
      {"2305843009213693952", std::nullopt},            // 2^61: bits per second would be 2^64
      {"2305843009213693951", std::nullopt},            // rounds to 2^61
      {"2305842871774740480", 2305842871774740480.0f},  // the largest float below 2^61
      {"-1", std::nullopt},
      {"-1e-30", std::nullopt},
      {"1e308", std::nullopt},
      {"\"100\"", std::nullopt},
      {"true", std::nullopt},
  };
  for (auto const& c : cases) {
    SCOPED_TRACE(c.json);
    Agent::MountedRecords records;
    auto const result = Agent::loadScenario(
        std::string(R"({"rules": [{"vrf": 1, "id": 1, "match": "ipv4", "actions": {"police": )") +
            c.json + "}}]}",
        records);
    if (c.held) {
      EXPECT_EQ(result.errors, Strings{});
      auto const rule = ruleOf(records, 1, "ipv4");
      EXPECT_TRUE(rule.actionFieldSet.police());
      EXPECT_EQ(rule.trafficRateLimit, *c.held);
      EXPECT_FALSE(std::signbit(rule.trafficRateLimit));
    } else {
      EXPECT_EQ(result.errors,
                Strings{"rules[0].actions.police: expected a rate in bytes per second, at least 0 "
                        "and below 2305843009213693952"});
      EXPECT_EQ(records.ruleSet->size(), 0u);
    }
  }
}

TEST(AgentScenario, TextThatIsNotAScenarioIsRefusedWhole) {
  std::vector<std::pair<std::string, std::string>> const cases = {
      {"", "scenario: JSON syntax error at line 1, column 1"},
      {"{\n  \"vrfs\": [1,\n    2 x]}", "scenario: JSON syntax error at line 3, column 7"},
      {"{\"vrfs\": []}\n\n  }", "scenario: JSON syntax error at line 3, column 3"},
      {"{\"a\": \"\xff\"}", "scenario: JSON syntax error at line 1, column 8"},
      {std::string("{}\0{}", 5), "scenario: JSON syntax error at line 1, column 3"},
      {"{\"rules\": [\n{\"vrf\": 1e400}]}",
       "scenario: JSON number out of range at line 2, column 9"},
      {"null", "scenario: expected an object"},
      {"{\"rules\": 5}", "rules: expected an array"},
      {"{\"flowspec\": []}", "flowspec: expected an object"},
      {"{\"flowspec\": {\"interfaces\": {}}}", "flowspec.interfaces: expected an array"},
  };
  for (auto const& [text, error] : cases) {
    Agent::MountedRecords records;
    EXPECT_EQ(Agent::loadScenario(text, records).errors, Strings{error}) << text;
  }
}

// Only a regular file of at most 256 MiB is read; the type and size are checked before any
// byte is read, so a FIFO with no writer does not block the agent.
TEST(AgentScenario, FilesThatAreNotScenariosAreRefusedUnread) {
  std::string const dir = testing::TempDir() + "agent_scenario_files";
  mkdir(dir.c_str(), 0700);
  std::string const fifo = dir + "/fifo";
  unlink(fifo.c_str());
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  std::string const huge = dir + "/huge.json";
  std::ofstream(huge).close();
  ASSERT_EQ(truncate(huge.c_str(), static_cast<off_t>(Agent::kMaxScenarioBytes) + 1), 0);
  std::string const good = dir + "/good.json";
  std::ofstream(good) << R"({"vrfs": [{"id": 1, "name": "red"}]})";

  std::vector<std::pair<std::string, std::string>> const cases = {
      {fifo, fifo + ": not a regular file"},
      {dir, dir + ": not a regular file"},
      {huge, huge + ": larger than 268435456 bytes"},
      {dir + "/absent", dir + "/absent: cannot be read: No such file or directory"},
  };
  for (auto const& [path, error] : cases) {
    Agent::MountedRecords records;
    EXPECT_EQ(Agent::loadScenarioFile(path, records).errors, Strings{error});
  }
  Agent::MountedRecords records;
  auto const loaded = Agent::loadScenarioFile(good, records);
  EXPECT_EQ(loaded.errors, Strings{});
  EXPECT_EQ(loaded.vrfs, 1u);
  unlink(fifo.c_str());
  unlink(huge.c_str());
  unlink(good.c_str());
}

}  // namespace
