// flowspec-agent: hosts the flowspec library the way a switch's forwarding agent does. It
// mounts the records, loads a scenario into them, creates the root state machine, runs the
// event loop on the steady clock until the work is done (or, on a shared table or with a
// control socket, until a signal), and prints what the system wrote.
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>

#include "OrbFlowspec/root/FlowspecSm.h"
#include "agent/ControlCommands.h"
#include "agent/ControlServer.h"
#include "agent/EventLoop.h"
#include "agent/Hardware.h"
#include "agent/HardwareLayout.h"
#include "agent/MountedRecords.h"
#include "agent/Options.h"
#include "agent/Progress.h"
#include "agent/Scenario.h"
#include "agent/Show.h"
#include "agent/TableMode.h"
#include "pbr/nft/NftDataplane.h"
#include "platform/kiln/DumpContext.h"
#include "platform/kiln/TaskScheduler.h"

namespace {

constexpr int kExitItemRefused = 1;
constexpr int kExitUsage = 2;

// Written whole and renamed into place, so that a reader never sees half of it.
void writeShowFile(std::string const& path, std::string const& text) {
  std::string const temporary = path + ".tmp";
  std::ofstream(temporary) << text;
  std::rename(temporary.c_str(), path.c_str());
}

// The long-running agent: the shared table's changes, the control socket's requests and the
// scheduler's work, until SIGINT or SIGTERM. False when the control socket cannot be set up.
bool runUntilSignalled(Agent::Options const& options, Kiln::TaskScheduler& scheduler,
                       Agent::SharedRuleTable* table, OrbFlowspec::FlowspecSm const& flowspecSm,
                       Agent::MountedRecords& records, Agent::HardwareLayout const& layout) {
  Agent::EventLoop loop(scheduler);
  if (table) {
    loop.fdIs(table->fd(), POLLIN, [table](short) { table->applyChanges(); });
    // Changes made between mapping the table and starting the waiter signal nothing.
    table->applyChanges();
  }
  std::unique_ptr<Agent::ControlCommands> commands;
  std::unique_ptr<Agent::ControlServer> server;
  if (!options.control.empty()) {
    commands = std::make_unique<Agent::ControlCommands>(flowspecSm, records, layout,
                                                        flowspecSm.scheduler());
    try {
      server = std::make_unique<Agent::ControlServer>(
          options.control, loop,
          [&commands](std::string const& request, Agent::ControlServer::Reply reply) {
            commands->request(request, reply);
          });
    } catch (std::runtime_error const& e) {
      std::fprintf(stderr, "error: %s\n", e.what());
      return false;
    }
    std::printf("control socket %s\n", options.control.c_str());
    std::fflush(stdout);
  }
  loop.run(
      [&] {
        if (commands) {
          commands->counterRefreshCheck();
        }
      },
      [&] {
        if (!options.showFile.empty()) {
          writeShowFile(options.showFile, Agent::showFlowspec(flowspecSm));
        }
      });
  return true;
}

// Freeing a hundred thousand rules' state machines and records takes as long as a good part of
// building them, for memory the process is about to give back whole: the agent leaves without.
// The sanitizer build tears down as usual, so that leaks are still found.
void exitWithoutTeardown(int status) {
#ifndef __SANITIZE_ADDRESS__
  std::fflush(stdout);
  std::fflush(stderr);
  std::_Exit(status);
#else
  (void)status;
#endif
}

}  // namespace

int main(int argc, char** argv) {
  Agent::Options options;
  if (!Agent::parseOptions(argc, argv, options)) {
    std::fputs(Agent::kUsage, stderr);
    return kExitUsage;
  }
  if (options.help) {
    std::fputs(Agent::kUsage, stdout);
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
  Cog::Ptr<Pbr::NftDataplane> nft;
  if (options.dataplane == "nft") {
    nft = Cog::make<Pbr::NftDataplane>(scheduler, options.netns);
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
  if (options.longRunning()) {
    Agent::HardwareLayout layout{hardware, hardwareSpec};
    if (!runUntilSignalled(options, *scheduler, table.get(), *flowspecSm, records, layout)) {
      return EXIT_FAILURE;
    }
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
  if (nft) {
    nft->withdrawAll();
  }
  exitWithoutTeardown(refused ? kExitItemRefused : EXIT_SUCCESS);
  return refused ? kExitItemRefused : EXIT_SUCCESS;
}
