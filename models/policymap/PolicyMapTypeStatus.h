#pragma once

#include <cstdint>

#include "models/policymap/PolicyMapTypes.h"
#include "platform/cog/Record.h"
#include "platform/kiln/UniqueId.h"
#include "platform/nwk/IntfId.h"

namespace PolicyMap {

// The programming state of one class-map of a policy.
class ClassMapStatus : public Cog::Entity {
 public:
  explicit ClassMapStatus(Cog::String name) : name_(std::move(name)) {}
  COG_RECORD(ClassMapStatus,
             (value, ClassState, classState, ClassState),
             (value, std::uint64_t, packetCount, PacketCount),
             (value, Kiln::UniqueId, version, Version));
  Cog::String const& name() const { return name_; }

 private:
  Cog::String name_;
};

// Whether a policy is installed on one interface, per match option.
class IntfStatus : public Cog::Entity {
 public:
  explicit IntfStatus(Nwk::IntfId intfId) : intfId_(std::move(intfId)) {}
  COG_RECORD(IntfStatus, (orderedMap, ClassMapMatchOption, InstalledStatus, installed, Installed));
  Nwk::IntfId const& intfId() const { return intfId_; }

 private:
  Nwk::IntfId intfId_;
};

// The programming state of one policy.
class PolicyMapStatus : public Cog::Entity {
 public:
  explicit PolicyMapStatus(Cog::String name) : name_(std::move(name)) {}
  COG_RECORD(PolicyMapStatus,
             (orderedChildren, Cog::String, ClassMapStatus, cmap, Cmap),
             (orderedChildren, Nwk::IntfId, IntfStatus, intfStatus, IntfStatus),
             (value, double, counterUpdateTime, CounterUpdateTime),
             (value, Kiln::UniqueId, version, Version));
  Cog::String const& name() const { return name_; }

 private:
  Cog::String name_;
};

// The programming state of every policy of one map type, by policy name.
class PolicyMapTypeStatus : public Cog::Entity {
 public:
  explicit PolicyMapTypeStatus(Cog::String name) : name_(std::move(name)) {}
  COG_RECORD(PolicyMapTypeStatus,
             (value, MapType, type, Type),
             (orderedChildren, Cog::String, PolicyMapStatus, pmapStatus, PmapStatus));
  Cog::String const& name() const { return name_; }

 private:
  Cog::String name_;
};

}  // namespace PolicyMap
