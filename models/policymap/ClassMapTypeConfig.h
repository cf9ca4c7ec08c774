#pragma once

#include <cstdint>

#include "models/acl/IpFilter.h"
#include "models/policymap/PolicyMapTypes.h"
#include "platform/cog/Record.h"
#include "platform/kiln/UniqueId.h"

namespace PolicyMap {

// The numbered ACL rules of one match option of a class-map version.
class ClassMapMatch : public Cog::Entity {
 public:
  explicit ClassMapMatch(ClassMapMatchOption option) : option_(option) {}
  COG_RECORD(ClassMapMatch,
             (orderedMap, std::uint32_t, Acl::IpRuleConfig, ipRule, IpRule),
             (orderedMap, std::uint32_t, Acl::Ip6RuleConfig, ip6Rule, Ip6Rule));
  ClassMapMatchOption option() const { return option_; }

 private:
  ClassMapMatchOption option_;
};

// One version of a class-map's content.
class ClassMapSubConfig : public Cog::Entity {
 public:
  ClassMapSubConfig(Kiln::UniqueId version, Cog::String name)
      : version_(version), name_(std::move(name)) {}
  COG_RECORD(ClassMapSubConfig,
             (orderedChildren, ClassMapMatchOption, ClassMapMatch, match, Match));
  Kiln::UniqueId const& version() const { return version_; }
  Cog::String const& name() const { return name_; }

 private:
  Kiln::UniqueId version_;
  Cog::String name_;
};

// A class-map: its versions and the one in use, and the policies (VRFs) whose classes use it:
// flowspec names a class-map after its rule's match, so VRFs with the same rule share it.
class ClassMapConfig : public Cog::Entity {
 public:
  explicit ClassMapConfig(Cog::String name) : name_(std::move(name)) {}
  COG_RECORD(ClassMapConfig,
             (orderedChildren, Kiln::UniqueId, ClassMapSubConfig, subconfig, Subconfig),
             (ptr, ClassMapSubConfig, currCfg, CurrCfg),
             (orderedSet, Cog::String, user, User));
  Cog::String const& name() const { return name_; }
  Cog::Ptr<ClassMapSubConfig> subconfigIs(Cog::String const& name, Kiln::UniqueId version) {
    return subconfigIs(version, name);
  }

 private:
  Cog::String name_;
};

// The class-maps of one map type: inputs being built, and the published ones (one per
// flowspec rule, so up to hundreds of thousands).
class ClassMapTypeConfig : public Cog::Entity {
 public:
  explicit ClassMapTypeConfig(Cog::String name) : name_(std::move(name)) {}
  COG_RECORD(ClassMapTypeConfig,
             (value, MapType, type, Type),
             (hashChildren, Cog::String, ClassMapConfig, cmapInput, CmapInput),
             (hashMap, Cog::String, Cog::Ptr<ClassMapConfig>, cmap, Cmap));
  Cog::String const& name() const { return name_; }
  void cmapIs(Cog::Ptr<ClassMapConfig> const& cmap) { cmapIs(cmap->name(), cmap); }

 private:
  Cog::String name_;
};

}  // namespace PolicyMap
