// The agent as a daemon, driven through its control socket as flowspec-cli drives it: an
// interface enabled and disabled, packets counted, hostile requests answered with errors while
// the daemon goes on serving. Every reply is checked against agent/control-schema.json.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "agent/ControlClient.h"
#include "agent/ControlReply.h"
#include "tests/agent/ChildProcess.h"

namespace {

using AgentTest::ChildProcess;
using AgentTest::eventually;
using AgentTest::fileText;
using nlohmann::json;

constexpr char kRule[] = "ipv4 dst 192.0.2.0/24 proto =6 dport =80";
// lc1 holds Ethernet1, on which flowspec starts disabled. Web packets arrive twice (the second
// stream only matters when the first came before the rule was installed).
constexpr char kScenario[] = R"({
 "vrfs": [{"id": 1, "name": "default"}],
 "interfaces": [{"name": "Ethernet1", "vrf": "default"}],
 "lineCards": [{"name": "lc1", "ipv4Entries": 64, "ipv6Entries": 64, "rangeCheckers": 8,
                "interfaces": ["Ethernet1"]}],
 "rules": [{"vrf": 1, "id": 1, "match": "ipv4 dst 192.0.2.0/24 proto =6 dport =80",
            "actions": {"deny": true}}],
 "packets": [
  {"at": 3.0, "interface": "Ethernet1", "count": 7,
   "fields": {"family": "ipv4", "src": "203.0.113.7", "dst": "192.0.2.10", "protocol": 6,
              "sport": 40000, "dport": 80}},
  {"at": 9.0, "interface": "Ethernet1", "count": 7,
   "fields": {"family": "ipv4", "src": "203.0.113.7", "dst": "192.0.2.10", "protocol": 6,
              "sport": 40000, "dport": 80}}]})";

// Checks the schema itself and every recorded reply against it (and its result against the
// definition named for its command), in one run of python3-jsonschema.
constexpr char kValidator[] = R"(
import json, sys, jsonschema
schema = json.load(open(sys.argv[1]))
jsonschema.Draft202012Validator.check_schema(schema)
whole = jsonschema.Draft202012Validator(schema)
for number, line in enumerate(open(sys.argv[2])):
    case = json.loads(line)
    whole.validate(case["reply"])
    if case["def"]:
        part = dict(schema, **{"$ref": "#/$defs/" + case["def"]})
        del part["oneOf"]
        jsonschema.Draft202012Validator(part).validate(case["reply"]["result"])
    print("valid", number)
)";

class Daemon : public testing::Test {
 protected:
  void SetUp() override {
    dir_ = testing::TempDir() + "orbflowspec-daemon-" + std::to_string(getpid()) + "-";
    std::ofstream(dir_ + "scenario.json") << kScenario;
    socket_ = dir_ + "control.sock";
    agent_ = std::make_unique<ChildProcess>(
        std::vector<std::string>{FLOWSPEC_AGENT_PATH, "--scenario", dir_ + "scenario.json",
                                 "--control", socket_},
        dir_ + "agent.log");
    ASSERT_TRUE(eventually([&] { return ControlClient(socket_).connected(); }))
        << fileText(dir_ + "agent.log");
  }

  void TearDown() override {
    if (agent_) {
      auto const status = agent_->stop(SIGTERM, std::chrono::seconds(5));
      ASSERT_TRUE(status && WIFEXITED(*status) && WEXITSTATUS(*status) == 0);
      EXPECT_EQ(access(socket_.c_str(), F_OK), -1) << "the socket file outlived the agent";
    }
  }

  using ControlClient = Agent::ControlClient;

  // The reply to `request` on `client`, recorded for the schema check with the definition its
  // result must match (empty for an error reply).
  json ask(ControlClient& client, std::string const& request, std::string const& def) {
    auto const line = client.request(request);
    EXPECT_TRUE(line) << request;
    json reply = json::parse(line.value_or("{}"));
    recorded_.push_back(json{{"def", def}, {"reply", reply}}.dump());
    if (!def.empty()) {
      EXPECT_EQ(reply.value("ok", false), true) << request << " -> " << *line;
    }
    return reply;
  }
  json ask(std::string const& request, std::string const& def) {
    return ask(*client_, request, def);
  }
  std::string errorOf(std::string const& request) {
    json const reply = ask(request, "");
    EXPECT_EQ(reply.value("ok", true), false) << request;
    return reply.value("error", "");
  }

