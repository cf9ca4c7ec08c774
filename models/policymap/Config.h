#pragma once

#include "models/policymap/ClassMapTypeConfig.h"
#include "models/policymap/PolicyMapTypeConfig.h"
#include "platform/cog/Record.h"
#include "platform/kiln/DumpContext.h"

namespace PolicyMap {

// A policy-map configuration tree: class-map types and policy-map types by name. The feature
// that owns the tree creates both types once and writes below them for its lifetime.
class Config : public Cog::Entity {
 public:
  explicit Config(Cog::String name) : name_(std::move(name)) {}
  COG_RECORD(Config, (orderedChildren, Cog::String, ClassMapTypeConfig, cmapType, CmapType),
             (orderedChildren, Cog::String, PolicyMapTypeConfig, pmapType, PmapType));

  Cog::String const& name() const { return name_; }
  // "PolicyMapConfig <name>", then two columns in: per policy-map type
  // "pmapType <name> type <n> policies #<count>" with its published policies
  // "policy <name> classes #<count of the current version>" further in, and per class-map
  // type "cmapType <name> type <n> class-maps #<published count>".
  void dumpState(Kiln::DumpContext* ctx, int indent) const;

 private:
  Cog::String name_;
};

}  // namespace PolicyMap
