#pragma once

#include <cstdint>

#include "platform/cog/Record.h"
#include "platform/nwk/IntfId.h"

namespace Flowspec {

// The IP versions for which flowspec is enabled on an interface; none counts as not enabled.
enum class IpVersion : std::uint8_t { none = 0, ipv4 = 1, ipv6 = 2, ipv4AndIpv6 = 3 };

// The operator's configuration: the interfaces on which flowspec is enabled, and the time of
// the latest request to refresh the rule counters (seconds of the framework clock, 0 = none).
class CliConfig : public Cog::Entity {
 public:
  COG_RECORD(CliConfig, (orderedMap, Nwk::IntfId, IpVersion, enabledIntf, EnabledIntf),
             (value, double, counterUpdateRequestTime, CounterUpdateRequestTime));
};

}  // namespace Flowspec
