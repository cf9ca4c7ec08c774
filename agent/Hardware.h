#pragma once

#include "agent/MountedRecords.h"
#include "pbr/hwmodel/HardwareModel.h"
#include "platform/kiln/TaskScheduler.h"

namespace Agent {

// The hardware the agent programs: a model of line cards with TCAM banks. Every routed interface
// of the records that no line card holds yet is put on a default card large enough for any
// demo, "lc0".
Cog::Ptr<Pbr::HardwareModel> hardwareFor(MountedRecords const& records,
                                         Cog::Ptr<Kiln::TaskScheduler> const& scheduler);

}  // namespace Agent
