#pragma once

#include <type_traits>
#include <utility>

#include "platform/cog/Entity.h"
#include "platform/cog/Errors.h"
#include "platform/cog/HashMap2018.h"
#include "platform/cog/RbTreeMap.h"
#include "platform/cog/SharedMap.h"
#include "platform/cog/SmallMap.h"
#include "platform/cog/System.h"

// Declaring records.
//
// A record is an Entity whose attributes are listed once with COG_RECORD; the macro writes the
// accessors, the data members and the nested Reactor interface with one virtual handler per
// attribute (doing nothing by default) and its replay():
//
//   class VrfRuleConfig : public Cog::Entity {
//    public:
//     explicit VrfRuleConfig(VrfId vrfId);
//     COG_RECORD(VrfRuleConfig,
//                (orderedChildren, FlowspecKey, RuleConfig, rule, Rule),
//                (value, bool, enabled, Enabled));
//   };
//
// Each attribute is (kind, types..., name, Name), Name being the name with a capital, used for
// the handler handle<Name>. Kinds, with what they generate:
//   (value, T, x, X)                 x(), xIs(v)                     handleX()
//   (valueInit, T, x, X, init)       the same, starting at init      handleX()
//   (ptr, T, x, X)                   x(), xIs(Ptr<T>): a reference   handleX()
//   (child, C, x, X)                 x(), xIs(args...) creates C(args...) once, xDel()
//                                                                    handleX()
//   (hashMap|orderedMap, K, V, x, X) x() the collection, x(k) the value (V{} if absent),
//                                    xIs(k, v), xDel(k), xDelAll()   handleX(k)
//   (smallMap, K, V, x, X)           as orderedMap, for a handful of entries (SmallMap)
//   (sharedHashMap|sharedOrderedMap, K, V, x, X)
//                                    as the maps, and xShareFrom(other) takes over the content
//                                    of another record's x in constant time (SharedMap):
//                                    for versions built from the previous one
//                                                                    handleX(k)
//   (hashSet|orderedSet|smallSet, K, x, X)
//                                    x(), x(k) membership, xIs(k), xDel(k), xDelAll()
//                                                                    handleX(k)
//   (hashChildren|orderedChildren|smallChildren, K, C, x, X)
//                                    x(), x(k) the child or null, xIs(k, args...) finds or
//                                    creates C(k, args...), xIs(k, Cog::built(child)) finds
//                                    or adds a child built aside, xDel(k), xDelAll()
//                                                                    handleX(k)
// Setters notify only on change: a value setter when the value differs, xIs of a collection
// when it creates or changes an entry, xDel when it removes one, xDelAll once per entry.
// Asking xIs again for an existing child with different arguments throws the reinstantiation
// error when the child can tell (it has `bool constructedWith(args...) const`); a child that
// is found is otherwise returned unchanged. Hashed collections iterate in table order, ordered
// ones in key order; both stay safe to iterate while handlers change them.
//
// Types with commas must be given through an alias.
#define COG_RECORD(Self, ...)                                                                  \
 public:                                                                                       \
  class Reactor : public ::Cog::ReactorOf<Self> {                                              \
   public:                                                                                     \
    explicit Reactor(::Cog::Ptr<Self const> const& record) : ::Cog::ReactorOf<Self>(record) {} \
    COG_PP_FOR_EACH(COG_HANDLER_, __VA_ARGS__)                                                 \
    void replay() override {                                                                   \
      if (!this->notifier()) {                                                                 \
        return;                                                                                \
      }                                                                                        \
      COG_PP_FOR_EACH(COG_REPLAY_, __VA_ARGS__)                                                \
    }                                                                                          \
  };                                                                                           \
  COG_PP_FOR_EACH(COG_ACCESS_, __VA_ARGS__)                                                    \
                                                                                               \
 private:                                                                                      \
  COG_PP_FOR_EACH(COG_MEMBER_, __VA_ARGS__)                                                    \
                                                                                               \
 public:                                                                                       \
  static_assert(true, "")

namespace Cog {

// A child made before it joins its collection; see xIs(k, Cog::built(child)).
template <class C>
struct Built {
  Ptr<C> child;
};
template <class C>
Built<C> built(Ptr<C> child) {
  return Built<C>{std::move(child)};
}

}  // namespace Cog

