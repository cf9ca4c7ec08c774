#pragma once

#include "models/aclstatus/StatusDp.h"
#include "models/flowspec/CliConfig.h"
#include "models/flowspec/Config.h"
#include "models/flowspec/Rule.h"
#include "models/flowspec/Status.h"
#include "models/l3/IntfStatus.h"
#include "models/mounted/MountedInputs.h"
#include "models/vrf/VrfIdMap.h"
#include "platform/cog/Dir.h"
#include "platform/cog/Record.h"

namespace OrbFlowspec {

// The records that the agent mounts from the state database for the flowspec feature: the
// whole input/output boundary of the library. The agent fills every attribute before it
// creates the root state machine; the library only reads the references and never replaces
// them.
class FlowspecMounts : public Cog::Entity {
 public:
  COG_RECORD(FlowspecMounts, (ptr, Flowspec::RuleSet const, flowspecTidal, FlowspecTidal),
             (ptr, Flowspec::Config, flowspecConfig, FlowspecConfig),
             (ptr, Flowspec::CliConfig const, flowspecCliConfig, FlowspecCliConfig),
             (ptr, Flowspec::Status, flowspecStatus, FlowspecStatus),
             (ptr, L3::Intf::StatusDir const, l3StatusDir, L3StatusDir),
             (ptr, Vrf::VrfIdMap::Status const, vrfIdStatus, VrfIdStatus),
             (ptr, Acl::StatusDp const, aclStatusDp, AclStatusDp),
             (ptr, Acl::Config const, aclConfig, AclConfig),
             (ptr, Classification::FieldSetConfig const, fieldSetConfig, FieldSetConfig),
             (ptr, Lag::Input::Config const, lagInputConfig, LagInputConfig),
             (ptr, Ip::Status const, ipStatus, IpStatus),
             (ptr, Ip6::Status const, ip6Status, Ip6Status),
             (ptr, Cog::Dir const, routingVrfInfoDir, RoutingVrfInfoDir),
             (ptr, Cog::Dir const, routing6VrfInfoDir, Routing6VrfInfoDir),
             (ptr, Orb::NexthopConfig, nexthopConfig, NexthopConfig),
             (ptr, Orb::NexthopStatus const, nexthopStatus, NexthopStatus),
             (ptr, Orb::NexthopGroupConfig, nexthopGroupConfig, NexthopGroupConfig),
             (ptr, Orb::NexthopGroupStatus const, nexthopGroupStatus, NexthopGroupStatus));
};

// A new FlowspecMounts with every attribute empty.
Cog::Ptr<FlowspecMounts> flowspecMountsFactory();

}  // namespace OrbFlowspec
