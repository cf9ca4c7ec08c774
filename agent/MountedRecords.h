#pragma once

#include "OrbFlowspec/root/FlowspecMounts.h"

namespace Agent {

// The records that a switch's state database would mount for the flowspec feature, created in
// process, with writable handles kept for the scenario loader (which plays the routing process,
// the interface manager and the operator).
struct MountedRecords {
  MountedRecords();

  Cog::Ptr<Flowspec::RuleSet> ruleSet;
  Cog::Ptr<Flowspec::Config> config;
  Cog::Ptr<Flowspec::CliConfig> cliConfig;
  Cog::Ptr<Flowspec::Status> status;
  Cog::Ptr<L3::Intf::StatusDir> l3StatusDir;
  Cog::Ptr<Vrf::VrfIdMap::Status> vrfIdStatus;
  Cog::Ptr<Acl::StatusDp> aclStatusDp;
  Cog::Ptr<Orb::OrbCommonSmData> ocsd;
  // All eighteen, as the library receives them.
  Cog::Ptr<OrbFlowspec::FlowspecMounts> mounts;
};

}  // namespace Agent
