#pragma once

#include <compare>
#include <string>

#include "models/policymap/PolicyMapTypes.h"
#include "platform/cog/System.h"

namespace PolicyMap {

// Identifies one policy's state machine in the programming machinery: policy name and map
// type.
struct PolicyMapSmKey {
  Cog::String name;
  MapType mapType;

  // "<name>/<map type>", for traces: "red/4".
  Cog::String strDesc() const { return name + "/" + std::to_string(mapType.value); }
  auto operator<=>(PolicyMapSmKey const&) const = default;
};

}  // namespace PolicyMap
