// The flowspec feature over the programming machinery and the hardware model: rules published
// by the routing process end up in the hardware, and packets are classified by the first rule
// in precedence order that accepts them, judged from the rule's match as the flowspec RFCs
// define it.
#include <gtest/gtest.h>

#include <random>

#include "pbr/hwmodel/HardwareModel.h"
#include "tests/OrbFlowspec/support/StackHarness.h"
#include "tests/OrbFlowspec/translation/PacketEvaluators.h"

namespace {

using TranslationTest::Packet;

class FlowspecEndToEnd : public ::testing::Test {
 protected:
  FlowspecEndToEnd() {
    stack.start();
    stack.vrfIs(5, "red");
    stack.intfIs("Ethernet1", "red");
    stack.intfIs("Ethernet2", "red");
    stack.enabledIntfAllIs(true);
  }

  // The rule that should take the packet: the first in precedence order of the packet's
  // family whose match accepts it; "" for none.
  std::string expectedClass(Packet const& packet) const {
    for (auto const& [key, rule] : stack.config->vrfRuleConfig(5)->rule()) {
      if (key.af() != packet.af) {
        continue;
      }
      Flowspec::MatchSet set;
      for (auto const& [type, component] : rule->matchSet()) {
        set.emplace(type, component);
      }
      if (TranslationTest::ruleAccepts(set, packet)) {
        return key.stringValue();
      }
    }
    return {};
  }

  Packet randomPacket(std::mt19937& rng) const {
    Packet p;
    p.af = Nwk::AddressFamily::ipv4;
    p.src = Nwk::IpGenAddr::ipv4(0x0a000000u | (rng() % 4) << 16 | (rng() % 4) << 8 | rng() % 4);
    p.dst = Nwk::IpGenAddr::ipv4(0x0a000000u | (rng() % 4) << 16 | (rng() % 4) << 8 | rng() % 4);
    std::uint32_t const protocols[] = {1, 6, 17};
    p.protocol = protocols[rng() % 3];
    p.sport = 995 + rng() % 20;
    p.dport = 995 + rng() % 20;
    p.length = 50 + rng() % 200;
    p.dscp = 8 + rng() % 6;
    p.tcpFlags = rng() % 0x40;
    return p;
  }

  static Pbr::Packet toHardware(Packet const& p) {
    Pbr::Packet out;
    out.af = p.af;
    out.src = p.src;
    out.dst = p.dst;
    out.protocol = static_cast<std::uint8_t>(p.protocol);
    out.sport = static_cast<std::uint16_t>(p.sport);
    out.dport = static_cast<std::uint16_t>(p.dport);
    out.length = static_cast<std::uint16_t>(p.length);
    out.trafficClass = static_cast<std::uint8_t>(p.dscp << 2);
    out.tcpFlags = static_cast<std::uint16_t>(p.tcpFlags);
    return out;
  }

  void checkPackets(unsigned seed) {
    std::mt19937 rng(seed);
    int matched = 0;
    for (int i = 0; i < 3000; ++i) {
      Packet const packet = randomPacket(rng);
      std::string const expected = expectedClass(packet);
      auto const got = stack.hardware->classify(Nwk::IntfId(i % 2 ? "Ethernet1" : "Ethernet2"),
                                                toHardware(packet));
      ASSERT_EQ(got.className, expected) << "packet " << i;
      matched += !expected.empty();
    }
    EXPECT_GT(matched, 300);
  }

  OrbFlowspecTest::StackHarness stack;
};

TEST_F(FlowspecEndToEnd, RulesReachTheHardwareAndClassifyInPrecedenceOrder) {
  char const* const rules[] = {
      "ipv4 dst 10.1.0.0/16 proto =6 dport >=1000&<=1010",
      "ipv4 dst 10.1.2.0/24",
      "ipv4 dst 10.0.0.0/8 proto =17 sport =1000|=1005",
      "ipv4 src 10.2.0.0/16 len >=100&<=200",
      "ipv4 dscp =10|=12",
      "ipv4 proto =6 tcp-flags =syn&!ack",
      "ipv6 dst 2001:db8::/32 proto =17 dport =443",
  };
  std::uint64_t id = 1;
  for (auto const* rule : rules) {
    stack.ruleIs(5, rule, id++);
  }
  stack.settle();
  auto const status = stack.root->pbrStatus()->pmapStatus("red");
  ASSERT_TRUE(status);
  EXPECT_EQ(status->cmap().size(), std::size(rules));
  for (auto const& [name, cmap] : status->cmap()) {
    EXPECT_EQ(cmap->classState(), PolicyMap::ClassState::classStateInstalled) << name;
  }
  for (auto const* intf : {"Ethernet1", "Ethernet2"}) {
    auto const intfStatus = status->intfStatus(Nwk::IntfId(intf));
    ASSERT_TRUE(intfStatus);
    EXPECT_EQ(intfStatus->installed(PolicyMap::ClassMapMatchOption::matchIpAccessGroup).state,
              PolicyMap::InstalledState::installed);
  }
  checkPackets(1);

  // Withdrawing rules hands their packets to the rules after them.
  stack.ruleDel(5, "ipv4 dst 10.1.0.0/16 proto =6 dport >=1000&<=1010");
  stack.ruleDel(5, "ipv4 dscp =10|=12");
  stack.settle();
  EXPECT_EQ(status->cmap().size(), std::size(rules) - 2);
  checkPackets(2);
}

}  // namespace
