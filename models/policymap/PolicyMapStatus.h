#pragma once

#include "models/policymap/ClassMapStatus.h"
#include "models/policymap/IntfStatus.h"
#include "platform/cog/Record.h"
#include "platform/cog/SharedString.h"
#include "platform/kiln/UniqueId.h"
#include "platform/nwk/IntfId.h"

namespace PolicyMap {

// The programming state of one policy, written by the programming machinery: its class-maps
// by name, its interfaces, when its counters were last read and the policy version applied.
class PolicyMapStatus : public Cog::Entity {
 public:
  explicit PolicyMapStatus(Cog::String name) : name_(std::move(name)) {}
  COG_RECORD(PolicyMapStatus, (orderedChildren, Cog::SharedString, ClassMapStatus, cmap, Cmap),
             (orderedChildren, Nwk::IntfId, IntfStatus, intfStatus, IntfStatus),
             (value, double, counterUpdateTime, CounterUpdateTime),
             (value, Kiln::UniqueId, version, Version));

  Cog::String const& name() const { return name_; }

 private:
  Cog::String name_;
};

}  // namespace PolicyMap
