#include "platform/cog/Entity.h"

#include <algorithm>

#include "platform/cog/Errors.h"
#include "platform/trace/Trace.h"

namespace Cog {

namespace {
Trace::Handle gTrace("Cog");
}  // namespace

std::size_t Entity::reactorCount() const {
  return static_cast<std::size_t>(
      std::count_if(reactors_.begin(), reactors_.end(), [](ReactorBase* r) { return r; }));
}

void Entity::attach(ReactorBase* reactor) const { reactors_.push_back(reactor); }

void Entity::detach(ReactorBase* reactor) const {
  auto const it = std::find(reactors_.begin(), reactors_.end(), reactor);
  if (it == reactors_.end()) {
    return;
  }
  if (notifyDepth_ > 0) {
    *it = nullptr;
    detachedDuringNotify_ = true;
  } else {
    reactors_.erase(it);
  }
}

void Entity::endNotify() const {
  if (--notifyDepth_ == 0 && detachedDuringNotify_) {
    std::erase(reactors_, nullptr);
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
