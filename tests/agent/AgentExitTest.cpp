// The agent's exit status tells a script whether its scenario loaded: 0 clean (warnings
// allowed), 1 when some item was refused while the rest still ran, 2 for a usage error. The
// built binary is run as a script would run it; CMake passes its path.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

namespace {

struct AgentRun {
  int status;
  std::string out;
};

AgentRun runAgent(std::string const& arguments) {
  std::string const command = std::string(FLOWSPEC_AGENT_PATH) + " " + arguments + " 2>/dev/null";
  FILE* pipe = popen(command.c_str(), "r");
  AgentRun run{-1, {}};
  if (!pipe) {
    return run;
  }
  char buffer[4096];
  for (std::size_t n; (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) {
    run.out.append(buffer, n);
  }
  int const status = pclose(pipe);
  run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return run;
}

std::string scenarioFile(std::string const& name, std::string const& text) {
  std::string const path = testing::TempDir() + "agent_exit_" + name + ".json";
  std::ofstream(path) << text;
  return path;
}

TEST(AgentExit, StatusSaysWhetherTheScenarioLoaded) {
  std::string const vrf = R"("vrfs": [{"id": 1, "name": "red"}])";
  struct Case {
    std::string arguments;
    int status;
    std::string printed;
  };
  std::vector<Case> const cases = {
      {"--help", 0, "Exit status: 0 when the scenario loaded without error"},
      {"", 0, ""},
      {"--scenario " + scenarioFile("clean", "{" + vrf + "}"), 0, "1 VRFs"},
      {"--scenario " +
           scenarioFile("warning",
                        "{" + vrf + R"(, "rules": [{"vrf": 5, "id": 1, "match": "ipv4"}]})"),
       0, "warning: rules[0].vrf: VRF id 5 is not declared in \"vrfs\""},
      {"--scenario " + scenarioFile("refused", "{" + vrf + R"(, "rules": [
         {"vrf": 1, "id": 1, "match": "ipv4", "actions": {"dscp": 64}},
         {"vrf": 1, "id": 2, "match": "ipv4 dport =80", "actions": {"deny": true}}]})"),
       1, "| deny"},
      {"--scenario " + scenarioFile("syntax", "{"), 1, "error: scenario: JSON syntax error"},
      {"--scenario " + testing::TempDir(), 1, "not a regular file"},
      {"--bogus", 2, ""},
      {"--scenario", 2, ""},
      {"--max-seconds -1", 2, ""},
      {"--help --bogus", 2, ""},
  };
  for (auto const& c : cases) {
    SCOPED_TRACE(c.arguments);
    AgentRun const run = runAgent(c.arguments + " --max-seconds 20");
    EXPECT_EQ(run.status, c.status);
    EXPECT_NE(run.out.find(c.printed), std::string::npos) << run.out;
  }
}

}  // namespace
