#include "OrbFlowspec/config/ClassNamer.h"

#include <algorithm>
#include <tuple>

#include "platform/cog/Assert.h"

namespace OrbFlowspec {

void ClassNamer::start(PolicyMap::PolicyMapSubConfig const& previous) {
  // A rule gone sorts before the rule now at its place.
  std::sort(changed_.begin(), changed_.end(), [](Changed const& a, Changed const& b) {
    return std::tie(a.position, a.present, *a.key) < std::tie(b.position, b.present, *b.key);
  });
  nextPrevious_.emplace(previous.classPrio().begin());
}

Cog::SharedString ClassNamer::next(std::size_t position) {
  Flowspec::FlowspecKey const& key = order_.keys()[position];
  if (!nextPrevious_) {
    return key.sharedStringValue();
  }
  // Rules gone since the previous version, which listed them before this one.
  while (nextChanged_ < changed_.size() && changed_[nextChanged_].position <= position &&
         !changed_[nextChanged_].present) {
    passOver(changed_[nextChanged_++].key->sharedStringValue());
  }
  if (nextChanged_ < changed_.size() && changed_[nextChanged_].position == position) {
    ++nextChanged_;
    Cog::SharedString name = key.sharedStringValue();
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
    passOver(changed_[nextChanged_++].key->sharedStringValue());
  }
  COG_ASSERT(!nextPrevious_ || *nextPrevious_ == PreviousNames::Sentinel());
}

void ClassNamer::passOver(std::string_view name) {
  if (*nextPrevious_ != PreviousNames::Sentinel() && (**nextPrevious_).second == name) {
    ++*nextPrevious_;
  }
}

}  // namespace OrbFlowspec
