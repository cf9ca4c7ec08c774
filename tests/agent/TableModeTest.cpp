// The agent on a shared rule table, as the two programs run on a switch: flowspec-feed writes
// the table from hexadecimal UPDATEs, flowspec-agent maps it and rewrites its show file. The
// agent's show must equal what it shows for a scenario holding the same rules, survive an agent
// restart with nothing re-sent, and a feed restart must change no more than the feed withdraws.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
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
    std::string const text = runToEnd({FLOWSPEC_AGENT_PATH, "--scenario", path});
    return text.substr(text.find('\n') + 1);  // without the scenario summary line
  }

  // Runs a program to its end (bounded) and returns its output.
  std::string runToEnd(std::vector<std::string> const& argv) {
    std::string const output = dir_ + "run.out";
    std::remove(output.c_str());
    {
      ChildProcess child(argv, output);
      EXPECT_TRUE(eventually([&] { return child.exited(); })) << argv[0] << " did not end";
    }
    return fileText(output);
  }

  // Maps the table once the feed has created it; false when it does not appear in time.
  bool tableOpened() {
    return eventually([&] {
      try {
        reader_ = std::make_unique<Flowspec::RuleSetReader>(name_);
      } catch (Tidal::TableError const&) {
        return false;
      }
      return true;
    });
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
  std::unique_ptr<Flowspec::RuleSetReader> reader_;
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
  ASSERT_TRUE(tableOpened()) << fileText(dir_ + "feed.log");
  Flowspec::RuleSetReader& reader = *reader_;

  auto agent = startAgent();
  ASSERT_TRUE(showIs(bothShown)) << fileText(showPath()) << fileText(dir_ + "agent.log");

  // SIGTERM ends the loop; the agent prints its final show and exits cleanly.
  std::optional<int> const status = agent->stop(SIGTERM, std::chrono::seconds(5));
  ASSERT_TRUE(status && WIFEXITED(*status)) << fileText(dir_ + "agent.log");
  EXPECT_EQ(WEXITSTATUS(*status), 0);
  EXPECT_NE(fileText(dir_ + "agent.log").find(bothShown), std::string::npos);

  // A restarted agent rebuilds the same state from the table alone.
  changedKeys(reader);
  agent = startAgent();
  EXPECT_TRUE(showIs(bothShown)) << fileText(showPath());
  EXPECT_EQ(changedKeys(reader), std::set<std::string>{});

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
  EXPECT_EQ(changedKeys(reader),
            std::set<std::string>{"vrf 1 ipv4 dst 10.0.1.0/24 proto =17 dport =53"});
}

}  // namespace

// The first executable named `program` in PATH or the system directories, or "".
std::string installed(std::string const& program) {
  std::string path = std::getenv("PATH") ? std::getenv("PATH") : "";
  path += ":/usr/sbin:/usr/bin:/sbin:/bin";
  for (std::size_t start = 0; start <= path.size();) {
    std::size_t end = path.find(':', start);
    end = end == std::string::npos ? path.size() : end;
    std::string const candidate = path.substr(start, end - start) + "/" + program;
    if (end > start && access(candidate.c_str(), X_OK) == 0) {
      return candidate;
    }
    start = end + 1;
  }
  return "";
}