  // The one rule of the scenario as `show rules` has it.
  json rule() { return ask("show rules", "showRules")["result"]["vrfs"][0]["rules"][0]; }

  bool repliesMatchSchema() {
    std::string const cases = dir_ + "replies.jsonl";
    std::ofstream out(cases);
    for (auto const& line : recorded_) {
      out << line << "\n";
    }
    out.close();
    ChildProcess python({"/usr/bin/env", "python3", "-c", kValidator, CONTROL_SCHEMA_PATH, cases},
                        dir_ + "schema.log");
    EXPECT_TRUE(eventually([&] { return python.exited(); }, std::chrono::seconds(30)));
    auto const status = python.stop(SIGKILL, std::chrono::seconds(1));
    bool const valid = status && WIFEXITED(*status) && WEXITSTATUS(*status) == 0;
    EXPECT_TRUE(valid) << fileText(dir_ + "schema.log");
    return valid;
  }

  std::string dir_;
  std::string socket_;
  std::unique_ptr<ChildProcess> agent_;
  std::unique_ptr<ControlClient> client_;
  std::vector<std::string> recorded_;
};

TEST_F(Daemon, EnableCountAndDisableThroughTheSocket) {
  struct stat file {};
  ASSERT_EQ(lstat(socket_.c_str(), &file), 0);
  EXPECT_TRUE(S_ISSOCK(file.st_mode));
  EXPECT_EQ(file.st_mode & 0777, 0600u);

  client_ = std::make_unique<ControlClient>(socket_);
  ASSERT_TRUE(eventually([&] { return rule()["priority"] == 1; }));
  EXPECT_EQ(rule()["rule"], kRule);
  EXPECT_EQ(rule()["status"], 0);
  EXPECT_EQ(rule()["installed"], json::array());

  json const enabled = ask("interface enable Ethernet1", "interface")["result"];
  EXPECT_EQ(enabled, (json{{"interface", "Ethernet1"}, {"enabled", "both"}}));
  ASSERT_TRUE(eventually([&] { return rule()["status"] == 1; })) << rule();
  EXPECT_EQ(rule()["installed"], json::array({"Ethernet1"}));
  EXPECT_EQ(rule()["action"], "deny");
  EXPECT_EQ(rule()["entries"], 1);

  json const detail = ask(std::string("show rule ") + kRule, "showRule")["result"]["rules"][0];
  ASSERT_EQ(detail["interfaces"].size(), 1u);
  EXPECT_EQ(detail["interfaces"][0]["lineCard"], "lc1");
  EXPECT_EQ(detail["interfaces"][0]["state"], "installed");
  EXPECT_EQ(detail["aclEntries"].size(), 1u);

  // The packets arrive on the agent's clock; each refresh answers after its counter pass.
  json counted;
  ASSERT_TRUE(eventually(
      [&] {
        counted = ask("counters refresh", "countersRefresh")["result"];
        return counted["rules"][0]["packets"] >= 7;
      },
      std::chrono::seconds(20)))
      << counted;
  EXPECT_EQ(counted["rules"][0]["rule"], kRule);
  EXPECT_EQ(counted["rules"][0]["packets"].get<int>() % 7, 0);
  json const summary = ask("show summary", "showSummary")["result"];
  EXPECT_EQ(summary["counterUpdateTime"], counted["counterUpdateTime"]);
  EXPECT_EQ(summary["banks"][0],
            (json{{"lineCard", "lc1"}, {"family", "ipv4"}, {"used", 1}, {"capacity", 64}}));

  EXPECT_EQ(ask("interface disable Ethernet1", "interface")["result"]["enabled"], "none");
  ASSERT_TRUE(eventually([&] { return rule()["installed"] == json::array(); })) << rule();
  ASSERT_TRUE(eventually(
      [&] { return ask("show summary", "showSummary")["result"]["banks"][0]["used"] == 0; }));
  EXPECT_EQ(ask("show interfaces", "showInterfaces")["result"]["interfaces"][0]["enabled"], "none");
  ask("show unsupported", "showUnsupported");
  EXPECT_EQ(ask("interface enable-all on", "interfaceEnableAll")["result"]["allInterfaces"], true);
  EXPECT_TRUE(repliesMatchSchema());
}

