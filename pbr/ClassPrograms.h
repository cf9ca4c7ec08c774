#pragma once

#include <array>
#include <memory>
#include <optional>

#include "models/policymap/ClassAction.h"
#include "models/policymap/ClassMapTypeConfig.h"
#include "pbr/PolicyProgram.h"

namespace Pbr {

// What a class's entries were last built from, kept with the class. A class whose published
// class-map version is unchanged gets the very same entries object again, which costs nothing
// to build and lets the dataplane keep the class in place across policy versions.
struct ClassEntries {
  Cog::Ptr<PolicyMap::ClassMapSubConfig const> from;
  std::shared_ptr<IpEntries const> ipEntries;
  std::shared_ptr<Ip6Entries const> ip6Entries;
};

// The class `name` for IPv4 and for IPv6 (in that order), as the dataplane programs it: its
// entries from the current version of its published class-map, and its action. None for a
// family when the class-map is not published, has no current version or no match of the
// family. `entries` is the class's own, updated to what the entries now come from.
using ClassProgramsByFamily = std::array<std::optional<ClassProgram>, 2>;
ClassProgramsByFamily classPrograms(Cog::SharedString const& name, ClassEntries& entries,
                                    PolicyMap::ClassAction const* classAction,
                                    PolicyMap::ClassMapTypeConfig const& cmapTypeConfig);
// Whether the class's entries were built from the class-map version published now (a class
// never built counts as current while its class-map gives nothing to build).
bool entriesCurrent(Cog::SharedString const& name, ClassEntries const& entries,
                    PolicyMap::ClassMapTypeConfig const& cmapTypeConfig);

// The dataplane's action of a class from its policy actions; permit when there is none.
ActionSpec actionSpecFrom(PolicyMap::ClassAction const* classAction);

}  // namespace Pbr
