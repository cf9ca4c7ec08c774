#include "agent/MountedRecords.h"

namespace Agent {

MountedRecords::MountedRecords()
    : ruleSet(Cog::make<Flowspec::RuleSet>()),
      config(Cog::make<Flowspec::Config>()),
      cliConfig(Cog::make<Flowspec::CliConfig>()),
      status(Cog::make<Flowspec::Status>()),
      l3StatusDir(Cog::make<L3::Intf::StatusDir>()),
      vrfIdStatus(Cog::make<Vrf::VrfIdMap::Status>()),
      aclStatusDp(Cog::make<Acl::StatusDp>("aclStatusDp")),
      ocsd(Cog::make<Orb::OrbCommonSmData>("ocsd")),
      mounts(OrbFlowspec::flowspecMountsFactory()) {
  mounts->flowspecTidalIs(ruleSet);
  mounts->flowspecConfigIs(config);
  mounts->flowspecCliConfigIs(cliConfig);
  mounts->flowspecStatusIs(status);
  mounts->l3StatusDirIs(l3StatusDir);
  mounts->vrfIdStatusIs(vrfIdStatus);
  mounts->aclStatusDpIs(aclStatusDp);
  mounts->aclConfigIs(Cog::make<Acl::Config>("aclConfig"));
  mounts->fieldSetConfigIs(Cog::make<Classification::FieldSetConfig>("fieldSetConfig"));
  mounts->lagInputConfigIs(Cog::make<Lag::Input::Config>("lagInputConfig"));
  mounts->ipStatusIs(Cog::make<Ip::Status>("ipStatus"));
  mounts->ip6StatusIs(Cog::make<Ip6::Status>("ip6Status"));
  mounts->routingVrfInfoDirIs(Cog::make<Cog::Dir>("routingVrfInfo"));
  mounts->routing6VrfInfoDirIs(Cog::make<Cog::Dir>("routing6VrfInfo"));
  mounts->nexthopConfigIs(Cog::make<Orb::NexthopConfig>("nexthopConfig"));
  mounts->nexthopStatusIs(Cog::make<Orb::NexthopStatus>("nexthopStatus"));
  mounts->nexthopGroupConfigIs(Cog::make<Orb::NexthopGroupConfig>("nexthopGroupConfig"));
  mounts->nexthopGroupStatusIs(Cog::make<Orb::NexthopGroupStatus>("nexthopGroupStatus"));
}

}  // namespace Agent
