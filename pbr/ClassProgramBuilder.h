#pragma once

#include <array>
#include <optional>
#include <unordered_map>

#include "models/policymap/ClassAction.h"
#include "models/policymap/ClassMapTypeConfig.h"
#include "pbr/PolicyProgram.h"

namespace Pbr {

// Turns the classes of policy versions into what the dataplane programs, and remembers per
// class the class-map version its entries were built from. A class whose published class-map
// version is unchanged gets the very same entries object again, which costs nothing to build
// and lets the dataplane keep the class in place across policy versions.
class ClassProgramBuilder {
 public:
  // The class `name` for IPv4 and for IPv6 (in that order): its entries from the current
  // version of its published class-map, and its action. None for a family when the class-map
  // is not published, has no current version or no match of the family.
  using PerFamily = std::array<std::optional<ClassProgram>, 2>;
  PerFamily classPrograms(Cog::String const& name, PolicyMap::ClassAction const* classAction,
                          PolicyMap::ClassMapTypeConfig const& cmapTypeConfig);
  // Whether the class's entries were built from the class-map version published now (a class
  // never built counts as current while its class-map gives nothing to build).
  bool current(Cog::String const& name, PolicyMap::ClassMapTypeConfig const& cmapTypeConfig) const;
  // Forgets the class `name`.
  void forget(Cog::String const& name) { built_.erase(name); }

 private:
  struct Built {
    Cog::Ptr<PolicyMap::ClassMapSubConfig const> from;
    std::shared_ptr<IpEntries const> ipEntries;
    std::shared_ptr<Ip6Entries const> ip6Entries;
  };
  std::unordered_map<Cog::String, Built> built_;
};

// The dataplane's action of a class from its policy actions; permit when there is none.
ActionSpec actionSpecFrom(PolicyMap::ClassAction const* classAction);

}  // namespace Pbr
