#pragma once

#include <cstdint>
#include <tuple>

#include "platform/cog/Ptr.h"
#include "platform/cog/ReactorSlots.h"

namespace Cog {

class ReactorBase;

// Base of records and state machines that reactors watch.
//
// Every change of an attribute notifies the active reactors of the entity synchronously, before
// the setter returns, in the order they attached. Notification is re-entrant: a handler may
// change any record, including this one. Following the usual observer-list rules, a reactor
// that detaches during a notification is skipped from then on and its slot is compacted when
// the outermost notification of this entity ends; a reactor that attaches during a
// notification is not told of the change under way, only of later ones.
//
// A framework error (Cog::Error) thrown out of a handler is traced at level 0 with its text by
// the dispatch and the remaining reactors are still notified; assertions are not caught.
class Entity : public Object {
 public:
  std::size_t reactorCount() const;

 protected:
  template <class R, class... Params, class... Args>
  void notify(void (R::*handler)(Params...), Args const&... args) const;

 private:
  friend class ReactorBase;

  void attach(ReactorBase* reactor) const;
  void detach(ReactorBase* reactor) const;
  // Marks a notification under way; compacts detached slots when the outermost one ends, also
  // when an assertion unwinds through it.
  struct NotifyScope {
    explicit NotifyScope(Entity const* notifying) : entity(notifying) { ++entity->notifyDepth_; }
    ~NotifyScope() { entity->endNotify(); }
    NotifyScope(NotifyScope const&) = delete;
    NotifyScope& operator=(NotifyScope const&) = delete;
    Entity const* entity;
  };
  void endNotify() const;
  static void dispatch(void (*call)(void*), void* context);

  // The two small members come first: they fill the padding after Object's reference count,
  // which keeps every record 8 bytes smaller.
  mutable std::uint16_t notifyDepth_ = 0;
  mutable bool detachedDuringNotify_ = false;
  mutable ReactorSlots reactors_;
};

// A watcher of one entity. Derived classes are a record's Reactor interface (one virtual
// handle<Attribute>() or handle<Attribute>(key) per attribute, doing nothing by default).
// The reactor keeps its entity alive and detaches when destroyed.
class ReactorBase {
 public:
  ReactorBase(ReactorBase const&) = delete;
  ReactorBase& operator=(ReactorBase const&) = delete;
  virtual ~ReactorBase();

  bool notificationActive() const { return active_; }
  void notificationActiveIs(bool active) { active_ = active; }

  // Runs every handler once with the entity's current content: each non-keyed handler once,
  // each keyed handler once per key present. Nested reactors of state machines run it when
  // they are attached to an entity that already holds entries.
  virtual void replay() {}

 protected:
  // A null entity is allowed: nothing is watched.
  explicit ReactorBase(Ptr<Entity const> entity);
  Entity const* entity() const { return entity_.get(); }

 private:
  Ptr<Entity const> entity_;
  bool active_ = true;
};

// The reactor interface base of record type Rec.
template <class Rec>
class ReactorOf : public ReactorBase {
 public:
  Ptr<Rec const> notifier() const { return Ptr<Rec const>(static_cast<Rec const*>(entity())); }

 protected:
  explicit ReactorOf(Ptr<Rec const> const& record) : ReactorBase(record) {}
};

// A record's reactor that forwards to an owner, the usual shape of a state machine's watcher:
//   struct ConfigReactor : Cog::BoundReactor<Flowspec::Config, FlowspecConfigSm> {
//     using BoundReactor::BoundReactor;
//     void handleVrfRuleConfig(VrfId const& id) override { owner()->handleVrfRuleConfig(id); }
//   };
template <class Rec, class Owner>
class BoundReactor : public Rec::Reactor {
 public:
  BoundReactor(Ptr<Rec const> const& record, Owner* owner) : Rec::Reactor(record), owner_(owner) {}
  Owner* owner() const { return owner_; }

 private:
  Owner* owner_;
};

template <class R, class... Params, class... Args>
void Entity::notify(void (R::*handler)(Params...), Args const&... args) const {
  std::size_t const count = reactors_.size();
  if (count == 0) {
    return;
  }
  Ptr<Entity const> const keepAlive(this);
  NotifyScope const scope(this);
  struct Call {
    R* reactor;
    void (R::*handler)(Params...);
    std::tuple<Args const&...> args;
    static void run(void* context) {
      auto* call = static_cast<Call*>(context);
      std::apply([call](Args const&... a) { (call->reactor->*(call->handler))(a...); }, call->args);
    }
  };
  for (std::size_t i = 0; i < count; ++i) {
    // A reactor gone during this notification has left an inactive tombstone in its slot.
    ReactorBase* reactor = reactors_[i];
    if (reactor->notificationActive()) {
      Call call{static_cast<R*>(reactor), handler, std::tuple<Args const&...>(args...)};
      dispatch(&Call::run, &call);
    }
  }
}

}  // namespace Cog
