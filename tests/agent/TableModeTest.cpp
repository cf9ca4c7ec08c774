// The agent on a shared rule table, as the two programs run on a switch: flowspec-feed writes
// the table from hexadecimal UPDATEs, flowspec-agent maps it and rewrites its show file. The
// agent's show must equal what it shows for a scenario holding the same rules, survive an agent
// restart with nothing re-sent, and a feed restart must change no more than the feed withdraws.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <memory>
#include <set>

#include "models/flowspec/RuleCodec.h"
#include "tests/agent/ChildProcess.h"

namespace {

using AgentTest::ChildProcess;
using AgentTest::eventually;
using AgentTest::fileText;

constexpr char kHeader[] = "FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF004302";
// ipv4 dst 10.0.0.0/24 proto =6 dport =80, traffic-rate 0.
constexpr char kDenyWeb[] =
    "0000002C4001010240020602010000FDE9800E1100018500000B01180A0000038106058150C01008800600"
    "0000000000";
// ipv4 dst 10.0.1.0/24 proto =17 dport =53, traffic-rate 125000 bytes per second.
constexpr char kPoliceDns[] =
    "0000002C4001010240020602010000FDE9800E1100018500000B01180A0001038111058135C01008800600"
    "0047F42400";
// The second route in MP_UNREACH_NLRI.
constexpr char kWithdrawDns[] = "00000012800F0F0001850B01180A0001038111058135";

constexpr char kInterfaces[] = R"({"vrfs": [{"id": 1, "name": "default"}],
 "interfaces": [{"name": "Ethernet1", "vrf": "default"}],
 "flowspec": {"interfaces": [{"name": "Ethernet1", "ipVersion": "both"}], "allInterfaces": false})";
constexpr char kDenyWebRule[] =
    R"({"vrf": 1, "id": 1, "match": "ipv4 dst 10.0.0.0/24 proto =6 dport =80", )"
    R"("actions": {"deny": true}})";
constexpr char kPoliceDnsRule[] =
    R"({"vrf": 1, "id": 2, "match": "ipv4 dst 10.0.1.0/24 proto =17 dport =53", )"
    R"("actions": {"police": 125000.0}})";

class TableMode : public testing::Test {
 protected:
  void SetUp() override {
    name_ = "orbflowspec-tablemode-" + std::to_string(getpid());
    dir_ = testing::TempDir() + name_ + "-";
    Tidal::SharedSegment::remove(name_);
    scenario_ = write("interfaces.json", std::string(kInterfaces) + "}");
  }
  void TearDown() override { Tidal::SharedSegment::remove(name_); }

  std::string write(std::string const& file, std::string const& text) {
    std::ofstream(dir_ + file) << text;
    return dir_ + file;
  }

  // The agent's show output for a scenario holding `rules` (a JSON array's elements), run to
  // its end in scenario mode: the reference the table mode must match.
  std::string scenarioShow(std::string const& rules) {
    std::string const path =
        write("rules.json", std::string(kInterfaces) + R"(, "rules": [)" + rules + "]}");
    std::string const output = dir_ + "scenario.out";
    std::remove(output.c_str());
    {
      ChildProcess agent({FLOWSPEC_AGENT_PATH, "--scenario", path}, output);
      EXPECT_TRUE(eventually([&] { return agent.exited(); }));
    }
    std::string const text = fileText(output);
    return text.substr(text.find('\n') + 1);  // without the scenario summary line
  }

  std::unique_ptr<ChildProcess> startFeed() {
    return std::make_unique<ChildProcess>(
        std::vector<std::string>{FLOWSPEC_FEED_PATH, "--table", name_, "--vrf-id", "1",
                                 "--hex-lines"},
        dir_ + "feed.log", true);
  }
  std::unique_ptr<ChildProcess> startAgent() {
    std::remove(showPath().c_str());
    return std::make_unique<ChildProcess>(
        std::vector<std::string>{FLOWSPEC_AGENT_PATH, "--scenario", scenario_, "--table", name_,
                                 "--show-file", showPath()},
        dir_ + "agent.log");
  }
  std::string showPath() const { return dir_ + "show.txt"; }
  bool showIs(std::string const& expected) const {
    return eventually([&] { return fileText(showPath()) == expected; });
  }

  std::string name_;
  std::string dir_;
  std::string scenario_;
};

// The keys the feed changed in the table since the last call.
std::set<std::string> changedKeys(Flowspec::RuleSetReader& reader) {
  std::set<std::string> keys;
  reader.applyChanges([&](Flowspec::FlowspecTidalKey const& key) { keys.insert(key.toStrep()); });
  return keys;
}

TEST_F(TableMode, AgentFollowsTheFeedAcrossRestartsOfEither) {
  std::string const bothShown = scenarioShow(std::string(kDenyWebRule) + "," + kPoliceDnsRule);
  std::string const webShown = scenarioShow(kDenyWebRule);
  ASSERT_NE(bothShown.find("| police"), std::string::npos) << bothShown;

  auto feed = startFeed();
  feed->lineIs(std::string(kHeader) + kDenyWeb);
  feed->lineIs(std::string(kHeader) + kPoliceDns);
  std::unique_ptr<Flowspec::RuleSetReader> reader;
  ASSERT_TRUE(eventually([&] {
    try {
      reader = std::make_unique<Flowspec::RuleSetReader>(name_);
    } catch (Tidal::TableError const&) {
      return false;
    }
    return reader->size() == 2;
  })) << fileText(dir_ + "feed.log");

  auto agent = startAgent();
  ASSERT_TRUE(showIs(bothShown)) << fileText(showPath()) << fileText(dir_ + "agent.log");

  // SIGTERM ends the loop; the agent prints its final show and exits cleanly.
  std::optional<int> const status = agent->stop(SIGTERM, std::chrono::seconds(5));
  ASSERT_TRUE(status && WIFEXITED(*status)) << fileText(dir_ + "agent.log");
  EXPECT_EQ(WEXITSTATUS(*status), 0);
  EXPECT_NE(fileText(dir_ + "agent.log").find(bothShown), std::string::npos);

  // A restarted agent rebuilds the same state from the table alone.
  changedKeys(*reader);
  agent = startAgent();
  EXPECT_TRUE(showIs(bothShown)) << fileText(showPath());
  EXPECT_EQ(changedKeys(*reader), std::set<std::string>{});

  // A restarted feed adopts the table; re-sending an unchanged route writes nothing, and only
  // the withdrawn rule leaves the agent's programming.
  feed->closeInput();
  ASSERT_TRUE(eventually([&] { return feed->exited(); }));
  EXPECT_NE(fileText(dir_ + "feed.log").find("2 announced, 0 withdrawn, 2 rules in " + name_),
            std::string::npos);
  feed = startFeed();
  feed->lineIs(std::string(kHeader) + kDenyWeb);
  feed->lineIs(kWithdrawDns);
  EXPECT_TRUE(showIs(webShown)) << fileText(showPath());
  EXPECT_EQ(changedKeys(*reader),
            std::set<std::string>{"vrf 1 ipv4 dst 10.0.1.0/24 proto =17 dport =53"});
}

}  // namespace
