#include "models/policymap/Config.h"

namespace PolicyMap {

void Config::dumpState(Kiln::DumpContext* ctx, int indent) const {
  Kiln::dumpf(ctx, indent, "PolicyMapConfig %s\n", name_.c_str());
  for (auto const& [name, pmapType] : pmapType()) {
    Kiln::dumpf(ctx, indent + 2, "pmapType %s type %u policies #%zu\n", name.c_str(),
                static_cast<unsigned>(pmapType->mapType().value), pmapType->pmap().size());
    for (auto const& [policyName, pmap] : pmapType->pmap()) {
      auto const& current = pmap->currCfg();
      Kiln::dumpf(ctx, indent + 4, "policy %s classes #%zu\n", policyName.c_str(),
                  current ? current->classPrio().size() : std::size_t{0});
    }
  }
  for (auto const& [name, cmapType] : cmapType()) {
    Kiln::dumpf(ctx, indent + 2, "cmapType %s type %u class-maps #%zu\n", name.c_str(),
                static_cast<unsigned>(cmapType->type().value), cmapType->cmap().size());
  }
}

}  // namespace PolicyMap
