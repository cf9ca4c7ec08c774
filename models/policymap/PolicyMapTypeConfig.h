#pragma once

#include "models/policymap/PolicyMapConfig.h"
#include "platform/cog/Record.h"

namespace PolicyMap {

// The policy-maps of one map type. `pmapInput` owns the policy-maps being written; `pmap` is
// what the programming machinery reads, the same objects registered once they are usable.
// `counterUpdateRequestTime` asks the machinery to refresh a policy's counters: the request
// time of each policy by name.
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
  // Publishes the policy-map under its own name.
  void pmapIs(Cog::Ptr<PolicyMapConfig> const& pmap) { pmapIs(pmap->name(), pmap); }

 private:
  Cog::String name_;
  MapType mapType_;
};

}  // namespace PolicyMap
