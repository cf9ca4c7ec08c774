#pragma once

#include <string>

#include "OrbFlowspec/root/FlowspecSm.h"
#include "agent/MountedRecords.h"
#include "pbr/hwmodel/HardwareModel.h"
#include "platform/kiln/TaskScheduler.h"

namespace OrbFlowspecTest {

// The whole stack under simulated time: mounted records as the agent builds them, the root
// state machine, and the scheduler that runs it. Tests play the routing process (VRFs and
// rules), the interface manager and the operator through the helpers below, run the loop, and
// read the records the system writes.
class StackHarness {
 public:
  StackHarness();
  ~StackHarness();

  // Creates the root state machine (again, after stop(), to test restarts).
  void start();
  // Drops the root state machine; what it wrote stays in the records.
  void stop();

  void vrfIs(Vrf::VrfIdMap::VrfId vrfId, std::string const& name);
  void vrfDel(Vrf::VrfIdMap::VrfId vrfId);
  void intfIs(std::string const& intf, std::string const& vrf);
  void intfDel(std::string const& intf);
  void enabledIntfIs(std::string const& intf, Flowspec::IpVersion version);
  void enabledIntfAllIs(bool all);
  // Publishes a raw rule; `match` is in the rule text syntax.
  Flowspec::FlowspecTidalKey ruleIs(Vrf::VrfIdMap::VrfId vrfId, std::string const& match,
                                    std::uint64_t ruleId = 1,
                                    Flowspec::ActionFieldSet actions =
                                        Flowspec::ActionFieldSet(Flowspec::ActionFieldSet::kPermit),
                                    Flowspec::TrafficRedirect redirect = {});
  void ruleIs(Flowspec::Rule const& rule);
  void ruleDel(Vrf::VrfIdMap::VrfId vrfId, std::string const& match);

  // Runs ready tasks and due timers without moving time.
  void runUntilIdle();
  // Moves simulated time forward by `seconds`, firing timers on the way.
  void runFor(double seconds);
  // Runs until no task is ready and no timer is armed.
  void settle();

  // Every record the system writes, as canonical text without versions and identities: two
  // stacks that converged print the same.
  std::string outputs() const;

  // The line card every interface of intfIs sits on, unless a test placed it first.
  static constexpr char kLineCard[] = "lc1";

  Cog::Ptr<Kiln::TaskScheduler> scheduler;
  Agent::MountedRecords records;          // as the agent mounts them
  Cog::Ptr<Pbr::HardwareModel> hardware;  // the dataplane the policies are programmed into
  Cog::Ptr<Flowspec::RuleSet> const& ruleSet = records.ruleSet;
  Cog::Ptr<Flowspec::Config> const& config = records.config;
  Cog::Ptr<Flowspec::CliConfig> const& cliConfig = records.cliConfig;
  Cog::Ptr<Flowspec::Status> const& status = records.status;
  Cog::Ptr<L3::Intf::StatusDir> const& l3StatusDir = records.l3StatusDir;
  Cog::Ptr<Vrf::VrfIdMap::Status> const& vrfIdStatus = records.vrfIdStatus;
  Cog::Ptr<OrbFlowspec::FlowspecSm> root;
};

}  // namespace OrbFlowspecTest
