#include "OrbFlowspec/root/FlowspecMounts.h"

namespace OrbFlowspec {

Cog::Ptr<FlowspecMounts> flowspecMountsFactory() { return Cog::make<FlowspecMounts>(); }

}  // namespace OrbFlowspec
