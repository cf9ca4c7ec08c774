// flowspec-agent: hosts the flowspec library the way a switch's forwarding agent does. It
// mounts the records, loads a scenario into them, creates the root state machine, runs the
// event loop on the steady clock until the work is done, and prints what the system wrote.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "OrbFlowspec/root/FlowspecSm.h"
#include "agent/Hardware.h"
#include "agent/MountedRecords.h"
#include "agent/Progress.h"
#include "agent/Scenario.h"
#include "agent/Show.h"
#include "agent/TableMode.h"
#include "pbr/nft/NftDataplane.h"
#include "platform/kiln/DumpContext.h"
#include "platform/kiln/TaskScheduler.h"

namespace {

constexpr char kUsage[] =
    "usage: flowspec-agent [--scenario FILE] [--max-seconds N] [--dump] [--help]\n"
    "                      [--table NAME [--show-file PATH]] [--dataplane hw|nft]\n"
    "                      [--netns NAME] [--vrf-table VRF=TABLE]... [--hold N]\n"
    "  --scenario FILE   load VRFs, interfaces, flowspec interfaces and rules from FILE (JSON)\n"
    "  --table NAME      take the rules from the shared rule table NAME (not the scenario's) and\n"
    "                    run until SIGINT or SIGTERM\n"
    "  --show-file PATH  with --table: rewrite PATH with the show output whenever work is done\n"
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

constexpr int kExitItemRefused = 1;
constexpr int kExitUsage = 2;

struct Options {
  std::string scenario;
  double maxSeconds = 60.0;
  bool dump = false;
  std::string table;
  std::string showFile;
  bool help = false;
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
    } else if (arg == "--table" && i + 1 < argc) {
      options.table = argv[++i];
    } else if (arg == "--show-file" && i + 1 < argc) {
      options.showFile = argv[++i];
    } else if (arg == "--help") {
      options.help = true;
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
  return (options.showFile.empty() || !options.table.empty()) &&
         (options.dataplane == "hw" || options.dataplane == "nft");
}

// Written whole and renamed into place, so that a reader never sees half of it.
void writeShowFile(std::string const& path, std::string const& text) {
  std::string const temporary = path + ".tmp";
  std::ofstream(temporary) << text;
  std::rename(temporary.c_str(), path.c_str());
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  if (!parseOptions(argc, argv, options)) {
    std::fputs(kUsage, stderr);
    return kExitUsage;
  }
  if (options.help) {
    std::fputs(kUsage, stdout);
    return EXIT_SUCCESS;
  }

  auto scheduler = Kiln::steadyTaskSchedulerFactory();
  Agent::MountedRecords records;
  bool refused = false;
  Agent::HardwareSpec hardwareSpec;
  if (!options.scenario.empty()) {
    Agent::ScenarioResult const loaded = Agent::loadScenarioFile(options.scenario, records);
    std::printf(
        "scenario %s: %zu VRFs, %zu interfaces, %zu flowspec interfaces, %zu rules, "
        "%zu errors, %zu warnings\n",
        options.scenario.c_str(), loaded.vrfs, loaded.interfaces, loaded.enabledInterfaces,
        loaded.rules, loaded.errors.size(), loaded.warnings.size());
    for (auto const& error : loaded.errors) {
      std::printf("  error: %s\n", error.c_str());
    }
    for (auto const& warning : loaded.warnings) {
      std::printf("  warning: %s\n", warning.c_str());
    }
    refused = !loaded.errors.empty();
    hardwareSpec = loaded.hardware;
  }

  std::unique_ptr<Agent::SharedRuleTable> table;
  if (!options.table.empty()) {
    try {
      table = std::make_unique<Agent::SharedRuleTable>(options.table, records);
    } catch (Tidal::TableError const& e) {
      std::fprintf(stderr, "error: %s\n", e.what());
      return EXIT_FAILURE;
    }
    std::printf("table %s: %zu rules\n", options.table.c_str(), records.ruleSet->size());
    std::fflush(stdout);
  }

  // The hardware model, with the scenario's timed packets and counter requests; or the kernel.
  Cog::Ptr<PolicyMap::PolicyMapAclHelper> dataplane;
  std::unique_ptr<Agent::HardwareEvents> events;
  Cog::Ptr<Pbr::HardwareModel> hardware;
  if (options.dataplane == "nft") {
    auto nft = Cog::make<Pbr::NftDataplane>(scheduler, options.netns);
    if (!nft->error().empty()) {
      std::fprintf(stderr, "nftables dataplane: %s\n", nft->error().c_str());
      return EXIT_FAILURE;
    }
    for (auto const& [vrf, routingTable] : options.vrfTables) {
      nft->vrfTableIs(vrf, routingTable);
    }
    dataplane = nft;
  } else {
    hardware = Agent::hardwareFor(records, scheduler, hardwareSpec);
    dataplane = hardware;
  }
  auto flowspecSm = OrbFlowspec::flowspecSmFactory(records.mounts, dataplane, scheduler,
                                                   scheduler->timerWheel(), records.ocsd);
  auto const progress = Agent::startupProgress(scheduler, records, flowspecSm);
  if (hardware) {
    events = std::make_unique<Agent::HardwareEvents>(hardwareSpec, hardware, records, scheduler);
  }
  bool done = true;
  if (table) {
    Agent::runUntilSignalled(*scheduler, *table, [&] {
      if (!options.showFile.empty()) {
        writeShowFile(options.showFile, Agent::showFlowspec(*flowspecSm));
      }
    });
  } else {
    done = scheduler->runUntilNoWork(options.maxSeconds);
  }
  if (progress) {
    progress->finish();
  }
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
  return refused ? kExitItemRefused : EXIT_SUCCESS;
}
