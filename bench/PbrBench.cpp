// The hardware model at flowspec scale: programming throughput in entries per second of CPU
// (straight into the model, and through the programming machinery from policy records), the
// CPU cost of a version switch that adds one class to a large policy, and classification
// throughput in packets per second.
#include <benchmark/benchmark.h>

#include <random>

#include "models/policymap/Config.h"
#include "pbr/OrbPbrSm.h"
#include "pbr/hwmodel/HardwareModel.h"

namespace {

constexpr std::uint32_t kEntriesPerClass = 10;

// Entry `i` of the flowspec-like set: a /32 destination and a destination port.
Acl::IpFilter entry(std::uint32_t i, bool withDestination) {
  Acl::IpFilter filter;
  if (withDestination) {
    filter.destinationIs(0x0a000000u + i, 0xffffffff);
  }
  filter.protocolIs(6);
  filter.protocolMaskIs(0xff);
  filter.sportIs(Acl::PortSpec(Acl::RangeOperator::eq, std::to_string(i / 65536)));
  filter.dportIs(Acl::PortSpec(Acl::RangeOperator::eq, std::to_string(i % 65536)));
  return filter;
}

std::vector<Pbr::ClassProgram> classes(std::uint32_t entries, bool withDestination) {
  std::vector<Pbr::ClassProgram> out;
  for (std::uint32_t first = 0; first < entries; first += kEntriesPerClass) {
    auto filters = std::make_shared<Pbr::IpEntries>();
    for (std::uint32_t i = first; i < first + kEntriesPerClass && i < entries; ++i) {
      filters->push_back(entry(i, withDestination));
    }
    Pbr::ClassProgram c;
    c.name = "class" + std::to_string(first);
    c.ipEntries = std::move(filters);
    out.push_back(std::move(c));
  }
  return out;
}

std::shared_ptr<Pbr::PolicyProgram const> programOf(std::vector<Pbr::ClassProgram> classes) {
  auto program = std::make_shared<Pbr::PolicyProgram>();
  program->policyName = "red";
  program->af = Nwk::AddressFamily::ipv4;
  program->classes = Pbr::sharedClasses(std::move(classes));
  return program;
}

struct Model {
  Model() {
    hw->lineCardIs("lc1", 1'000'000, 1'000'000, 64);
    hw->intfIs(Nwk::IntfId("Ethernet1"), "lc1");
  }
  void install(std::shared_ptr<Pbr::PolicyProgram const> program) {
    hw->programIs(Nwk::IntfId("Ethernet1"), std::move(program), [](Pbr::ProgramResult const&) {});
    scheduler->runUntilNoWork(1e6);
  }
  Cog::Ptr<Kiln::TaskScheduler> scheduler = Kiln::simulatedTaskSchedulerFactory();
  Cog::Ptr<Pbr::HardwareModel> hw = Cog::make<Pbr::HardwareModel>(scheduler, nullptr);
};

// Programs a policy of `entries` entries onto one interface of a fresh model.
void BM_ProgramEntries(benchmark::State& state) {
  auto const entries = static_cast<std::uint32_t>(state.range(0));
  auto const program = programOf(classes(entries, true));
  for (auto _ : state) {
    Model model;
    model.install(program);
    benchmark::DoNotOptimize(
        model.hw->forwardingEntries(Nwk::IntfId("Ethernet1"), Nwk::AddressFamily::ipv4));
  }
  state.SetItemsProcessed(state.iterations() * entries);
}
BENCHMARK(BM_ProgramEntries)->Arg(10'000)->Arg(100'000)->Unit(benchmark::kMillisecond);

// The same through the machinery: class-maps and a policy published as records, one
// interface bound, the loop run until the status says installed.
void BM_ProgramThroughMachinery(benchmark::State& state) {
  auto const entries = static_cast<std::uint32_t>(state.range(0));
  PolicyMap::MapType const mapType{7};
  for (auto _ : state) {
    state.PauseTiming();
    Model model;
    auto const config = Cog::make<PolicyMap::Config>("bench");
    auto const pmapType = config->pmapTypeIs("Bench", mapType);
    auto const cmapType = config->cmapTypeIs("Bench");
    auto const intfConfig = Cog::make<PolicyMap::IntfConfig>("Bench");
    auto const pmapStatus = Cog::make<PolicyMap::PolicyMapTypeStatus>("Bench");
    auto const pmap = pmapType->pmapInputIs("red", mapType);
    pmapType->pmapIs(pmap);
    auto const sub = pmap->subconfigIs("red", Kiln::UniqueId(1, 1));
    for (std::uint32_t first = 0; first < entries; first += kEntriesPerClass) {
      std::string const name = "class" + std::to_string(first);
      auto const cmap = cmapType->cmapInputIs(name);
      auto const cmapSub = cmap->subconfigIs(name, Kiln::UniqueId(2, first + 1));
      auto const match = cmapSub->matchIs(PolicyMap::ClassMapMatchOption::matchIpAccessGroup);
      for (std::uint32_t i = first; i < first + kEntriesPerClass; ++i) {
        match->ipRuleIs(i, Acl::IpRuleConfig(entry(i, true)));
      }
      cmap->currCfgIs(cmapSub);
      cmapType->cmapIs(cmap);
      sub->classPrioIs(first + 1, name);
    }
    intfConfig->intfIs(Nwk::IntfId("Ethernet1"), "red");
    auto const pbr = Cog::make<Orb::OrbPbrSm>(
        intfConfig, pmapType, cmapType, nullptr, pmapStatus, nullptr, nullptr, nullptr, nullptr,
        nullptr, nullptr, nullptr, model.hw, nullptr, false, true, false, nullptr, nullptr, nullptr,
        nullptr, model.scheduler->timerWheel(), nullptr);
    pbr->initializedIs(true);
    state.ResumeTiming();
    pmap->currCfgIs(sub);
    model.scheduler->runUntilNoWork(1e6);
    benchmark::DoNotOptimize(pmapStatus->pmapStatus("red")->version());
  }
  state.SetItemsProcessed(state.iterations() * entries);
}
BENCHMARK(BM_ProgramThroughMachinery)->Arg(100'000)->Unit(benchmark::kMillisecond);

// Switches a policy of `entries` entries to a version with one more class: the classes kept
// in place cost no writes, only the new version's bookkeeping.
void BM_VersionSwitchAddingOneClass(benchmark::State& state) {
  auto const entries = static_cast<std::uint32_t>(state.range(0));
  Model model;
  auto base = classes(entries, true);
  model.install(programOf(base));
  auto grown = base;
  grown.insert(grown.begin(), classes(kEntriesPerClass, false).front());
  grown.front().name = "extra";
  bool withExtra = false;
  for (auto _ : state) {
    withExtra = !withExtra;
    model.install(programOf(withExtra ? grown : base));
  }
}
BENCHMARK(BM_VersionSwitchAddingOneClass)->Arg(100'000)->Unit(benchmark::kMillisecond);

// Classifies random packets against `entries` entries: with a /32 destination each (the
// lookup probes the destination buckets), or without destinations (every entry is a
// candidate, as in a plain scan).
void BM_Classify(benchmark::State& state) {
  auto const entries = static_cast<std::uint32_t>(state.range(0));
  bool const withDestination = state.range(1) != 0;
  Model model;
  model.install(programOf(classes(entries, withDestination)));
  std::mt19937 rng(1);
  std::vector<Pbr::Packet> packets(4096);
  for (auto& packet : packets) {
    std::uint32_t const i = rng() % (entries + entries / 4);  // a fifth match nothing
    packet.dst = Nwk::IpGenAddr::ipv4(0x0a000000u + i);
    packet.src = Nwk::IpGenAddr::ipv4(0x0b000001);
    packet.protocol = 6;
    packet.sport = static_cast<std::uint16_t>(i / 65536);
    packet.dport = static_cast<std::uint16_t>(i % 65536);
  }
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(model.hw->classify(Nwk::IntfId("Ethernet1"), packets[i]));
    i = (i + 1) % packets.size();
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_Classify)->Args({100'000, 1})->Args({100'000, 0});

}  // namespace
