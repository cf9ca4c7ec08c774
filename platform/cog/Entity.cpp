#include "platform/cog/Entity.h"

#include "platform/cog/Errors.h"
#include "platform/trace/Trace.h"

namespace Cog {

namespace {

Trace::Handle gTrace("Cog");

// What the slot of a reactor that detached during a notification holds until it ends: never
// active, so the notification steps over it.
class Tombstone : public ReactorBase {
 public:
  Tombstone() : ReactorBase(nullptr) { notificationActiveIs(false); }
};

// Never destroyed: entities that outlive the statics may still be notifying at exit.
ReactorBase* tombstone() {
  static ReactorBase* const instance = new Tombstone;
  return instance;
}

}  // namespace

std::size_t Entity::reactorCount() const {
  std::size_t count = 0;
  for (std::size_t i = 0; i < reactors_.size(); ++i) {
    count += reactors_[i] != tombstone();
  }
  return count;
}

void Entity::attach(ReactorBase* reactor) const { reactors_.push_back(reactor); }

void Entity::detach(ReactorBase* reactor) const {
  if (notifyDepth_ == 0) {
    reactors_.erase(reactor);
  } else if (reactors_.replace(reactor, tombstone())) {
    detachedDuringNotify_ = true;
  }
}

void Entity::endNotify() const {
  if (--notifyDepth_ == 0 && detachedDuringNotify_) {
    reactors_.erase(tombstone());
    detachedDuringNotify_ = false;
  }
}

void Entity::dispatch(void (*call)(void*), void* context) {
  try {
    call(context);
  } catch (Error const& error) {
    TRACE(gTrace, 0, error.what());
  }
}

ReactorBase::ReactorBase(Ptr<Entity const> entity) : entity_(std::move(entity)) {
  if (entity_) {
    entity_->attach(this);
  }
}

ReactorBase::~ReactorBase() {
  if (entity_) {
    entity_->detach(this);
  }
}

}  // namespace Cog