TEST_F(Daemon, HostileRequestsGetErrorsAndTheDaemonGoesOn) {
  client_ = std::make_unique<ControlClient>(socket_);
  EXPECT_EQ(errorOf(""), Agent::kEmptyRequest);
  EXPECT_EQ(errorOf("frobnicate --now"),
            "unknown command \"frobnicate\"; commands: show, counters, interface");
  EXPECT_EQ(errorOf("show bogus"), "usage: show rules|rule|unsupported|interfaces|summary");
  EXPECT_EQ(errorOf("show rules --vrf"), "usage: show rules [--vrf NAME]");
  EXPECT_EQ(errorOf("show rules --vrf blue"), "no VRF named \"blue\"");
  EXPECT_EQ(errorOf("show rule ipv4 dst 10.0.0.0/8"), "no rule \"ipv4 dst 10.0.0.0/8\"");
  EXPECT_EQ(errorOf("show rule ipv5"), errorOf("show rule ipv5"));  // stable
  EXPECT_EQ(errorOf("show rule ipv5").rfind("bad rule text: ", 0), 0u);
  EXPECT_EQ(errorOf("show\x01rules"), Agent::kControlCharacter);
  EXPECT_EQ(errorOf("interface enable Ethernet1 --family ipv5"),
            "unknown family \"ipv5\"; expected ipv4, ipv6 or both");
  EXPECT_EQ(errorOf("interface enable " + std::string(65, 'E')),
            "interface name longer than 64 bytes");
  EXPECT_EQ(errorOf("counters"), "usage: counters refresh");
  // Longer than the bound: one error, the rest of the line skipped, the connection still served.
  EXPECT_EQ(errorOf(std::string(Agent::kMaxRequestBytes + 1000, 'x')), Agent::kRequestTooLong);
  ask("show summary", "showSummary");

  // A client that sends without ever reading stalls nobody else.
  ControlClient greedy(socket_);
  fcntl(greedy.fd(), F_SETFL, O_NONBLOCK);
  std::string const burst = [] {
    std::string requests;
    for (int i = 0; i < 100; ++i) {
      requests += "show rules\n";
    }
    return requests;
  }();
  for (int i = 0; i < 2000 && send(greedy.fd(), burst.data(), burst.size(), MSG_NOSIGNAL) > 0;
       ++i) {
  }
  ControlClient other(socket_);
  ask(other, "show summary", "showSummary");

  // Past the bound on connections, a newcomer is told so and closed.
  std::vector<std::unique_ptr<ControlClient>> clients;
  std::optional<std::string> refused;
  for (int i = 0; i < 64 && !refused; ++i) {
    clients.push_back(std::make_unique<ControlClient>(socket_));
    // The refusal is sent at once, so it is there to read even when the send fails.
    clients.back()->send("show summary\n");
    auto const line = clients.back()->replyLine();
    ASSERT_TRUE(line);
    if (json::parse(*line)["ok"] == false) {
      refused = json::parse(*line)["error"];
    }
  }
  EXPECT_EQ(refused, Agent::kTooManyConnections);
  EXPECT_LE(clients.size(), 16u);
  clients.clear();
  EXPECT_TRUE(repliesMatchSchema());
}

TEST_F(Daemon, CliPrintsTheReplyAsJsonOrAsTables) {
  std::string const output = dir_ + "cli.out";
  auto run = [&](std::vector<std::string> argv) {
    std::remove(output.c_str());
    argv.insert(argv.begin(), {FLOWSPEC_CLI_PATH, "--socket", socket_});
    ChildProcess cli(argv, output);
    EXPECT_TRUE(eventually([&] { return cli.exited(); }));
    auto const status = cli.stop(SIGKILL, std::chrono::seconds(1));
    return std::make_pair(status && WIFEXITED(*status) ? WEXITSTATUS(*status) : -1,
                          fileText(output));
  };
  auto const [tableStatus, table] = run({"show", "summary"});
  EXPECT_EQ(tableStatus, 0);
  EXPECT_NE(table.find("lc1        ipv4    0     64"), std::string::npos) << table;
  auto const [jsonStatus, line] = run({"--json", "show", "rules"});
  EXPECT_EQ(jsonStatus, 0);
  EXPECT_EQ(json::parse(line)["result"]["vrfs"][0]["rules"][0]["rule"], kRule);
  auto const [errorStatus, error] = run({"show", "nothing"});
  EXPECT_EQ(errorStatus, 1);
  EXPECT_EQ(error, "error: usage: show rules|rule|unsupported|interfaces|summary\n");
}

}  // namespace
