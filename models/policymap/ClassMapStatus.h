#pragma once

#include <cstdint>

#include "models/policymap/PolicyMapTypes.h"
#include "platform/cog/Record.h"
#include "platform/cog/SharedString.h"
#include "platform/kiln/UniqueId.h"

namespace PolicyMap {

// The programming state of one class-map of a policy, written by the programming machinery:
// its state, its packet counter and the class-map version that state refers to.
class ClassMapStatus : public Cog::Entity {
 public:
  explicit ClassMapStatus(Cog::SharedString name) : name_(std::move(name)) {}
  COG_RECORD(ClassMapStatus, (value, ClassState, classState, ClassState),
             (value, std::uint64_t, packetCount, PacketCount),
             (value, Kiln::UniqueId, version, Version));

  Cog::SharedString const& name() const { return name_; }

 private:
  Cog::SharedString name_;
};

}  // namespace PolicyMap
