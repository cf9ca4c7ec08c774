#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "models/flowspec/FlowspecKey.h"
#include "models/flowspec/HwRuleProgrammingStatus.h"
#include "models/flowspec/MatchCompType.h"
#include "models/pbr/PbrFwdAction.h"
#include "models/vrf/VrfId.h"
#include "platform/cog/Record.h"
#include "platform/kiln/DumpContext.h"
#include "platform/kiln/UniqueId.h"
#include "platform/nwk/AddressFamily.h"
#include "platform/nwk/IntfId.h"

namespace Flowspec {

// The hardware state of one rule: its status code and the reason when it is not installed,
// and its counters when they were last refreshed.
class RuleStatus : public Cog::Entity {
 public:
  explicit RuleStatus(FlowspecKey key) : key_(std::move(key)) {}

  COG_RECORD(RuleStatus, (value, HwRuleProgrammingStatus, statusCode, StatusCode),
             (value, Cog::String, errorReason, ErrorReason),
             (value, std::uint64_t, packetCount, PacketCount),
             (value, Pbr::ResolvedNexthopInfo, resolvedNexthopInfo, ResolvedNexthopInfo),
             (value, Kiln::UniqueId, version, Version));

  FlowspecKey const& key() const { return key_; }

 private:
  FlowspecKey key_;
};

// The interfaces of one address family on which a VRF's flowspec policy is installed.
class AfIntfColl : public Cog::Entity {
 public:
  explicit AfIntfColl(Nwk::AddressFamily af) : af_(af) {}
  COG_RECORD(AfIntfColl, (orderedSet, Nwk::IntfId, intf, Intf));
  Nwk::AddressFamily af() const { return af_; }

 private:
  Nwk::AddressFamily af_;
};

// An interface and address family on which installing a VRF's policy failed.
struct IntfErrorKey {
  Nwk::IntfId intfId;
  Nwk::AddressFamily af = Nwk::AddressFamily::none;

  IntfErrorKey() = default;
  IntfErrorKey(Nwk::IntfId intf, Nwk::AddressFamily family) : intfId(std::move(intf)), af(family) {}
  auto operator<=>(IntfErrorKey const&) const = default;
  bool operator==(IntfErrorKey const&) const = default;
  // "Ethernet1,ipv4".
  std::string toStrep() const;
};

// The per-rule status of one VRF, with the interfaces where its policy is installed or failed.
class VrfRuleStatus : public Cog::Entity {
 public:
  explicit VrfRuleStatus(Vrf::VrfIdMap::VrfId vrfId) : vrfId_(vrfId) {}

  COG_RECORD(VrfRuleStatus, (orderedChildren, FlowspecKey, RuleStatus, ruleStatus, RuleStatus),
             (orderedChildren, Nwk::AddressFamily, AfIntfColl, activeIntfPerAf, ActiveIntfPerAf),
             (orderedMap, IntfErrorKey, Cog::String, intfError, IntfError));

  Vrf::VrfIdMap::VrfId vrfId() const { return vrfId_; }
  void dumpState(Kiln::DumpContext* ctx, int indent) const;

 private:
  Vrf::VrfIdMap::VrfId vrfId_;
};

// The match qualifiers that the line cards cannot do for one address family, as flowspec
// component types with the line cards' qualifier names.
class UnsupportedQual {
 public:
  using Quals = std::map<MatchCompType, Cog::String>;

  Quals const& qual() const { return qual_; }
  bool qual(MatchCompType type) const { return qual_.count(type) > 0; }
  void qualIs(MatchCompType type, Cog::String const& name) { qual_[type] = name; }
  bool empty() const { return qual_.empty(); }
  bool operator==(UnsupportedQual const&) const = default;
  // "{5 l4-dst-port, 9 tcp-control}".
  std::string toStrep() const;

 private:
  Quals qual_;
};

// What the system publishes: per-VRF rule status, unsupported qualifiers per address family,
// whether flowspec is supported at all, and when the counters were last refreshed.
class Status : public Cog::Entity {
 public:
  COG_RECORD(Status,
             (orderedChildren, Vrf::VrfIdMap::VrfId, VrfRuleStatus, vrfRuleStatus, VrfRuleStatus),
             (orderedMap, Nwk::AddressFamily, UnsupportedQual, unsupportedQual, UnsupportedQual),
             (value, bool, flowspecSupported, FlowspecSupported),
             (value, double, counterUpdateTime, CounterUpdateTime));

  void dumpState(Kiln::DumpContext* ctx, int indent) const;
};

}  // namespace Flowspec
