#pragma once

#include <memory>
#include <vector>

#include "agent/HardwareSpec.h"
#include "agent/MountedRecords.h"
#include "pbr/hwmodel/HardwareModel.h"
#include "platform/kiln/TaskScheduler.h"
#include "platform/kiln/TimerTask.h"

namespace Agent {

// The hardware the agent programs: a model of the scenario's line cards. Every routed interface
// that no line card holds is put on a default card large enough for any demo, "lc0".
Cog::Ptr<Pbr::HardwareModel> hardwareFor(MountedRecords const& records,
                                         Cog::Ptr<Kiln::TaskScheduler> const& scheduler,
                                         HardwareSpec const& spec);

// The scenario's timed events: packet streams injected into the hardware's classifier and
// counter requests made as an operator would, each at its time after start. They stop with this
// object.
class HardwareEvents {
 public:
  HardwareEvents(HardwareSpec const& spec, Cog::Ptr<Pbr::HardwareModel> hardware,
                 MountedRecords const& records, Cog::Ptr<Kiln::TaskScheduler> const& scheduler);

 private:
  std::vector<std::unique_ptr<Kiln::TimerTask>> timers_;
};

}  // namespace Agent