namespace Cog::detail {

template <class K>
K const& entryKey(K const& key) {
  return key;
}
template <class K, class V>
K const& entryKey(std::pair<K const&, V> const& entry) {
  return entry.first;
}
template <class K, class V>
K const& entryKey(std::pair<K, V> const& entry) {  // a key handed out by value
  return entry.first;
}

// Throws the reinstantiation error when an existing child was built from other arguments,
// as far as the child can tell.
template <class C, class... Args>
void checkArguments(C const& child, char const* attribute, Args const&... args) {
  if constexpr (requires { child.constructedWith(args...); }) {
    if (!child.constructedWith(args...)) {
      throw ReinstantiationError(attribute);
    }
  }
}

// Finds the child of `key` or adds the one built aside: watchers of the collection meet a new
// child whole, once, instead of seeing each of its attributes filled in. The built child must
// have been made for `key`; nobody may watch it yet.
template <class C, class Map, class K>
std::pair<Ptr<C>, bool> childIs(Map& map, K const& key, char const*, Built<C> built) {
  if (Ptr<C>* found = map.find(key)) {
    return {*found, false};
  }
  map.tryEmplace(key, built.child);
  return {std::move(built.child), true};
}

// Finds the child of `key` or creates it with C(key, args...).
template <class C, class Map, class K, class... Args>
std::pair<Ptr<C>, bool> childIs(Map& map, K const& key, char const* attribute, Args&&... args) {
  if (Ptr<C>* found = map.find(key)) {
    checkArguments(**found, attribute, args...);
    return {*found, false};
  }
  Ptr<C> child = make<C>(key, std::forward<Args>(args)...);
  map.tryEmplace(key, child);
  return {child, true};
}

// Removes every entry, notifying once per key.
template <class Map, std::size_t kShards, class Notify>
void delAll(SharedMap<Map, kShards>& map, Notify&& notify) {
  for (auto const& key : map.clear()) {
    notify(key);
  }
}
template <class Map, class Notify>
void delAll(Map& map, Notify&& notify) {
  for (auto&& entry : map) {
    auto const& key = entryKey(entry);
    map.erase(key);
    notify(key);
  }
}

}  // namespace Cog::detail

// ---- Machinery below: applying a macro per attribute. -------------------------------------

#define COG_PP_CAT(a, b) COG_PP_CAT_(a, b)
#define COG_PP_CAT_(a, b) a##b
#define COG_PP_KIND(kind, ...) kind
#define COG_PP_APPLY(M, attr) COG_PP_CAT(M, COG_PP_KIND attr) attr
#define COG_PP_FOR_EACH(M, ...) COG_PP_CAT(COG_PP_FE_, COG_PP_NARGS(__VA_ARGS__))(M, __VA_ARGS__)
#define COG_PP_NARGS(...)                                                                        \
  COG_PP_NARGS_(__VA_ARGS__, 40, 39, 38, 37, 36, 35, 34, 33, 32, 31, 30, 29, 28, 27, 26, 25, 24, \
                23, 22, 21, 20, 19, 18, 17, 16, 15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1)
#define COG_PP_NARGS_(_1, _2, _3, _4, _5, _6, _7, _8, _9, _10, _11, _12, _13, _14, _15, _16, _17, \
                      _18, _19, _20, _21, _22, _23, _24, _25, _26, _27, _28, _29, _30, _31, _32,  \
                      _33, _34, _35, _36, _37, _38, _39, _40, n, ...)                             \
  n
