#include <gtest/gtest.h>

#include <cstdio>

#include "feed/ActionDecoder.h"
#include "feed/HexText.h"
#include "tests/feed/DiagnosticText.h"

namespace {

// The action fields of a rule in one line: the set, then each field the set says is used.
std::string summary(Flowspec::Rule const& rule) {
  std::string out = rule.actionFieldSet.toStrep();
  if (rule.actionFieldSet.police()) {
    char rate[32];
    std::snprintf(rate, sizeof rate, " rate %g", static_cast<double>(rule.trafficRateLimit));
    out += rate;
  }
  if (rule.actionFieldSet.redirect()) {
    out += " " + rule.trafficRedirect.toStrep();
  }
  if (rule.actionFieldSet.dscp()) {
    out += " dscp " + std::to_string(rule.trafficMarkingDscp.value());
  }
  if (rule.trafficAction.bits()) {
    out += " action " + std::to_string(rule.trafficAction.bits());
  }
  return out;
}

// Extended communities (8 octets each) at offsets 0, 8, ...; IPv6 ones (20 octets) from 100 on.
TEST(ActionDecoder, CommunitiesMapOntoRuleFields) {
  Feed::RouteTargetResolver resolver;
  resolver.vrfIdIs("65000:100", 7);
  resolver.vrfIdIs("192.0.2.1:100", 8);
  resolver.vrfIdIs("4200000000:100", 9);
  resolver.vrfIdIs("[2001:db8::1]:100", 10);
  constexpr char kRt65000x100[] = "8008fde800000064";
  constexpr char kToV4[] = "010cc00002010000";  // redirect to 192.0.2.1
  constexpr char kV6Address[] = "20010db8000000000000000000000001";
  struct {
    std::string communities;
    std::string ipv6Communities;
    char const* nextHop;
    char const* rule;
    char const* notes;
  } const cases[] = {
      {"", "", "", "none", ""},
      {"8006fde8447a0000", "", "", "police rate 1000", ""},
      {"8006fde8447a0000 8006000043fa0000", "", "", "police rate 500", ""},  // lowest wins
      {"8006000000000000", "", "", "deny", ""},
      {"800c000000000000", "", "", "deny", ""},
      {"8006fde8447a0000 8006000000000000 800900000000002e", "", "", "deny",
       "offset 8: discard overrides the rule's other actions"},
      {"800c000042c80000", "", "", "none",
       "offset 0: traffic-rate-packets 100 has no rule field: not installed"},
      {"800600007fc00000 80060000bf800000", "", "", "none",
       "offset 0: traffic-rate-bytes nan is not a rate: ignored; offset 8: traffic-rate-bytes -1 "
       "is not a rate: ignored"},
      {"8007000000000001 8007000000000002", "", "", "none action 3", ""},
      {kRt65000x100, "", "", "redirect vrfId 7", ""},
      {"8108c00002010064", "", "", "redirect vrfId 8", ""},
      {"8208fa56ea000064", "", "", "redirect vrfId 9", ""},
      {"", std::string("000d") + kV6Address + "0064", "", "redirect vrfId 10", ""},
      {"8008fde800000065 " + std::string(kToV4), "", "", "none",
       "offset 0: rt-redirect 65000:101: no VRF imports the route target; no redirect"},
      {"8008fde800000065 " + std::string(kRt65000x100), "", "", "redirect vrfId 7",
       "offset 0: rt-redirect 65000:101: no VRF imports the route target; no redirect"},
      {kRt65000x100 + std::string("8108c00002010064"), "", "", "redirect vrfId 7",
       "offset 8: rt-redirect 192.0.2.1:100 ignored: an earlier one applies"},
      {kToV4, "", "", "redirect vrfId 5 nexthop 192.0.2.1", ""},
      {kToV4 + std::string(kRt65000x100), "", "", "redirect vrfId 7 nexthop 192.0.2.1", ""},
      {"", std::string("000c") + kV6Address + "0000", "", "redirect vrfId 5 nexthop 2001:db8::1",
       ""},
      {"010cc00002010001", "", "", "none",
       "offset 0: copy to 192.0.2.1 has no rule field: not installed"},
      {"0800000000000000", "", "198.51.100.1", "redirect vrfId 5 nexthop 198.51.100.1", ""},
      {"010c000000000000", "", "2001:db8::9", "redirect vrfId 5 nexthop 2001:db8::9", ""},
      {"0800000000000000", "", "", "none",
       "offset 0: redirect to the next hop, but MP_REACH_NLRI has none: no redirect"},
      {kToV4 + std::string("010cc00002020000"), "", "", "redirect vrfId 5 nexthop 192.0.2.1",
       "offset 8: redirect to 192.0.2.2 ignored: an earlier one applies"},
      {"80090000000000ee 800900000000000a", "", "", "dscp dscp 46",
       "offset 8: traffic-marking 10 ignored: an earlier one applies"},
      {"0002fde800000064 4300000000000000", "", "", "none", ""},  // not actions
  };
  for (auto const& c : cases) {
    SCOPED_TRACE(c.communities + " / " + c.ipv6Communities);
    Feed::ActionDecoder decoder(5, resolver);
    auto const communities = Feed::bytesFromHex(c.communities).value();
    for (std::size_t i = 0; i < communities.size(); i += 8) {
      decoder.extendedCommunityIs(Feed::ByteCursor(std::span(communities).subspan(i, 8), i));
    }
    auto const ipv6Communities = Feed::bytesFromHex(c.ipv6Communities).value();
    for (std::size_t i = 0; i < ipv6Communities.size(); i += 20) {
      decoder.ipv6ExtendedCommunityIs(
          Feed::ByteCursor(std::span(ipv6Communities).subspan(i, 20), 100 + i));
    }
    Flowspec::Rule rule;
    std::vector<Feed::Diagnostic> notes;
    decoder.actionsOnto(rule, Nwk::IpGenAddr::parse(c.nextHop).value_or(Nwk::IpGenAddr()), notes);
    EXPECT_EQ(summary(rule), c.rule);
    EXPECT_EQ(FeedTest::joined(notes), c.notes);
    EXPECT_EQ(Feed::worstSeverity(notes), Feed::Severity::note);
  }
}

}  // namespace
