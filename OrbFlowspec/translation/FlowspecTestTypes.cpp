#include "OrbFlowspec/translation/FlowspecTestTypes.h"

#include <algorithm>

#include "platform/cog/Assert.h"
#include "platform/cog/Errors.h"
#include "platform/nwk/RangeMaskGen.h"

namespace OrbFlowspec {

Cog::Ptr<RangeMaskGenWrapper> rangeMaskGenWrapperFactory() {
  return Cog::make<RangeMaskGenWrapper>();
}

void RangeMaskGenWrapper::run(std::uint32_t min, std::uint32_t max, std::uint32_t rangeSize) {
  COG_ASSERT(rangeSize < sizeof(max) * 8);
  rangeMaxIs((std::uint32_t{1} << rangeSize) - 1);
  if (min > rangeMax()) {
    return;
  }
  maskDelAll();
  if (rangeSize != 8) {
    throw Cog::RangeError("RangeMaskGenWrapper::rangeSize other than 8 not supported");
  }
  Nwk::RangeMaskGen<std::uint8_t>::run(
      static_cast<std::uint8_t>(min), static_cast<std::uint8_t>(std::min(max, rangeMax())),
      [this](auto const& entry) { maskIs(entry.start, entry.mask); });
}

}  // namespace OrbFlowspec
