#pragma once

// Every record that the policy programming machinery reads besides the policy-maps, for the
// code that mounts or hands on all of them.
#include "models/mounted/AclConfig.h"           // IWYU pragma: export
#include "models/mounted/AclDiff.h"             // IWYU pragma: export
#include "models/mounted/FieldSetConfig.h"      // IWYU pragma: export
#include "models/mounted/Ip6Status.h"           // IWYU pragma: export
#include "models/mounted/IpStatus.h"            // IWYU pragma: export
#include "models/mounted/LagInputConfig.h"      // IWYU pragma: export
#include "models/mounted/NexthopConfig.h"       // IWYU pragma: export
#include "models/mounted/NexthopGroupConfig.h"  // IWYU pragma: export
#include "models/mounted/NexthopGroupStatus.h"  // IWYU pragma: export
#include "models/mounted/NexthopStatus.h"       // IWYU pragma: export
#include "models/mounted/OrbCommonSmData.h"     // IWYU pragma: export
