#pragma once

#include "models/policymap/PolicyMapConfig.h"

namespace PolicyMap {

// The policy-maps of one map type: inputs, published configurations and counter update
// requests by policy name.
class PolicyMapTypeConfig : public Cog::Entity {
 public:
  PolicyMapTypeConfig(Cog::String name, MapType mapType)
      : name_(std::move(name)), mapType_(mapType) {}
  COG_RECORD(PolicyMapTypeConfig,
             (orderedChildren, Cog::String, PolicyMapConfig, pmapInput, PmapInput),
             (orderedMap, Cog::String, Cog::Ptr<PolicyMapConfig>, pmap, Pmap),
             (orderedMap, Cog::String, double, counterUpdateRequestTime, CounterUpdateRequestTime));
  Cog::String const& name() const { return name_; }
  MapType mapType() const { return mapType_; }
  bool constructedWith(MapType mapType) const { return mapType == mapType_; }
  void pmapIs(Cog::Ptr<PolicyMapConfig> const& pmap) { pmapIs(pmap->name(), pmap); }

 private:
  Cog::String name_;
  MapType mapType_;
};

}  // namespace PolicyMap
