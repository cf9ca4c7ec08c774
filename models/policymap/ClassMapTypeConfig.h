#pragma once

#include "models/policymap/ClassMapConfig.h"
#include "models/policymap/PolicyMapTypes.h"
#include "platform/cog/Record.h"
#include "platform/cog/SharedString.h"

namespace PolicyMap {

// The class-maps of one map type. `cmapInput` owns the class-maps being written; `cmap` is
// what the programming machinery reads, the same objects once published. Flowspec has one
// class-map per rule, so both are hashed for a hundred thousand entries and more.
class ClassMapTypeConfig : public Cog::Entity {
 public:
  explicit ClassMapTypeConfig(Cog::String name) : name_(std::move(name)) {}
  COG_RECORD(ClassMapTypeConfig, (value, MapType, type, Type),
             (hashChildren, Cog::SharedString, ClassMapConfig, cmapInput, CmapInput),
             (hashMap, Cog::SharedString, Cog::Ptr<ClassMapConfig>, cmap, Cmap));

  Cog::String const& name() const { return name_; }
  // Publishes the class-map under its own name.
  void cmapIs(Cog::Ptr<ClassMapConfig> const& cmap) { cmapIs(cmap->name(), cmap); }

 private:
  Cog::String name_;
};

}  // namespace PolicyMap
