#include "agent/Options.h"

#include <cstdlib>

namespace Agent {

char const kUsage[] =
    "usage: flowspec-agent [--scenario FILE] [--max-seconds N] [--dump] [--help]\n"
    "                      [--table NAME] [--show-file PATH] [--control PATH]\n"
    "                      [--dataplane hw|nft] [--netns NAME] [--vrf-table VRF=TABLE]...\n"
    "                      [--hold N]\n"
    "  --scenario FILE   load VRFs, interfaces, flowspec interfaces and rules from FILE (JSON)\n"
    "  --table NAME      take the rules from the shared rule table NAME (not the scenario's) and\n"
    "                    run until SIGINT or SIGTERM\n"
    "  --show-file PATH  with --table or --control: rewrite PATH with the show output whenever\n"
    "                    work is done\n"
    "  --control PATH    serve flowspec-cli on the Unix socket PATH (owner only) and run until\n"
    "                    SIGINT or SIGTERM\n"
    "  --max-seconds N   stop the event loop after N seconds even if work remains (default 60)\n"
    "  --dump            print the state machines' dumps as well\n"
    "  --dataplane KIND  hw (the hardware model, default) or nft (nftables in the kernel)\n"
    "  --netns NAME      with nft: program the network namespace NAME\n"
    "  --vrf-table V=T   with nft: VRF V redirects to routing table T (packet mark T)\n"
    "  --hold N          keep forwarding N seconds after the work is done, then show\n"
    "  --help            print this text\n"
    "Exit status: 0 when the scenario loaded without error (warnings allowed), 1 when some item\n"
    "of it was refused (the rest still ran), 2 for a usage error.\n"
    "Trace text levels: ORBFLOWSPEC_TRACE=\"Handle=level,...,*=level\".\n";

namespace {

bool parseVrfTable(std::string const& spec, Options& options) {
  auto const eq = spec.find('=');
  if (eq == std::string::npos) {
    return false;
  }
  char* end = nullptr;
  unsigned long const table = std::strtoul(spec.c_str() + eq + 1, &end, 10);
  if (table == 0 || table > 0xffffffffu || *end != '\0') {
    return false;
  }
  options.vrfTables.emplace_back(spec.substr(0, eq), static_cast<std::uint32_t>(table));
  return true;
}

// A positive number of seconds, the whole argument.
bool parseSeconds(char const* text, double& seconds) {
  char* end = nullptr;
  seconds = std::strtod(text, &end);
  return end != text && *end == '\0' && seconds > 0;
}

}  // namespace

bool parseOptions(int argc, char const* const* argv, Options& options) {
  for (int i = 1; i < argc; ++i) {
    std::string const arg = argv[i];
    bool const hasValue = i + 1 < argc;
    if (arg == "--help") {
      options.help = true;
    } else if (arg == "--dump") {
      options.dump = true;
    } else if (!hasValue) {
      return false;
    } else if (arg == "--scenario") {
      options.scenario = argv[++i];
    } else if (arg == "--table") {
      options.table = argv[++i];
    } else if (arg == "--show-file") {
      options.showFile = argv[++i];
    } else if (arg == "--control") {
      options.control = argv[++i];
      if (options.control.empty()) {
        return false;
      }
    } else if (arg == "--dataplane") {
      options.dataplane = argv[++i];
    } else if (arg == "--netns") {
      options.netns = argv[++i];
    } else if (arg == "--vrf-table") {
      if (!parseVrfTable(argv[++i], options)) {
        return false;
      }
    } else if (arg == "--hold") {
      if (!parseSeconds(argv[++i], options.hold)) {
        return false;
      }
    } else if (arg == "--max-seconds") {
      if (!parseSeconds(argv[++i], options.maxSeconds)) {
        return false;
      }
    } else {
      return false;
    }
  }
  return (options.showFile.empty() || options.longRunning()) &&
         (options.dataplane == "hw" || options.dataplane == "nft");
}

}  // namespace Agent