#define COG_PP_FE_1(M, a) COG_PP_APPLY(M, a)
#define COG_PP_FE_2(M, a, ...) COG_PP_APPLY(M, a) COG_PP_FE_1(M, __VA_ARGS__)
#define COG_PP_FE_3(M, a, ...) COG_PP_APPLY(M, a) COG_PP_FE_2(M, __VA_ARGS__)
#define COG_PP_FE_4(M, a, ...) COG_PP_APPLY(M, a) COG_PP_FE_3(M, __VA_ARGS__)
#define COG_PP_FE_5(M, a, ...) COG_PP_APPLY(M, a) COG_PP_FE_4(M, __VA_ARGS__)
#define COG_PP_FE_6(M, a, ...) COG_PP_APPLY(M, a) COG_PP_FE_5(M, __VA_ARGS__)
#define COG_PP_FE_7(M, a, ...) COG_PP_APPLY(M, a) COG_PP_FE_6(M, __VA_ARGS__)
#define COG_PP_FE_8(M, a, ...) COG_PP_APPLY(M, a) COG_PP_FE_7(M, __VA_ARGS__)
#define COG_PP_FE_9(M, a, ...) COG_PP_APPLY(M, a) COG_PP_FE_8(M, __VA_ARGS__)
#define COG_PP_FE_10(M, a, ...) COG_PP_APPLY(M, a) COG_PP_FE_9(M, __VA_ARGS__)
#define COG_PP_FE_11(M, a, ...) COG_PP_APPLY(M, a) COG_PP_FE_10(M, __VA_ARGS__)
#define COG_PP_FE_12(M, a, ...) COG_PP_APPLY(M, a) COG_PP_FE_11(M, __VA_ARGS__)
#define COG_PP_FE_13(M, a, ...) COG_PP_APPLY(M, a) COG_PP_FE_12(M, __VA_ARGS__)
#define COG_PP_FE_14(M, a, ...) COG_PP_APPLY(M, a) COG_PP_FE_13(M, __VA_ARGS__)
#define COG_PP_FE_15(M, a, ...) COG_PP_APPLY(M, a) COG_PP_FE_14(M, __VA_ARGS__)
#define COG_PP_FE_16(M, a, ...) COG_PP_APPLY(M, a) COG_PP_FE_15(M, __VA_ARGS__)
#define COG_PP_FE_17(M, a, ...) COG_PP_APPLY(M, a) COG_PP_FE_16(M, __VA_ARGS__)
#define COG_PP_FE_18(M, a, ...) COG_PP_APPLY(M, a) COG_PP_FE_17(M, __VA_ARGS__)
#define COG_PP_FE_19(M, a, ...) COG_PP_APPLY(M, a) COG_PP_FE_18(M, __VA_ARGS__)
#define COG_PP_FE_20(M, a, ...) COG_PP_APPLY(M, a) COG_PP_FE_19(M, __VA_ARGS__)
#define COG_PP_FE_21(M, a, ...) COG_PP_APPLY(M, a) COG_PP_FE_20(M, __VA_ARGS__)
#define COG_PP_FE_22(M, a, ...) COG_PP_APPLY(M, a) COG_PP_FE_21(M, __VA_ARGS__)
#define COG_PP_FE_23(M, a, ...) COG_PP_APPLY(M, a) COG_PP_FE_22(M, __VA_ARGS__)
#define COG_PP_FE_24(M, a, ...) COG_PP_APPLY(M, a) COG_PP_FE_23(M, __VA_ARGS__)
#define COG_PP_FE_25(M, a, ...) COG_PP_APPLY(M, a) COG_PP_FE_24(M, __VA_ARGS__)
#define COG_PP_FE_26(M, a, ...) COG_PP_APPLY(M, a) COG_PP_FE_25(M, __VA_ARGS__)
#define COG_PP_FE_27(M, a, ...) COG_PP_APPLY(M, a) COG_PP_FE_26(M, __VA_ARGS__)
#define COG_PP_FE_28(M, a, ...) COG_PP_APPLY(M, a) COG_PP_FE_27(M, __VA_ARGS__)
#define COG_PP_FE_29(M, a, ...) COG_PP_APPLY(M, a) COG_PP_FE_28(M, __VA_ARGS__)
#define COG_PP_FE_30(M, a, ...) COG_PP_APPLY(M, a) COG_PP_FE_29(M, __VA_ARGS__)
#define COG_PP_FE_31(M, a, ...) COG_PP_APPLY(M, a) COG_PP_FE_30(M, __VA_ARGS__)
#define COG_PP_FE_32(M, a, ...) COG_PP_APPLY(M, a) COG_PP_FE_31(M, __VA_ARGS__)
#define COG_PP_FE_33(M, a, ...) COG_PP_APPLY(M, a) COG_PP_FE_32(M, __VA_ARGS__)
#define COG_PP_FE_34(M, a, ...) COG_PP_APPLY(M, a) COG_PP_FE_33(M, __VA_ARGS__)
#define COG_PP_FE_35(M, a, ...) COG_PP_APPLY(M, a) COG_PP_FE_34(M, __VA_ARGS__)
#define COG_PP_FE_36(M, a, ...) COG_PP_APPLY(M, a) COG_PP_FE_35(M, __VA_ARGS__)
#define COG_PP_FE_37(M, a, ...) COG_PP_APPLY(M, a) COG_PP_FE_36(M, __VA_ARGS__)
#define COG_PP_FE_38(M, a, ...) COG_PP_APPLY(M, a) COG_PP_FE_37(M, __VA_ARGS__)
#define COG_PP_FE_39(M, a, ...) COG_PP_APPLY(M, a) COG_PP_FE_38(M, __VA_ARGS__)
#define COG_PP_FE_40(M, a, ...) COG_PP_APPLY(M, a) COG_PP_FE_39(M, __VA_ARGS__)
// Handlers of the Reactor interface.
#define COG_HANDLER_value(k, T, x, X) \
  virtual void handle##X() {}
