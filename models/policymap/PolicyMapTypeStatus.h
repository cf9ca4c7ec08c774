#pragma once

#include "models/policymap/PolicyMapStatus.h"
#include "models/policymap/PolicyMapTypes.h"
#include "platform/cog/Record.h"

// Readers of policy status also ask for its refresh.
#include "models/policymap/PolicyMapStatusRequestDir.h"  // IWYU pragma: export

namespace PolicyMap {

// The programming state of every policy of one map type, by exact policy name. Written by the
// programming machinery; a policy's entry appears once the machinery has taken it up.
class PolicyMapTypeStatus : public Cog::Entity {
 public:
  explicit PolicyMapTypeStatus(Cog::String name) : name_(std::move(name)) {}
  COG_RECORD(PolicyMapTypeStatus, (value, MapType, type, Type),
             (orderedChildren, Cog::String, PolicyMapStatus, pmapStatus, PmapStatus));

  Cog::String const& name() const { return name_; }

 private:
  Cog::String name_;
};

}  // namespace PolicyMap
