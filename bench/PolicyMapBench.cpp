// The policy-map records at flowspec scale: publishing and looking up class-maps (one per
// rule) and building a policy version with one class per rule, then switching to it.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "models/policymap/Config.h"

namespace {

std::vector<std::string> names(int count) {
  std::vector<std::string> out;
  out.reserve(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) {
    out.push_back("ipv4 dst 10." + std::to_string((i >> 8) & 255) + "." + std::to_string(i & 255) +
                  ".0/24 dport =" + std::to_string(i));
  }
  return out;
}

// Create and publish `count` class-maps, each with one version selected.
void BM_ClassMapPublish(benchmark::State& state) {
  auto const classNames = names(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    auto const cmapType = Cog::make<PolicyMap::ClassMapTypeConfig>("Flowspec");
    for (auto const& name : classNames) {
      auto const cmap = cmapType->cmapInputIs(name);
      cmap->currCfgIs(cmap->subconfigIs(name, Kiln::UniqueId(1, 1)));
      cmapType->cmapIs(cmap);
    }
    benchmark::DoNotOptimize(cmapType->cmap().size());
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_ClassMapPublish)->Arg(1000)->Arg(100000)->Unit(benchmark::kMillisecond);

// Look up published class-maps by name in a type holding `count` of them.
void BM_ClassMapLookup(benchmark::State& state) {
  auto const classNames = names(static_cast<int>(state.range(0)));
  auto const cmapType = Cog::make<PolicyMap::ClassMapTypeConfig>("Flowspec");
  for (auto const& name : classNames) {
    cmapType->cmapIs(cmapType->cmapInputIs(name));
  }
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(cmapType->cmap(classNames[i]));
    i = i + 1 == classNames.size() ? 0 : i + 1;
  }
}
BENCHMARK(BM_ClassMapLookup)->Arg(1000)->Arg(100000);

// Build a new policy version with `count` classes (priority, class action with a permit),
// switch to it and drop the previous one: one rebuild of a VRF's policy-map.
void BM_PolicyVersionSwitch(benchmark::State& state) {
  auto const classNames = names(static_cast<int>(state.range(0)));
  auto const pmap = Cog::make<PolicyMap::PolicyMapConfig>("red", PolicyMap::mapTypeFlowspec);
  auto const permit = Cog::make<PolicyMap::Action>("permit", PolicyMap::ActionType::actionPermit,
                                                   Kiln::UniqueId(1, 1));
  std::uint64_t version = 1;
  for (auto _ : state) {
    Kiln::UniqueId const next(2, version++);
    auto const sub = pmap->subconfigIs("red", next);
    PolicyMap::ClassPriority prio = 1;
    for (auto const& name : classNames) {
      sub->classPrioIs(prio++, name);
      auto const classAction = Cog::make<PolicyMap::ClassAction>(name);
      classAction->policyActionIs(permit);
      sub->classActionIs(name, classAction);
    }
    auto const old = pmap->currCfg();
    pmap->currCfgIs(sub);
    if (old) {
      pmap->subconfigDel(old->version());
    }
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_PolicyVersionSwitch)->Arg(1000)->Arg(100000)->Unit(benchmark::kMillisecond);

}  // namespace
