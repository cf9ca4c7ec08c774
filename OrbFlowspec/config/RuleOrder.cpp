#include "OrbFlowspec/config/RuleOrder.h"

#include <algorithm>
#include <cstddef>

namespace OrbFlowspec {

std::size_t RuleOrder::position(Flowspec::FlowspecKey const& key) const {
  return static_cast<std::size_t>(std::lower_bound(keys_.begin(), keys_.end(), key) -
                                  keys_.begin());
}

void RuleOrder::update(Flowspec::FlowspecKey const& key, bool present) {
  std::size_t const where = position(key);
  bool const listed = at(where, key);
  auto const it = keys_.begin() + static_cast<std::ptrdiff_t>(where);
  if (present && !listed) {
    keys_.insert(it, key);
  } else if (!present && listed) {
    keys_.erase(it);
  }
}

void RuleOrder::rebuild(Flowspec::VrfRuleConfig const& rules) {
  keys_.clear();
  keys_.reserve(rules.rule().size());
  for (auto const& key : rules.rule().keys()) {
    keys_.push_back(key);
  }
}

}  // namespace OrbFlowspec
