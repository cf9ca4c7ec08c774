#pragma once

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <memory>
#include <vector>

namespace Cog {

class ReactorBase;

// The reactors of one entity, in attach order. Most records have a single watcher: it is kept
// in place, and only a second one moves them all into a vector of their own, so a record with
// one watcher costs no allocation for it. A slot whose reactor left during a notification holds
// a tombstone until the notification ends (see Entity), so indices stay stable meanwhile.
class ReactorSlots {
 public:
  std::size_t size() const { return many_ ? many_->size() : (one_ ? 1 : 0); }
  ReactorBase* operator[](std::size_t i) const { return many_ ? (*many_)[i] : one_; }

  void push_back(ReactorBase* reactor) {
    if (many_) {
      many_->push_back(reactor);
    } else if (one_) {
      many_ = std::make_unique<std::vector<ReactorBase*>>(
          std::initializer_list<ReactorBase*>{one_, reactor});
      one_ = nullptr;
    } else {
      one_ = reactor;
    }
  }
  // Puts `with` in the slot of `reactor`; false when `reactor` has no slot.
  bool replace(ReactorBase* reactor, ReactorBase* with) {
    ReactorBase** slot = find(reactor);
    if (!slot) {
      return false;
    }
    *slot = with;
    return true;
  }
  // Removes the slots that hold `reactor`, keeping the others in order.
  void erase(ReactorBase* reactor) {
    if (many_) {
      std::erase(*many_, reactor);
    } else if (one_ == reactor) {
      one_ = nullptr;
    }
  }

 private:
  ReactorBase** find(ReactorBase* reactor) {
    if (!many_) {
      return one_ == reactor ? &one_ : nullptr;
    }
    auto const it = std::find(many_->begin(), many_->end(), reactor);
    return it == many_->end() ? nullptr : &*it;
  }

  ReactorBase* one_ = nullptr;                       // the only slot, until a second comes
  std::unique_ptr<std::vector<ReactorBase*>> many_;  // every slot, from then on
};

}  // namespace Cog
