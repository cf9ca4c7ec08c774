#pragma once

#include "models/policymap/ClassAction.h"
#include "platform/cog/Record.h"
#include "platform/cog/SharedString.h"
#include "platform/kiln/UniqueId.h"

namespace PolicyMap {

// One version of a policy-map's content: the classes in match order and their actions. A
// builder fills a new version completely before PolicyMapConfig::currCfgIs selects it, so the
// programming machinery never sees a half-built policy. A version may start as the previous
// one (classPrioShareFrom, classActionShareFrom) and change only what differs: the tables are
// shared until changed. Class actions are shared too, so a published one is never edited: a
// class whose actions change gets a new ClassAction.
class PolicyMapSubConfig : public Cog::Entity {
 public:
  PolicyMapSubConfig(Kiln::UniqueId version, Cog::String name)
      : version_(version), name_(std::move(name)) {}
  COG_RECORD(PolicyMapSubConfig,
             (sharedOrderedMap, ClassPriority, Cog::SharedString, classPrio, ClassPrio),
             (sharedHashMap, Cog::SharedString, Cog::Ptr<ClassAction const>, classAction,
              ClassAction));

  Kiln::UniqueId const& version() const { return version_; }
  Cog::String const& name() const { return name_; }
  // A version is found again only under the name it was built with.
  bool constructedWith(Cog::String const& name) const { return name == name_; }

 private:
  Kiln::UniqueId version_;
  Cog::String name_;
};

}  // namespace PolicyMap
