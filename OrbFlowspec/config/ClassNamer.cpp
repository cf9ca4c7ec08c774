#include "OrbFlowspec/config/ClassNamer.h"

#include <algorithm>

#include "platform/cog/Assert.h"

namespace OrbFlowspec {

void ClassNamer::start(PolicyMap::PolicyMapSubConfig const& previous) {
  std::sort(changed_.begin(), changed_.end(),
            [](Flowspec::FlowspecKey const* a, Flowspec::FlowspecKey const* b) { return *a < *b; });
  nextPrevious_.emplace(previous.classPrio().begin());
}

Cog::String ClassNamer::next(Flowspec::FlowspecKey const& key) {
  if (!nextPrevious_) {
    return key.stringValue();
  }
  // Changed keys before this one are rules gone since the previous version.
  while (nextChanged_ < changed_.size() && *changed_[nextChanged_] < key) {
    passOver(changed_[nextChanged_++]->stringValue());
  }
  if (nextChanged_ < changed_.size() && !(key < *changed_[nextChanged_])) {
    ++nextChanged_;
    Cog::String name = key.stringValue();
    passOver(name);
    return name;
  }
  // Unchanged since the previous version, which named it next.
  COG_ASSERT(*nextPrevious_ != PreviousNames::Sentinel());
  Cog::String name = (**nextPrevious_).second;
  ++*nextPrevious_;
  return name;
}

void ClassNamer::finish() {
  while (nextChanged_ < changed_.size()) {
    passOver(changed_[nextChanged_++]->stringValue());
  }
  COG_ASSERT(!nextPrevious_ || *nextPrevious_ == PreviousNames::Sentinel());
}

void ClassNamer::passOver(Cog::String const& name) {
  if (*nextPrevious_ != PreviousNames::Sentinel() && (**nextPrevious_).second == name) {
    ++*nextPrevious_;
  }
}

}  // namespace OrbFlowspec
