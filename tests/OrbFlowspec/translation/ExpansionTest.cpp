// The expansions on their own, and the class-map building paths.
#include <gtest/gtest.h>

#include "OrbFlowspec/translation/BitMaskExpansion.h"
#include "OrbFlowspec/translation/ClassMapMatchBuilder.h"
#include "OrbFlowspec/translation/FlowspecTestTypes.h"
#include "OrbFlowspec/translation/NumericalRangeExpansion.h"
#include "platform/cog/Assert.h"
#include "platform/trace/CaptureSink.h"

namespace {

using Flowspec::MatchCompType;
using Flowspec::NumericalRange;

Flowspec::MatchComponent ranges(MatchCompType type,
                                std::initializer_list<std::pair<std::uint32_t, std::uint32_t>> rs) {
  Flowspec::MatchComponent c(type);
  for (auto const& [lo, hi] : rs) {
    c.numericalRangeIs(NumericalRange(lo, hi));
  }
  return c;
}

template <class Filter>
std::vector<std::string> expand(Flowspec::MatchComponent const& c, Filter filter = Filter()) {
  std::queue<Filter> queue;
  if (c.matchTypeNumericalRange()) {
    OrbFlowspec::expandRuleForNumericalRange(c, filter, queue);
  } else if (c.matchCompType() == MatchCompType::tcpFlags) {
    OrbFlowspec::expandRuleForTcpBitMask(c, filter, queue);
  } else {
    OrbFlowspec::expandRuleForIpBitMask(c, filter, queue);
  }
  std::vector<std::string> out;
  for (; !queue.empty(); queue.pop()) {
    out.push_back(queue.front().toStrep());
  }
  return out;
}

class ExpansionTest : public ::testing::Test {
 protected:
  Trace::ScopedTextLevel numericalRangeLevel{"FlowspecNumericalRangeExpansion", 2};
  Trace::ScopedTextLevel bitMaskLevel{"FlowspecBitMaskExpansion", 2};
  Trace::ScopedCapture capture;
};

TEST_F(ExpansionTest, ProtocolRangeBecomesValueMaskPairs) {
  EXPECT_EQ(expand<Acl::IpFilter>(ranges(MatchCompType::ipProtocol, {{6, 17}})),
            (std::vector<std::string>{"ip proto 6/0xfe", "ip proto 8/0xf8", "ip proto 16/0xfe"}));
  EXPECT_TRUE(expand<Acl::IpFilter>(ranges(MatchCompType::ipProtocol, {{256, 300}})).empty());
  EXPECT_TRUE(capture->contains("Invalid matchComponent value proto [256, 300]"));
}

TEST_F(ExpansionTest, PortsAndIntersections) {
  EXPECT_EQ(expand<Acl::IpFilter>(ranges(MatchCompType::port, {{80, 80}, {1024, 2047}})),
            (std::vector<std::string>{"ip sport eq 80", "ip dport eq 80",
                                      "ip sport range 1024 2047", "ip dport range 1024 2047"}));
  Acl::IpFilter with443;
  with443.dportIs(Acl::PortSpec(Acl::RangeOperator::eq, "443"));
  EXPECT_TRUE(
      expand<Acl::IpFilter>(ranges(MatchCompType::destinationPort, {{80, 80}}), with443).empty());
  EXPECT_TRUE(capture->contains("Invalid rule intersection of eq 443 with [80, 80]"));
  Acl::IpFilter wide;
  wide.dportIs(Acl::PortSpec(Acl::RangeOperator::range, "1 1000"));
  EXPECT_EQ(expand<Acl::IpFilter>(ranges(MatchCompType::destinationPort, {{900, 2000}}), wide),
            (std::vector<std::string>{"ip dport range 900 1000"}));
  EXPECT_EQ(OrbFlowspec::getAclSpec<Acl::PortSpec>(NumericalRange(80, 80)).toStrep(), "eq 80");
  EXPECT_EQ(OrbFlowspec::getAclSpec<Acl::IpLenSpec>(NumericalRange(1024, 2047)).valueText(),
            "1024 2047");
  EXPECT_THROW(OrbFlowspec::intersectPortSpecWithRange(
                   Acl::PortSpec(Acl::RangeOperator::range, "9 3"), NumericalRange(1, 5)),
               Cog::RangeError);
}

TEST_F(ExpansionTest, IcmpDscpAndFlowLabel) {
  EXPECT_EQ(expand<Acl::Ip6Filter>(ranges(MatchCompType::icmpType, {{128, 129}})),
            (std::vector<std::string>{"ipv6 proto 58/0xff icmp-type 128",
                                      "ipv6 proto 58/0xff icmp-type 129"}));
  auto const dscp = expand<Acl::IpFilter>(ranges(MatchCompType::dscp, {{60, 70}}));
  EXPECT_EQ(dscp.size(), 4u);
  EXPECT_EQ(dscp.front(), "ip dscp 60/0x3f");
  EXPECT_EQ(expand<Acl::IpFilter>(ranges(MatchCompType::dscp, {{46, 46}})),
            (std::vector<std::string>{"ip dscp 46/0x3f"}));
  EXPECT_EQ(expand<Acl::Ip6Filter>(ranges(MatchCompType::dscp, {{46, 46}})),
            (std::vector<std::string>{"ipv6 tc 184/0xfc"}));
  EXPECT_TRUE(expand<Acl::Ip6Filter>(ranges(MatchCompType::flowLabel, {{5, 5}})).empty());
  EXPECT_TRUE(capture->contains("Unsupported flowLabel in matchComponent flow-label [5, 5]"));
}

TEST_F(ExpansionTest, TcpFlagsAndFragments) {
  Flowspec::MatchComponent tcp(MatchCompType::tcpFlags);
  tcp.tcpBitMaskIs(Flowspec::TcpBitMask(true, 0x02, 0x12));
  tcp.tcpBitMaskIs(Flowspec::TcpBitMask(true, 0x80, 0x80));
  EXPECT_EQ(expand<Acl::IpFilter>(tcp),
            (std::vector<std::string>{"ip proto 6/0xff tcp syn/syn+ack"}));
  EXPECT_TRUE(capture->contains("Unsupported TcpFlag cwr"));
  Flowspec::MatchComponent frag(MatchCompType::fragment);
  frag.ipBitMaskIs(Flowspec::IpBitMask(true, 0x2, 0x2));
  EXPECT_EQ(expand<Acl::IpFilter>(frag), (std::vector<std::string>{"ip fragments"}));
  EXPECT_TRUE(expand<Acl::Ip6Filter>(frag).empty());
  Flowspec::MatchComponent df(MatchCompType::fragment);
  df.ipBitMaskIs(Flowspec::IpBitMask(true, 0x1, 0x1));
  EXPECT_TRUE(expand<Acl::IpFilter>(df).empty());
  EXPECT_TRUE(capture->contains("Unsupported IpBitMask df"));
}

TEST(RangeMaskGenWrapper, StoresThePairsOfByteRanges) {
  auto const wrapper = OrbFlowspec::rangeMaskGenWrapperFactory();
  wrapper->run(1, 6, 8);
  EXPECT_EQ(wrapper->rangeMax(), 255u);
  EXPECT_EQ(wrapper->mask(1), 0xFFu);
  EXPECT_EQ(wrapper->mask(4), 0xFEu);
  EXPECT_EQ(wrapper->mask().size(), 4u);
  wrapper->run(300, 400, 8);  // above the field: nothing changes
  EXPECT_EQ(wrapper->mask().size(), 4u);
  EXPECT_THROW(wrapper->run(1, 6, 16), Cog::RangeError);
  EXPECT_THROW(wrapper->run(1, 6, 32), Cog::AssertionError);
}

class ClassMapBuilding : public ::testing::Test {
 protected:
  Flowspec::FlowspecKey ruleIs(std::string const& text) {
    Flowspec::FlowspecKey key;
    key.copyInStringValue(text);
    auto const rule = vrfRuleConfig->ruleIs(key);
    return key;
  }
  void process(Flowspec::FlowspecKey const& key) {
    OrbFlowspec::processRuleMatchSet(key, "red", vrfRuleConfig, vrfRuleStatus, cmapTypeConfig,
                                     aclEntryLimit);
  }
  std::size_t entries(std::string const& className) {
    auto const cmap = cmapTypeConfig->cmap(className);
    auto const current = cmap ? cmap->currCfg() : nullptr;
    if (!current) {
      return 0;
    }
    std::size_t n = 0;
    for (auto const& [option, match] : current->match()) {
      n += match->ipRule().size() + match->ip6Rule().size();
    }
    return n;
  }

