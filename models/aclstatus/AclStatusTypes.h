#pragma once

#include <cstdint>

namespace Acl {

// The ACL features that report what the line cards cannot match; 2 is flowspec.
using AclFeature = std::uint8_t;
inline constexpr AclFeature aclFeatureFlowspec = 2;

// The ACL types: 0 IPv4, 1 IPv6.
using AclType = std::uint8_t;
inline constexpr AclType aclTypeIpv4 = 0;
inline constexpr AclType aclTypeIpv6 = 1;

}  // namespace Acl
