#include "agent/Hardware.h"

#include "agent/HardwareLayout.h"

namespace Agent {

namespace {
constexpr Kiln::TaskPriority kEventPriority{3};
}  // namespace

Cog::Ptr<Pbr::HardwareModel> hardwareFor(MountedRecords const& records,
                                         Cog::Ptr<Kiln::TaskScheduler> const& scheduler,
                                         HardwareSpec const& spec) {
  auto hardware = Cog::make<Pbr::HardwareModel>(scheduler, records.aclStatusDp);
  for (auto const& card : spec.lineCards) {
    hardware->lineCardIs(card.name, card.ipv4Entries, card.ipv6Entries, card.rangeCheckers);
    for (auto const& intf : card.interfaces) {
      hardware->intfIs(Nwk::IntfId(intf), card.name);
    }
    for (int bit = 0; bit < Pbr::kQualifierCount; ++bit) {
      auto const qualifier = static_cast<Pbr::Qualifier>(1 << bit);
      if (card.unsupportedIpv4 & qualifier) {
        hardware->unsupportedQualifierIs(card.name, Acl::AclType{0}, qualifier);
      }
      if (card.unsupportedIpv6 & qualifier) {
        hardware->unsupportedQualifierIs(card.name, Acl::AclType{1}, qualifier);
      }
    }
  }
  hardware->lineCardIs(kDefaultLineCard, 1'000'000, 1'000'000, 1024);
  for (auto const& [intf, status] : records.l3StatusDir->intfStatus()) {
    hardware->intfIs(intf, kDefaultLineCard);  // no effect for an interface placed above
  }
  return hardware;
}

HardwareEvents::HardwareEvents(HardwareSpec const& spec, Cog::Ptr<Pbr::HardwareModel> hardware,
                               MountedRecords const& records,
                               Cog::Ptr<Kiln::TaskScheduler> const& scheduler) {
  for (auto const& stream : spec.streams) {
    timers_.push_back(
        std::make_unique<Kiln::TimerTask>(scheduler, kEventPriority, "packets", [hardware, stream] {
          for (std::uint32_t i = 0; i < stream.count; ++i) {
            hardware->classify(Nwk::IntfId(stream.interface), stream.packet);
          }
        }));
    timers_.back()->scheduleTaskDelay(stream.at);
  }
  for (double const at : spec.counterRequests) {
    auto const cliConfig = records.cliConfig;
    timers_.push_back(std::make_unique<Kiln::TimerTask>(
        scheduler, kEventPriority, "counters",
        [cliConfig] { cliConfig->counterUpdateRequestTimeIs(Cog::System::currentTime()); }));
    timers_.back()->scheduleTaskDelay(at);
  }
}

}  // namespace Agent