  Cog::Ptr<Flowspec::VrfRuleConfig> vrfRuleConfig = Cog::make<Flowspec::VrfRuleConfig>(5);
  Cog::Ptr<Flowspec::VrfRuleStatus> vrfRuleStatus = Cog::make<Flowspec::VrfRuleStatus>(5);
  std::uint64_t aclEntryLimit = OrbFlowspec::kDefaultAclEntryLimit;
  Cog::Ptr<PolicyMap::ClassMapTypeConfig> cmapTypeConfig =
      Cog::make<PolicyMap::ClassMapTypeConfig>("Flowspec");
};

TEST_F(ClassMapBuilding, RuleWithoutComponentsMatchesItsWholeFamily) {
  auto const key = ruleIs("ipv6");
  process(key);
  EXPECT_EQ(entries("ipv6"), 1u);
  auto const match = cmapTypeConfig->cmap("ipv6")->currCfg()->match(
      PolicyMap::ClassMapMatchOption::matchIpv6AccessGroup);
  EXPECT_EQ(match->ip6Rule(0).filter(), Acl::Ip6Filter());
  EXPECT_TRUE(vrfRuleStatus->ruleStatus(key));
}

TEST_F(ClassMapBuilding, UnexpressibleRuleGetsStatusThreeAndNoClassMap) {
  auto const key = ruleIs("ipv4 dport =80");
  auto rule = vrfRuleConfig->rule(key);
  rule->matchSetIs(ranges(MatchCompType::destinationPort, {{80, 80}}));
  rule->matchSetIs(ranges(MatchCompType::flowLabel, {{1, 1}}));
  Trace::ScopedTextLevel level("FlowspecClassMapMatch", 3);
  Trace::ScopedCapture capture;
  process(key);
  EXPECT_FALSE(cmapTypeConfig->cmap("ipv4 dport =80"));
  EXPECT_FALSE(cmapTypeConfig->cmapInput("ipv4 dport =80"));
  auto const status = vrfRuleStatus->ruleStatus(key);
  EXPECT_EQ(status->statusCode(), Flowspec::HwRuleProgrammingStatus::hwStatusUnsupportedMatch);
  EXPECT_EQ(status->errorReason(), "unsupported match - flow label");
  EXPECT_TRUE(
      capture->contains("red Cleanup of ipv4 dport =80 due to unsupported or infeasible matchSet"));
}

TEST_F(ClassMapBuilding, ProcessedRulesAreSkippedAndDeletedRulesCleanedUp) {
  auto const key = ruleIs("ipv4 dport =80");
  vrfRuleConfig->rule(key)->matchSetIs(ranges(MatchCompType::port, {{80, 80}, {443, 443}}));
  process(key);
  EXPECT_EQ(entries("ipv4 dport =80"), 4u);
  Trace::ScopedTextLevel level("FlowspecClassMapMatch", 5);
  Trace::ScopedCapture capture;
  process(key);
  EXPECT_TRUE(capture->contains("flowspec rule was already processed for ipv4 dport =80"));
  vrfRuleConfig->ruleDel(key);
  process(key);
  EXPECT_TRUE(capture->contains("flowspec rule was removed from red"));
  EXPECT_FALSE(cmapTypeConfig->cmap("ipv4 dport =80"));
  EXPECT_FALSE(vrfRuleStatus->ruleStatus(key));
}

TEST_F(ClassMapBuilding, RuleAboveTheEntryLimitIsRefusedBeforeAnyExpansion) {
  // 256 ICMP types x 256 codes x 64 DSCP values: 4.2 million entries, counted, never built.
  auto const huge = ruleIs("ipv4 icmp-type >=0 icmp-code >=0 dscp >=0");
  auto rule = vrfRuleConfig->rule(huge);
  rule->matchSetIs(ranges(MatchCompType::icmpType, {{0, 255}}));
  rule->matchSetIs(ranges(MatchCompType::icmpCode, {{0, 255}}));
  rule->matchSetIs(ranges(MatchCompType::dscp, {{0, 63}}));
  Trace::ScopedTextLevel level("FlowspecClassMapMatch", 2);
  Trace::ScopedCapture capture;
  process(huge);
  EXPECT_FALSE(cmapTypeConfig->cmapInput(huge.stringValue()));
  auto const status = vrfRuleStatus->ruleStatus(huge);
  EXPECT_EQ(status->statusCode(), Flowspec::HwRuleProgrammingStatus::hwStatusUnsupportedMatch);
  EXPECT_EQ(status->errorReason(), "unsupported match - too many ACL entries (4194304 > 4096)");
  EXPECT_TRUE(
      capture->contains("className ipv4 icmp-type >=0 icmp-code >=0 dscp >=0 refused: "
                        "too many ACL entries (4194304 > 4096)"));

  // At the limit the rule is built, and the count is what the expansion makes: protocol ranges
  // as value/mask pairs, a port range on both sides.
  auto const atLimit = ruleIs("ipv4 proto >=6&<=17 port >=1&<=2 dscp >=0");
  rule = vrfRuleConfig->rule(atLimit);
  rule->matchSetIs(ranges(MatchCompType::ipProtocol, {{6, 17}}));
  rule->matchSetIs(ranges(MatchCompType::port, {{1, 2}}));
  rule->matchSetIs(ranges(MatchCompType::dscp, {{0, 63}}));
  aclEntryLimit = 3 * 2 * 64;
  process(atLimit);
  EXPECT_EQ(entries(atLimit.stringValue()), 384u);
}

}  // namespace
