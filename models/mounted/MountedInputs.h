#pragma once

// The records that the policy programming machinery reads besides the policy-maps: ACL
// configuration, field sets, link aggregation, IP status and next hops. The flowspec library
// passes them through to the machinery; each is kept to what the machinery needs.
#include "platform/cog/Record.h"
#include "platform/nwk/IntfId.h"
#include "platform/nwk/IpGenAddr.h"

namespace MountedDetail {

// A named record with entries keyed by name.
class NamedRecord : public Cog::Entity {
 public:
  explicit NamedRecord(Cog::String name) : name_(std::move(name)) {}
  COG_RECORD(NamedRecord, (orderedMap, Cog::String, Cog::String, entry, Entry));
  Cog::String const& name() const { return name_; }

 private:
  Cog::String name_;
};

}  // namespace MountedDetail

namespace Acl {
// ACL definitions, by name.
class Config : public MountedDetail::NamedRecord {
  using NamedRecord::NamedRecord;
};
// ACL changes under way.
class AclDiff : public MountedDetail::NamedRecord {
  using NamedRecord::NamedRecord;
};
}  // namespace Acl

namespace Classification {
// Field sets (lists of prefixes or ports) that ACLs refer to.
class FieldSetConfig : public MountedDetail::NamedRecord {
  using NamedRecord::NamedRecord;
};
}  // namespace Classification

namespace Lag::Input {
// Link aggregation membership, member interface to port-channel.
class Config : public MountedDetail::NamedRecord {
  using NamedRecord::NamedRecord;
};
}  // namespace Lag::Input

namespace Ip {
// IPv4 interface status.
class Status : public MountedDetail::NamedRecord {
  using NamedRecord::NamedRecord;
};
}  // namespace Ip

namespace Ip6 {
// IPv6 interface status.
class Status : public MountedDetail::NamedRecord {
  using NamedRecord::NamedRecord;
};
}  // namespace Ip6

namespace Orb {
// Next hops and next-hop groups that PBR actions resolve to.
class NexthopConfig : public MountedDetail::NamedRecord {
  using NamedRecord::NamedRecord;
};
class NexthopStatus : public MountedDetail::NamedRecord {
  using NamedRecord::NamedRecord;
};
class NexthopGroupConfig : public MountedDetail::NamedRecord {
  using NamedRecord::NamedRecord;
};
class NexthopGroupStatus : public MountedDetail::NamedRecord {
  using NamedRecord::NamedRecord;
};

// The agent's common PBR data: per-interface binding information.
class OrbCommonSmData : public Cog::Entity {
 public:
  explicit OrbCommonSmData(Cog::String name) : name_(std::move(name)) {}
  COG_RECORD(OrbCommonSmData, (orderedMap, Nwk::IntfId, std::uint32_t, intf, Intf));
  Cog::String const& name() const { return name_; }

 private:
  Cog::String name_;
};
}  // namespace Orb
