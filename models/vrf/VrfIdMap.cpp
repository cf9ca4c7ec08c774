#include "models/vrf/VrfIdMap.h"

namespace Vrf::VrfIdMap {

ReverseMapper::ReverseMapper(Cog::Ptr<Status const> const& status,
                             Cog::Ptr<NameToIdMap> nameToIdMap)
    : Status::Reactor(status), nameToIdMap_(std::move(nameToIdMap)) {
  replay();
}

void ReverseMapper::handleVrfEntry(VrfId const& vrfId) {
  Cog::String const name = static_cast<Status const&>(*notifier()).vrfName(vrfId);
  auto const old = nameOfId_.find(vrfId);
  Cog::String const oldName = old == nameOfId_.end() ? Cog::String() : old->second;
  if (name.empty()) {
    nameOfId_.erase(vrfId);
  } else {
    nameOfId_[vrfId] = name;
  }
  if (!oldName.empty() && oldName != name) {
    mapName(oldName);
  }
  if (!name.empty()) {
    mapName(name);
  }
}

// Maps `name` to the lowest id that carries it, or removes it when none does.
void ReverseMapper::mapName(Cog::String const& name) {
  for (auto const& [id, idName] : nameOfId_) {
    if (idName == name) {
      nameToIdMap_->vrfIdIs(name, id);
      return;
    }
  }
  nameToIdMap_->vrfIdDel(name);
}

}  // namespace Vrf::VrfIdMap