// Live speakers on 127.0.0.1: gobgpd originates flowspec routes, ExaBGP peers with it and hands
// every received UPDATE to the feed through its process API, the agent maps the feed's table.
TEST_F(TableMode, RoutesFromLiveSpeakersReachTheAgent) {
  std::string const gobgpd = installed("gobgpd");
  std::string const gobgp = installed("gobgp");
  std::string const exabgp = installed("exabgp");
  if (gobgpd.empty() || gobgp.empty() || exabgp.empty()) {
    GTEST_SKIP() << "exabgp, gobgpd and gobgp must be installed (scripts/install-deps.sh)";
  }
  int const port = 30000 + getpid() % 15000 * 2;
  std::string const api = "127.0.0.1:" + std::to_string(port + 1);
  std::string const gobgpdConf = write("gobgpd.toml", R"([global.config]
  as = 65001
  router-id = "127.0.0.1"
  port = )" + std::to_string(port) + R"(
  local-address-list = ["127.0.0.1"]
[[neighbors]]
  [neighbors.config]
    neighbor-address = "127.0.0.1"
    peer-as = 65002
  [neighbors.transport.config]
    passive-mode = true
  [[neighbors.afi-safis]]
    [neighbors.afi-safis.config]
      afi-safi-name = "ipv4-flowspec"
  [[neighbors.afi-safis]]
    [neighbors.afi-safis.config]
      afi-safi-name = "ipv6-flowspec"
)");
  std::string const exabgpConf = write("exabgp.conf", R"(process feed {
  run )" + std::string(FLOWSPEC_FEED_PATH) + " --table " + name_ +
                                                          R"( --vrf-id 1 --exabgp;
  encoder json;
}
neighbor 127.0.0.1 {
  router-id 127.0.0.2;
  local-address 127.0.0.1;
  local-as 65002;
  peer-as 65001;
  connect )" + std::to_string(port) + R"(;
  family { ipv4 flow; ipv6 flow; }
  api {
    processes [ feed ];
    receive { parsed; packets; update; }
  }
}
)");
  ChildProcess gobgpdProcess({gobgpd, "-f", gobgpdConf, "--api-hosts", api}, dir_ + "gobgpd.log");
  auto gobgpCli = [&](std::string const& family, std::string const& command) {
    std::vector<std::string> argv = {gobgp,    "-u",  "127.0.0.1", "-p",  std::to_string(port + 1),
                                     "global", "rib", "-a",        family};
    for (std::size_t start = 0, end; start < command.size(); start = end + 1) {
      end = command.find(' ', start);
      end = end == std::string::npos ? command.size() : end;
      argv.push_back(command.substr(start, end - start));
    }
    return runToEnd(argv);
  };
  if (!eventually([&] {
        return runToEnd({gobgp, "-p", std::to_string(port + 1), "neighbor"}).find("127.0.0.1") !=
               std::string::npos;
      })) {
    GTEST_SKIP() << "gobgpd did not start: " << fileText(dir_ + "gobgpd.log");
  }
  char const* user = std::getenv("USER");
  ChildProcess exabgpProcess(
      {exabgp, exabgpConf}, dir_ + "exabgp.log", false,
      {"exabgp_daemon_user=" + std::string(user ? user : "root"), "exabgp_cli_enable=false"});
  ASSERT_TRUE(eventually([&] {
    return runToEnd({gobgp, "-p", std::to_string(port + 1), "neighbor"}).find("Establ") !=
           std::string::npos;
  })) << fileText(dir_ + "exabgp.log");
  ASSERT_TRUE(tableOpened()) << fileText(dir_ + "exabgp.log");

  auto agent = startAgent();
  std::string const webDeny = kDenyWebRule;
  std::string const webPolice =
      R"({"vrf": 1, "id": 1, "match": "ipv4 dst 10.0.0.0/24 proto =6 dport =80", )"
      R"("actions": {"police": 1000.0}})";
  std::string const v6Police =
      R"({"vrf": 1, "id": 2, "match": "ipv6 dst 2001:db8::/32 proto =17 dport =443", )"
      R"("actions": {"police": 125000.0}})";
  struct Step {
    std::string family;
    std::string command;
    std::string rules;
  };
  std::vector<Step> const steps = {
      {"ipv4-flowspec",
       "add match destination 10.0.0.0/24 protocol tcp destination-port ==80 then discard",
       webDeny},
      {"ipv6-flowspec",
       "add match destination 2001:db8::/32 protocol udp destination-port ==443 then rate-limit "
       "125000",
       webDeny + "," + v6Police},
      {"ipv4-flowspec",
       "add match destination 10.0.0.0/24 protocol tcp destination-port ==80 then rate-limit 1000",
       webPolice + "," + v6Police},
      {"ipv6-flowspec", "del match destination 2001:db8::/32 protocol udp destination-port ==443",
       webPolice},
  };
  for (Step const& step : steps) {
    SCOPED_TRACE(step.command);
    std::string const expected = scenarioShow(step.rules);
    gobgpCli(step.family, step.command);
    EXPECT_TRUE(showIs(expected)) << fileText(showPath()) << "expected:\n" << expected;
  }

  // A killed agent, restarted, rebuilds the same state with no route re-sent.
  std::string const shown = fileText(showPath());
  ASSERT_TRUE(agent->stop(SIGKILL, std::chrono::seconds(5)));
  changedKeys(*reader_);
  agent = startAgent();
  EXPECT_TRUE(showIs(shown)) << fileText(showPath());
  EXPECT_EQ(changedKeys(*reader_), std::set<std::string>{});
}