#define COG_HANDLER_valueInit(k, T, x, X, init) \
  virtual void handle##X() {}
#define COG_HANDLER_ptr(k, T, x, X) \
  virtual void handle##X() {}
#define COG_HANDLER_child(k, C, x, X) \
  virtual void handle##X() {}
#define COG_HANDLER_hashMap(k, K, V, x, X) \
  virtual void handle##X(K const&) {}
#define COG_HANDLER_orderedMap(k, K, V, x, X) \
  virtual void handle##X(K const&) {}
#define COG_HANDLER_smallMap COG_HANDLER_orderedMap
#define COG_HANDLER_sharedHashMap(k, K, V, x, X) \
  virtual void handle##X(K const&) {}
#define COG_HANDLER_sharedOrderedMap(k, K, V, x, X) \
  virtual void handle##X(K const&) {}
#define COG_HANDLER_hashSet(k, K, x, X) \
  virtual void handle##X(K const&) {}
#define COG_HANDLER_orderedSet(k, K, x, X) \
  virtual void handle##X(K const&) {}
#define COG_HANDLER_smallSet COG_HANDLER_orderedSet
#define COG_HANDLER_hashChildren(k, K, C, x, X) \
  virtual void handle##X(K const&) {}
#define COG_HANDLER_orderedChildren(k, K, C, x, X) \
  virtual void handle##X(K const&) {}
#define COG_HANDLER_smallChildren COG_HANDLER_orderedChildren

// Statements of Reactor::replay().
#define COG_REPLAY_SINGLE_(X) handle##X();
#define COG_REPLAY_KEYED_(x, X)                \
  for (auto&& entry : this->notifier()->x()) { \
    handle##X(::Cog::detail::entryKey(entry)); \
  }
#define COG_REPLAY_value(k, T, x, X) COG_REPLAY_SINGLE_(X)
#define COG_REPLAY_valueInit(k, T, x, X, init) COG_REPLAY_SINGLE_(X)
#define COG_REPLAY_ptr(k, T, x, X) COG_REPLAY_SINGLE_(X)
#define COG_REPLAY_child(k, C, x, X) COG_REPLAY_SINGLE_(X)
#define COG_REPLAY_hashMap(k, K, V, x, X) COG_REPLAY_KEYED_(x, X)
#define COG_REPLAY_orderedMap(k, K, V, x, X) COG_REPLAY_KEYED_(x, X)
#define COG_REPLAY_smallMap COG_REPLAY_orderedMap
#define COG_REPLAY_sharedHashMap(k, K, V, x, X) COG_REPLAY_KEYED_(x, X)
#define COG_REPLAY_sharedOrderedMap(k, K, V, x, X) COG_REPLAY_KEYED_(x, X)
#define COG_REPLAY_hashSet(k, K, x, X) COG_REPLAY_KEYED_(x, X)
#define COG_REPLAY_orderedSet(k, K, x, X) COG_REPLAY_KEYED_(x, X)
#define COG_REPLAY_smallSet COG_REPLAY_orderedSet
#define COG_REPLAY_hashChildren(k, K, C, x, X) COG_REPLAY_KEYED_(x, X)
#define COG_REPLAY_orderedChildren(k, K, C, x, X) COG_REPLAY_KEYED_(x, X)
#define COG_REPLAY_smallChildren COG_REPLAY_orderedChildren

// Data members.
#define COG_MEMBER_value(k, T, x, X) T x##_{};
#define COG_MEMBER_valueInit(k, T, x, X, init) T x##_{init};
#define COG_MEMBER_ptr(k, T, x, X) ::Cog::Ptr<T> x##_;
#define COG_MEMBER_child(k, C, x, X) ::Cog::Ptr<C> x##_;
#define COG_MEMBER_hashMap(k, K, V, x, X) X##Collection x##_;
#define COG_MEMBER_orderedMap(k, K, V, x, X) X##Collection x##_;
#define COG_MEMBER_smallMap COG_MEMBER_orderedMap
#define COG_MEMBER_sharedHashMap(k, K, V, x, X) X##Collection x##_;
#define COG_MEMBER_sharedOrderedMap(k, K, V, x, X) X##Collection x##_;
#define COG_MEMBER_hashSet(k, K, x, X) X##Collection x##_;
#define COG_MEMBER_orderedSet(k, K, x, X) X##Collection x##_;
#define COG_MEMBER_smallSet COG_MEMBER_orderedSet
#define COG_MEMBER_hashChildren(k, K, C, x, X) X##Collection x##_;
#define COG_MEMBER_orderedChildren(k, K, C, x, X) X##Collection x##_;
#define COG_MEMBER_smallChildren COG_MEMBER_orderedChildren

