// flowspec-agent: hosts the flowspec library the way a switch's forwarding agent does. It
// mounts the records, loads a scenario into them, creates the root state machine, runs the
// event loop on the steady clock until the work is done, and prints what the system wrote.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "OrbFlowspec/root/FlowspecSm.h"
#include "agent/Hardware.h"
#include "agent/MountedRecords.h"
#include "agent/Scenario.h"
#include "agent/Show.h"
#include "pbr/nft/NftDataplane.h"
#include "platform/kiln/DumpContext.h"
#include "platform/kiln/TaskScheduler.h"

namespace {

constexpr char kUsage[] =
    "usage: flowspec-agent [--scenario FILE] [--max-seconds N] [--dump] [--dataplane hw|nft]\n"
    "                      [--netns NAME] [--vrf-table VRF=TABLE]... [--hold N]\n"
    "  --scenario FILE   load VRFs, interfaces, flowspec interfaces and rules from FILE (JSON)\n"
    "  --max-seconds N   stop the event loop after N seconds even if work remains (default 60)\n"
    "  --dump            print the state machines' dumps as well\n"
    "  --dataplane KIND  hw (the hardware model, default) or nft (nftables in the kernel)\n"
    "  --netns NAME      with nft: program the network namespace NAME\n"
    "  --vrf-table V=T   with nft: VRF V redirects to routing table T (packet mark T)\n"
    "  --hold N          keep forwarding N seconds after the work is done, then show\n"
    "Trace text levels: ORBFLOWSPEC_TRACE=\"Handle=level,...,*=level\".\n";

struct Options {
  std::string scenario;
  double maxSeconds = 60.0;
  bool dump = false;
  std::string dataplane = "hw";
  std::string netns;
  std::vector<std::pair<std::string, std::uint32_t>> vrfTables;
  double hold = 0;
};

bool parseOptions(int argc, char** argv, Options& options) {
  for (int i = 1; i < argc; ++i) {
    std::string const arg = argv[i];
    if (arg == "--scenario" && i + 1 < argc) {
      options.scenario = argv[++i];
    } else if (arg == "--dump") {
      options.dump = true;
    } else if (arg == "--dataplane" && i + 1 < argc) {
      options.dataplane = argv[++i];
    } else if (arg == "--netns" && i + 1 < argc) {
      options.netns = argv[++i];
    } else if (arg == "--vrf-table" && i + 1 < argc) {
      std::string const spec = argv[++i];
      auto const eq = spec.find('=');
      char* end = nullptr;
      unsigned long const table =
          eq == std::string::npos ? 0 : std::strtoul(spec.c_str() + eq + 1, &end, 10);
      if (table == 0 || table > 0xffffffffu || *end != '\0') {
        return false;
      }
      options.vrfTables.emplace_back(spec.substr(0, eq), static_cast<std::uint32_t>(table));
    } else if (arg == "--hold" && i + 1 < argc) {
      options.hold = std::strtod(argv[++i], nullptr);
    } else if (arg == "--max-seconds" && i + 1 < argc) {
      char* end = nullptr;
      options.maxSeconds = std::strtod(argv[++i], &end);
      if (*end != '\0' || !(options.maxSeconds > 0)) {
        return false;
      }
    } else {
      return false;
    }
  }
  return options.dataplane == "hw" || options.dataplane == "nft";
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  if (!parseOptions(argc, argv, options)) {
    std::fputs(kUsage, stderr);
    return 2;
  }

  auto scheduler = Kiln::steadyTaskSchedulerFactory();
  Agent::MountedRecords records;
  if (!options.scenario.empty()) {
    Agent::ScenarioResult const loaded = Agent::loadScenarioFile(options.scenario, records);
    std::printf("scenario %s: %zu VRFs, %zu interfaces, %zu flowspec interfaces, %zu rules, "
                "%zu errors\n",
                options.scenario.c_str(), loaded.vrfs, loaded.interfaces,
                loaded.enabledInterfaces, loaded.rules, loaded.errors.size());
    for (auto const& error : loaded.errors) {
      std::printf("  error: %s\n", error.c_str());
    }
  }

  Cog::Ptr<PolicyMap::PolicyMapAclHelper> hardware;
  if (options.dataplane == "nft") {
    auto nft = Cog::make<Pbr::NftDataplane>(scheduler, options.netns);
    if (!nft->error().empty()) {
      std::fprintf(stderr, "nftables dataplane: %s\n", nft->error().c_str());
      return EXIT_FAILURE;
    }
    for (auto const& [vrf, table] : options.vrfTables) {
      nft->vrfTableIs(vrf, table);
    }
    hardware = nft;
  } else {
    hardware = Agent::hardwareFor(records, scheduler);
  }
  auto flowspecSm = OrbFlowspec::flowspecSmFactory(records.mounts, hardware, scheduler,
                                                   scheduler->timerWheel(), records.ocsd);
  bool const done = scheduler->runUntilNoWork(options.maxSeconds);
  if (options.hold > 0) {
    scheduler->runFor(options.hold);
  }

  std::printf("%s", Agent::showFlowspec(*flowspecSm).c_str());
  if (options.dump) {
    Kiln::DumpContext dump;
    flowspecSm->dumpState(&dump, 0);
    std::printf("%s\n", dump.text().c_str());
  }
  if (!done) {
    std::printf("stopped after %.1f s with work remaining\n", options.maxSeconds);
  }
  return EXIT_SUCCESS;
}
