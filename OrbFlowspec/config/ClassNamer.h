#pragma once

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

#include "OrbFlowspec/config/RuleOrder.h"
#include "models/flowspec/FlowspecKey.h"
#include "models/policymap/PolicyMapSubConfig.h"

namespace OrbFlowspec {

// Names the classes of a new policy-map version, one rule at a time in rule order. A class is
// named by its rule's key text; a rule the previous version listed takes its name from there
// instead, which reads one array rather than every key, and a new version is mostly the
// previous list with a rule come or gone. Only the rules changed since that version are
// named from their key. The changed rules are placed in the order once, so that the walk reads
// no key unless it changed.
//
// The previous version lists its classes in rule order too: the rule order puts every IPv4 key
// before every IPv6 key, and IPv4 priorities are below IPv6 ones. It and the order must stay
// alive and unchanged while the namer is used.
class ClassNamer {
 public:
  // `previous`: the version in use, or null; `changed`: every key whose rule came, went or
  // changed since that version, in any order; `order`: the rules now.
  template <class Keys>
  ClassNamer(PolicyMap::PolicyMapSubConfig const* previous, Keys const& changed,
             RuleOrder const& order)
      : order_(order) {
    if (!previous) {
      return;  // every class is named from its key
    }
    changed_.reserve(changed.size());
    for (Flowspec::FlowspecKey const& key : changed) {
      std::size_t const position = order.position(key);
      changed_.push_back(Changed{&key, position, order.at(position, key)});
    }
    start(*previous);
  }

  // The class name of the rule at `position` of the order; positions are asked for in turn.
  Cog::SharedString next(std::size_t position);
  // Called after the last rule: the previous version's names must all have been met.
  void finish();

 private:
  using PreviousNames = PolicyMap::PolicyMapSubConfig::ClassPrioCollection;

  // A changed rule, where it is in the order or, gone, where it would be.
  struct Changed {
    Flowspec::FlowspecKey const* key;
    std::size_t position;
    bool present;
  };

  void start(PolicyMap::PolicyMapSubConfig const& previous);
  // Steps over the previous version's next name when it is `name`, a rule changed or gone.
  void passOver(std::string_view name);

  RuleOrder const& order_;

  std::vector<Changed> changed_;  // in rule order
  std::size_t nextChanged_ = 0;
  std::optional<PreviousNames::Iterator> nextPrevious_;  // none without a previous version
};

}  // namespace OrbFlowspec
