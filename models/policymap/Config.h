#pragma once

#include "models/policymap/ClassMapTypeConfig.h"
#include "models/policymap/PolicyMapTypeConfig.h"
#include "platform/kiln/DumpContext.h"

namespace PolicyMap {

// A policy-map configuration tree: class-map types and policy-map types by name.
class Config : public Cog::Entity {
 public:
  explicit Config(Cog::String name) : name_(std::move(name)) {}
  COG_RECORD(Config,
             (orderedChildren, Cog::String, ClassMapTypeConfig, cmapType, CmapType),
             (orderedChildren, Cog::String, PolicyMapTypeConfig, pmapType, PmapType));
  Cog::String const& name() const { return name_; }
  void dumpState(Kiln::DumpContext* ctx, int indent) const;

 private:
  Cog::String name_;
};

}  // namespace PolicyMap