// Accessors.
#define COG_ACCESS_SINGLE_VALUE_(T, x, X) \
  T const& x() const { return x##_; }     \
  void x##Is(T const& v) {                \
    if (x##_ == v) {                      \
      return;                             \
    }                                     \
    x##_ = v;                             \
    this->notify(&Reactor::handle##X);    \
  }
#define COG_ACCESS_value(k, T, x, X) COG_ACCESS_SINGLE_VALUE_(T, x, X)
#define COG_ACCESS_valueInit(k, T, x, X, init) COG_ACCESS_SINGLE_VALUE_(T, x, X)
#define COG_ACCESS_ptr(k, T, x, X)                \
  ::Cog::Ptr<T> const& x() const { return x##_; } \
  void x##Is(::Cog::Ptr<T> const& p) {            \
    if (x##_ == p) {                              \
      return;                                     \
    }                                             \
    x##_ = p;                                     \
    this->notify(&Reactor::handle##X);            \
  }
#define COG_ACCESS_child(k, C, x, X)                     \
  ::Cog::Ptr<C const> x() const { return x##_; }         \
  ::Cog::Ptr<C> x() { return x##_; }                     \
  template <class... Args>                               \
  ::Cog::Ptr<C> x##Is(Args&&... args) {                  \
    if (x##_) {                                          \
      ::Cog::detail::checkArguments(*x##_, #x, args...); \
      return x##_;                                       \
    }                                                    \
    x##_ = ::Cog::make<C>(std::forward<Args>(args)...);  \
    this->notify(&Reactor::handle##X);                   \
    return x##_;                                         \
  }                                                      \
  void x##Del() {                                        \
    if (!x##_) {                                         \
      return;                                            \
    }                                                    \
    x##_ = nullptr;                                      \
    this->notify(&Reactor::handle##X);                   \
  }
#define COG_ACCESS_MAP_READ_(K, V, x, X)          \
  X##Collection const& x() const { return x##_; } \
  V x(K const& key) const {                       \
    V const* found = x##_.find(key);              \
    return found ? *found : V{};                  \
  }
// A value given as a temporary is moved in, copied otherwise; either is left alone when the
// entry already holds an equal value.
#define COG_ACCESS_MAP_SET_(K, V, x, X, ref, pass)        \
  void x##Is(K const& key, V ref v) {                     \
    auto [slot, created] = x##_.tryEmplace(key, pass(v)); \
    if (!created) {                                       \
      if (*slot == v) {                                   \
        return;                                           \
      }                                                   \
      *slot = pass(v);                                    \
    }                                                     \
    this->notify(&Reactor::handle##X, key);               \
  }
#define COG_ACCESS_MAP_(K, V, x, X)              \
  COG_ACCESS_MAP_READ_(K, V, x, X)               \
  COG_ACCESS_MAP_SET_(K, V, x, X, const&, )      \
  COG_ACCESS_MAP_SET_(K, V, x, X, &&, std::move) \
  COG_ACCESS_DEL_(K, x, X)
#define COG_ACCESS_DEL_(K, x, X)                                                                   \
  void x##Del(K const& key) {                                                                      \
    K const copy = key; /* the key may live in the entry being removed */                          \
    if (x##_.erase(copy)) {                                                                        \
      this->notify(&Reactor::handle##X, copy);                                                     \
    }                                                                                              \
  }                                                                                                \
  void x##DelAll() {                                                                               \
    ::Cog::detail::delAll(x##_, [this](K const& key) { this->notify(&Reactor::handle##X, key); }); \
  }
#define COG_ACCESS_hashMap(k, K, V, x, X)         \
  using X##Collection = ::Cog::HashMap2018<K, V>; \
  COG_ACCESS_MAP_(K, V, x, X)
#define COG_ACCESS_orderedMap(k, K, V, x, X)    \
  using X##Collection = ::Cog::RbTreeMap<K, V>; \
  COG_ACCESS_MAP_(K, V, x, X)
#define COG_ACCESS_smallMap(k, K, V, x, X)     \
  using X##Collection = ::Cog::SmallMap<K, V>; \
  COG_ACCESS_MAP_(K, V, x, X)
// Taking over another record's content notifies the keys that differ, when anyone watches.
#define COG_ACCESS_SHARED_MAP_(K, V, x, X)                  \
  COG_ACCESS_MAP_READ_(K, V, x, X)                          \
  void x##Is(K const& key, V v) {                           \
    if (x##_.assign(key, std::move(v))) {                   \
      this->notify(&Reactor::handle##X, key);               \
    }                                                       \
  }                                                         \
  COG_ACCESS_DEL_(K, x, X)                                  \
  template <class Other>                                    \
  void x##ShareFrom(Other const& other) {                   \
    if (this->reactorCount() == 0) {                        \
      x##_.shareFrom(other.x());                            \
      return;                                               \
    }                                                       \
    auto const changed = x##_.keysDifferingFrom(other.x()); \
    x##_.shareFrom(other.x());                              \
    for (K const& key : changed) {                          \
      this->notify(&Reactor::handle##X, key);               \
    }                                                       \
  }
#define COG_ACCESS_sharedHashMap(k, K, V, x, X)     \
  using X##Collection = ::Cog::SharedHashMap<K, V>; \
  COG_ACCESS_SHARED_MAP_(K, V, x, X)
#define COG_ACCESS_sharedOrderedMap(k, K, V, x, X)     \
  using X##Collection = ::Cog::SharedOrderedMap<K, V>; \
  COG_ACCESS_SHARED_MAP_(K, V, x, X)
#define COG_ACCESS_SET_(K, x, X)                            \
  X##Collection const& x() const { return x##_; }           \
  bool x(K const& key) const { return x##_.contains(key); } \
  void x##Is(K const& key) {                                \
    if (x##_.tryEmplace(key).second) {                      \
      this->notify(&Reactor::handle##X, key);               \
    }                                                       \
  }                                                         \
  COG_ACCESS_DEL_(K, x, X)
#define COG_ACCESS_hashSet(k, K, x, X)         \
  using X##Collection = ::Cog::HashMap2018<K>; \
  COG_ACCESS_SET_(K, x, X)
#define COG_ACCESS_orderedSet(k, K, x, X)    \
  using X##Collection = ::Cog::RbTreeMap<K>; \
  COG_ACCESS_SET_(K, x, X)
#define COG_ACCESS_smallSet(k, K, x, X)     \
  using X##Collection = ::Cog::SmallMap<K>; \
  COG_ACCESS_SET_(K, x, X)
#define COG_ACCESS_CHILDREN_(K, C, x, X)                                                           \
  X##Collection const& x() const { return x##_; }                                                  \
  X##Collection& x() { return x##_; }                                                              \
  ::Cog::Ptr<C const> x(K const& key) const {                                                      \
    ::Cog::Ptr<C> const* found = x##_.find(key);                                                   \
    return found ? ::Cog::Ptr<C const>(*found) : ::Cog::Ptr<C const>();                            \
  }                                                                                                \
  ::Cog::Ptr<C> x(K const& key) {                                                                  \
    ::Cog::Ptr<C>* found = x##_.find(key);                                                         \
    return found ? *found : ::Cog::Ptr<C>();                                                       \
  }                                                                                                \
  template <class... Args>                                                                         \
  ::Cog::Ptr<C> x##Is(K const& key, Args&&... args) {                                              \
    auto [child, created] = ::Cog::detail::childIs<C>(x##_, key, #x, std::forward<Args>(args)...); \
    if (created) {                                                                                 \
      this->notify(&Reactor::handle##X, key);                                                      \
    }                                                                                              \
    return child;                                                                                  \
  }                                                                                                \
  COG_ACCESS_DEL_(K, x, X)
#define COG_ACCESS_hashChildren(k, K, C, x, X)                \
  using X##Collection = ::Cog::HashMap2018<K, ::Cog::Ptr<C>>; \
  COG_ACCESS_CHILDREN_(K, C, x, X)
#define COG_ACCESS_orderedChildren(k, K, C, x, X)           \
  using X##Collection = ::Cog::RbTreeMap<K, ::Cog::Ptr<C>>; \
  COG_ACCESS_CHILDREN_(K, C, x, X)
#define COG_ACCESS_smallChildren(k, K, C, x, X)            \
  using X##Collection = ::Cog::SmallMap<K, ::Cog::Ptr<C>>; \
  COG_ACCESS_CHILDREN_(K, C, x, X)
