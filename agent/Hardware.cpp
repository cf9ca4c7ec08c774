#include "agent/Hardware.h"

namespace Agent {

namespace {
constexpr char kDefaultLineCard[] = "lc0";
}  // namespace

Cog::Ptr<Pbr::HardwareModel> hardwareFor(MountedRecords const& records,
                                         Cog::Ptr<Kiln::TaskScheduler> const& scheduler) {
  auto hardware = Cog::make<Pbr::HardwareModel>(scheduler, records.aclStatusDp);
  hardware->lineCardIs(kDefaultLineCard, 1'000'000, 1'000'000, 1024);
  for (auto const& [intf, status] : records.l3StatusDir->intfStatus()) {
    hardware->intfIs(intf, kDefaultLineCard);
  }
  return hardware;
}

}  // namespace Agent
