#include <gtest/gtest.h>
#include <unistd.h>

#include <sstream>

#include "feed/ExabgpMessage.h"
#include "feed/FeedCli.h"
#include "feed/HexText.h"
#include "models/flowspec/RuleCodec.h"

namespace {

// ipv4 dst 10.0.0.0/24 proto =6 dport =80 with traffic-rate 0, as a speaker sent it.
constexpr char kHeader[] = "FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF004302";
constexpr char kAnnounce[] =
    "0000002C4001010240020602010000FDE9800E1100018500000B01180A0000038106058150C01008800600"
    "0000000000";
// The same route in MP_UNREACH_NLRI.
constexpr char kWithdraw[] = "00000012800F0F0001850B01180A0000038106058150";

std::string exabgpLine(std::string const& direction, std::string const& header,
                       std::string const& body) {
  return R"({ "exabgp": "4.0.1", "type": "update", "neighbor": { "direction": ")" + direction +
         R"(", "message": { "category": 2, "header": "0x)" + header + R"(", "body": "0x)" + body +
         R"(" } } })";
}

TEST(ExabgpMessage, OnlyReceivedUpdatesYieldTheirOctets) {
  auto const octets = Feed::updateFromExabgpLine(exabgpLine("receive", kHeader, kAnnounce));
  ASSERT_TRUE(octets);
  EXPECT_EQ(*octets, *Feed::bytesFromHex(std::string(kHeader) + kAnnounce));
  EXPECT_FALSE(Feed::updateFromExabgpLine(exabgpLine("send", kHeader, kAnnounce)));
  // A KEEPALIVE header, a header cut short, a body that is no hex, a state line.
  EXPECT_FALSE(Feed::updateFromExabgpLine(
      exabgpLine("receive", "FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF001304", "")));
  EXPECT_FALSE(Feed::updateFromExabgpLine(exabgpLine("receive", "FFFF", kAnnounce)));
  EXPECT_FALSE(Feed::updateFromExabgpLine(exabgpLine("receive", kHeader, "0g")));
  EXPECT_FALSE(Feed::updateFromExabgpLine(R"({ "type": "state", "neighbor": { "state": "up" } })"));
  EXPECT_FALSE(Feed::updateFromExabgpLine(R"("direction": "receive", "header": "0x)"));
}

// The whole feed over a shared table: announcements, a bad line and a withdrawal, then a
// restarted feed that keeps the table and its rule ids.
TEST(TableFeed, HexLinesAnnounceAndWithdrawInTheSharedTable) {
  std::string const name = "orbflowspec-feedtest-" + std::to_string(getpid());
  Tidal::SharedSegment::remove(name);
  auto run = [&](std::string const& input, std::string& err) {
    std::istringstream in(input);
    std::ostringstream out;
    std::ostringstream errors;
    int const status = Feed::runFeedCli(
        {"--table", name, "--vrf-id", "3", "--slots", "16", "--hex-lines"}, in, out, errors);
    err = errors.str();
    return status == 0 ? out.str() : "status " + std::to_string(status);
  };
  std::string err;
  EXPECT_EQ(run(std::string(kHeader) + kAnnounce + "\nzz\n\n# comment\n", err),
            "1 announced, 0 withdrawn, 1 rules in " + name + "\n");
  EXPECT_EQ(err, "error: line 2: not hexadecimal octets\n");

  Flowspec::RuleSetReader reader(name);
  auto const key = reader.firstAtOrAfter(nullptr);
  ASSERT_TRUE(key);
  EXPECT_EQ(key->toStrep(), "vrf 3 ipv4 dst 10.0.0.0/24 proto =6 dport =80");
  bool corrupt = false;
  auto const rule = reader.read(*key, &corrupt);
  ASSERT_TRUE(rule);
  EXPECT_EQ(rule->ruleId, 1u);
  EXPECT_TRUE(rule->actionFieldSet.deny());

  EXPECT_EQ(run(std::string(kAnnounce) + "\n" + kWithdraw + "\n" + kWithdraw + "\n", err),
            "1 announced, 1 withdrawn, 0 rules in " + name + "\n");
  reader.applyChanges([](Flowspec::FlowspecTidalKey const&) {});
  EXPECT_EQ(reader.size(), 0u);
  Tidal::SharedSegment::remove(name);
}

}  // namespace
