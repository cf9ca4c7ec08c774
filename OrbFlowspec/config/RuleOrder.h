#pragma once

#include <cstddef>
#include <vector>

#include "models/flowspec/Config.h"
#include "models/flowspec/FlowspecKey.h"

namespace OrbFlowspec {

// The keys of a VRF's rules in rule precedence order, in one array. Every new class list walks
// all the rules; walking the rule tree instead costs a cache miss per node, as its nodes lie all
// over the heap. A rule come or gone moves the keys after it by one place.
class RuleOrder {
 public:
  // Brings the order up to date with `rules` after the rules of `changed` came, went or changed.
  template <class Keys>
  void update(Keys const& changed, Flowspec::VrfRuleConfig const& rules) {
    if (changed.size() > keys_.size() / kRebuildFraction) {
      rebuild(rules);
      return;
    }
    for (Flowspec::FlowspecKey const& key : changed) {
      update(key, rules.rule(key) != nullptr);
    }
    if (keys_.size() != rules.rule().size()) {
      rebuild(rules);  // a rule came or went unannounced: the order is made again
    }
  }

  std::vector<Flowspec::FlowspecKey> const& keys() const { return keys_; }
  // Where `key` is, or would be.
  std::size_t position(Flowspec::FlowspecKey const& key) const;
  // Whether the key at `position` is `key`.
  bool at(std::size_t position, Flowspec::FlowspecKey const& key) const {
    return position < keys_.size() && keys_[position] == key;
  }

 private:
  // Beyond one changed rule in this many, the order is made again from the rule tree.
  static constexpr std::size_t kRebuildFraction = 16;

  void update(Flowspec::FlowspecKey const& key, bool present);
  void rebuild(Flowspec::VrfRuleConfig const& rules);

  std::vector<Flowspec::FlowspecKey> keys_;
};

}  // namespace OrbFlowspec
