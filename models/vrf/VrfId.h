#pragma once

#include <cstdint>

namespace Vrf::VrfIdMap {

// A numeric VRF identifier. kInvalidVrfId is what failed lookups return and what a rule
// without a redirect VRF carries.
using VrfId = std::uint32_t;
inline constexpr VrfId kInvalidVrfId = 0xffffff;

}  // namespace Vrf::VrfIdMap
