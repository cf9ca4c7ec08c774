#pragma once

#include <cstdint>

#include "platform/cog/Record.h"

namespace OrbFlowspec {

// The range-to-mask generator as a framework object: the value/mask pairs of a range, for
// inspection by tests and tools.
class RangeMaskGenWrapper : public Cog::Entity {
 public:
  COG_RECORD(RangeMaskGenWrapper, (value, std::uint32_t, rangeMax, RangeMax),
             (orderedMap, std::uint32_t, std::uint32_t, mask, Mask));
  // Stores the pairs of [min, min(max, 2^rangeSize - 1)]; nothing when min is above that.
  // Only 8-bit fields are supported: other sizes throw a range error.
  void run(std::uint32_t min, std::uint32_t max, std::uint32_t rangeSize);
};

Cog::Ptr<RangeMaskGenWrapper> rangeMaskGenWrapperFactory();

}  // namespace OrbFlowspec
