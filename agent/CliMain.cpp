// flowspec-cli: the operator's command line to a running flowspec-agent. Sends the command's
// words as one request line on the agent's control socket and prints the one-line JSON reply
// as it came (--json) or as text tables.
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "agent/CliRender.h"
#include "agent/ControlClient.h"
#include "agent/JsonText.h"

namespace {

constexpr int kExitError = 1;
constexpr int kExitUsage = 2;
constexpr int kExitUnreachable = 3;

constexpr char kUsage[] =
    "usage: flowspec-cli [--socket PATH] [--json] COMMAND...\n"
    "  show rules [--vrf NAME]       rules per VRF in precedence order, with their status\n"
    "  show rule TEXT                one rule: its ACL entries and its state per interface\n"
    "  show unsupported              unsupported qualifiers, rules and infeasible rules\n"
    "  show interfaces               routed interfaces, where flowspec is on and programmed\n"
    "  show summary                  rules per status, hardware bank use, last counter pass\n"
    "  counters refresh              refresh the rules' packet counters and show them\n"
    "  interface enable|disable NAME [--family ipv4|ipv6|both]\n"
    "  interface enable-all on|off\n"
    "  --socket PATH   the agent's control socket (default /run/flowspec-agent/control.sock)\n"
    "  --json          print the agent's JSON reply instead of tables\n"
    "Exit status: 0 done, 1 the agent refused the command, 2 usage error, 3 no agent reached.\n";

}  // namespace

int main(int argc, char** argv) {
  std::string path = Agent::kDefaultControlPath;
  bool json = false;
  std::vector<std::string> words;
  for (int i = 1; i < argc; ++i) {
    std::string const arg = argv[i];
    if (arg == "--socket" && i + 1 < argc && words.empty()) {
      path = argv[++i];
    } else if (arg == "--json") {
      json = true;
    } else if (arg == "--help" && words.empty()) {
      std::fputs(kUsage, stdout);
      return EXIT_SUCCESS;
    } else {
      // A word holding blanks (a quoted rule text) becomes words again, as the agent splits.
      std::istringstream split(arg);
      for (std::string word; split >> word;) {
        words.push_back(word);
      }
    }
  }
  if (words.empty()) {
    std::fputs(kUsage, stderr);
    return kExitUsage;
  }
  std::string request;
  for (auto const& word : words) {
    request += (request.empty() ? "" : " ") + word;
  }

  Agent::ControlClient client(path);
  if (!client.connected()) {
    std::fprintf(stderr, "flowspec-cli: cannot connect to %s: %s\n", path.c_str(),
                 client.error().c_str());
    return kExitUnreachable;
  }
  auto const line = client.request(request);
  if (!line) {
    std::fprintf(stderr, "flowspec-cli: %s closed the connection without a reply\n", path.c_str());
    return kExitUnreachable;
  }
  auto const reply = Agent::parseJsonText(*line);
  if (!reply.error.empty() || !reply.value.is_object()) {
    std::fprintf(stderr, "flowspec-cli: the reply is not a JSON object\n");
    return kExitError;
  }
  bool const ok = reply.value.value("ok", false);
  if (json) {
    std::printf("%s\n", line->c_str());
  } else if (ok) {
    std::fputs(Agent::renderResult(words, reply.value["result"]).c_str(), stdout);
  } else {
    auto const error = reply.value.find("error");
    std::fprintf(stderr, "error: %s\n",
                 error != reply.value.end() && error->is_string()
                     ? error->get<std::string>().c_str()
                     : "(no reason given)");
  }
  return ok ? EXIT_SUCCESS : kExitError;
}
