#pragma once

#include "models/policymap/PolicyMapTypes.h"
#include "platform/cog/Record.h"
#include "platform/nwk/IntfId.h"

namespace PolicyMap {

// Which policy applies to each interface, for one map type: interface to policy name. The
// policy named need not exist yet; the programming machinery applies it once it does.
class IntfConfig : public Cog::Entity {
 public:
  explicit IntfConfig(Cog::String name) : name_(std::move(name)) {}
  COG_RECORD(IntfConfig, (value, MapType, type, Type),
             (orderedMap, Nwk::IntfId, Cog::String, intf, Intf));

  Cog::String const& name() const { return name_; }

 private:
  Cog::String name_;
};

}  // namespace PolicyMap
