#include "OrbFlowspec/config/ClassNamer.h"

#include <algorithm>

#include "platform/cog/Assert.h"

namespace OrbFlowspec {

Cog::SharedString classNameOf(Flowspec::FlowspecKey const& key,
                              PolicyMap::ClassMapTypeConfig const& classMaps) {
  Cog::SharedString const& name = key.sharedStringValue();
  if (auto const cmap = classMaps.cmapInput(name)) {
    return cmap->name();
  }
  return name;
}

void ClassNamer::start(PolicyMap::PolicyMapSubConfig const& previous) {
  std::sort(changed_.begin(), changed_.end(),
            [](Flowspec::FlowspecKey const* a, Flowspec::FlowspecKey const* b) { return *a < *b; });
  nextPrevious_.emplace(previous.classPrio().begin());
}

Cog::SharedString ClassNamer::next(Flowspec::FlowspecKey const& key) {
  if (!nextPrevious_) {
    return classNameOf(key, classMaps_);
  }
  // Changed keys before this one are rules gone since the previous version.
  while (nextChanged_ < changed_.size() && *changed_[nextChanged_] < key) {
    passOver(changed_[nextChanged_++]->sharedStringValue());
  }
  if (nextChanged_ < changed_.size() && !(key < *changed_[nextChanged_])) {
    ++nextChanged_;
    Cog::SharedString name = classNameOf(key, classMaps_);
    passOver(name);
    return name;
  }
  // Unchanged since the previous version, which named it next.
  COG_ASSERT(*nextPrevious_ != PreviousNames::Sentinel());
  Cog::SharedString name = (**nextPrevious_).second;
  ++*nextPrevious_;
  return name;
}

void ClassNamer::finish() {
  while (nextChanged_ < changed_.size()) {
    passOver(changed_[nextChanged_++]->sharedStringValue());
  }
  COG_ASSERT(!nextPrevious_ || *nextPrevious_ == PreviousNames::Sentinel());
}

void ClassNamer::passOver(std::string_view name) {
  if (*nextPrevious_ != PreviousNames::Sentinel() && (**nextPrevious_).second == name) {
    ++*nextPrevious_;
  }
}

}  // namespace OrbFlowspec
