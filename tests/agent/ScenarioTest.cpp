// Scenario files are untrusted input: every wrong item is refused with an error that says where
// and what, and everything else still loads.
#include <gtest/gtest.h>

#include "agent/Scenario.h"

namespace {

TEST(AgentScenario, LoadsEveryKindOfItem) {
  Agent::MountedRecords records;
  auto const result = Agent::loadScenario(R"({
    "vrfs": [{"id": 1, "name": "default"}, {"id": 2, "name": "red"}],
    "interfaces": [{"name": "Ethernet1", "vrf": "red"}],
    "flowspec": {"interfaces": [{"name": "Ethernet1", "ipVersion": "ipv4"}],
                 "allInterfaces": true},
    "rules": [{"vrf": "red", "id": 7, "match": "ipv4 dport =80",
               "actions": {"police": 1000.0, "redirect": {"vrf": 1, "nexthop": "10.0.0.1"}}}]
  })", records);
  EXPECT_TRUE(result.errors.empty());
  EXPECT_EQ(result.vrfs, 2u);
  EXPECT_EQ(result.rules, 1u);
  EXPECT_EQ(records.vrfIdStatus->vrfName(2), "red");
  EXPECT_EQ(records.l3StatusDir->intfStatus(Nwk::IntfId("Ethernet1"))->vrf(), "red");
  EXPECT_EQ(records.cliConfig->enabledIntf(Nwk::IntfId("Ethernet1")), Flowspec::IpVersion::ipv4);
  EXPECT_TRUE(records.config->enabledIntfAll());
  Flowspec::FlowspecKey key;
  key.copyInStringValue("ipv4 dport =80");
  auto const rule = records.ruleSet->rule(Flowspec::FlowspecTidalKey(2, key));
  EXPECT_EQ(rule.ruleId, 7u);
  EXPECT_TRUE(rule.actionFieldSet.police());
  EXPECT_TRUE(rule.actionFieldSet.redirect());
  EXPECT_EQ(rule.trafficRedirect.vrfId, 1u);
  EXPECT_EQ(rule.trafficRateLimit, 1000.0f);
}

TEST(AgentScenario, WrongItemsAreSkippedWithWhereAndWhat) {
  Agent::MountedRecords records;
  auto const result = Agent::loadScenario(R"({
    "vrfs": [{"id": 16777215, "name": "x"}, {"id": 3, "name": ""}, {"id": 4, "name": "ok"}],
    "interfaces": [{"name": "Eth\u0000ernet", "vrf": "ok"}, {"name": 5}],
    "rules": [{"vrf": "nowhere", "id": 1, "match": "ipv4 dport =80"},
              {"vrf": 4, "id": 2, "match": "ipv4 dport >>80"},
              {"vrf": 4, "id": -3, "match": "ipv4 dport =80"},
              {"vrf": 4, "id": 4, "match": "ipv4 dport =80", "actions": {"dscp": 300}},
              {"vrf": 4, "id": 5, "match": "ipv6 dport =80",
               "actions": {"redirect": {"vrf": 4, "nexthop": "10.0.0.1"}}},
              {"vrf": 4, "id": 6, "match": "ipv4 dport =81"}]
  })", records);
  EXPECT_EQ(result.vrfs, 1u);
  EXPECT_EQ(result.interfaces, 0u);
  EXPECT_EQ(result.rules, 1u);
  ASSERT_EQ(result.errors.size(), 9u);
  EXPECT_EQ(result.errors[0], "vrfs[0]: expected \"id\" as a number from 0 to 16777214");
  EXPECT_EQ(result.errors[1], "vrfs[1]: a VRF name has 1 to 100 characters");
  EXPECT_EQ(result.errors[2], "interfaces[0]: invalid interface name");
  EXPECT_EQ(result.errors[3], "interfaces[1]: expected a string \"name\"");
  EXPECT_EQ(result.errors[4], "rules[0].vrf: unknown VRF \"nowhere\"");
  EXPECT_EQ(result.errors[5].rfind("rules[1].match: position ", 0), 0u) << result.errors[5];
  EXPECT_EQ(result.errors[6], "rules[2]: expected \"id\" as a number from 0 to 18446744073709551615");
  EXPECT_EQ(result.errors[7], "rules[3].actions.dscp: expected a number from 0 to 255");
  EXPECT_EQ(result.errors[8],
            "rules[4].actions.redirect.nexthop: expected an address of the rule's family");
}

TEST(AgentScenario, HostileTextIsRefusedWhole) {
  Agent::MountedRecords records;
  for (char const* text : {"", "[1,2", "\xff\xfe{}", "null", "{\"rules\": 5}"}) {
    auto const result = Agent::loadScenario(text, records);
    EXPECT_FALSE(result.errors.empty()) << text;
    EXPECT_EQ(result.rules, 0u);
  }
}

}  // namespace
