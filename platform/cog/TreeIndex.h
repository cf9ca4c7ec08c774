#pragma once

#include <bit>
#include <concepts>
#include <cstddef>
#include <functional>
#include <vector>

namespace Cog {

template <class K>
concept Hashable = std::equality_comparable<K> && requires(K const& key) {
  { std::hash<K>{}(key) } -> std::convertible_to<std::size_t>;
};

// A hash index of the nodes of an ordered tree (a std::map), for point lookups. A lookup in a
// tree of a hundred thousand keys walks some seventeen nodes, nearly each one a cache miss;
// through the index it is a probe or two in one array and one node. Open addressing with
// linear probing; a slot holds the node's iterator and the key's hash, so most mismatches are
// told without touching the node.
template <class Tree>
class TreeIndex {
  using Key = typename Tree::key_type;
  using It = typename Tree::iterator;

 public:
  // The index of every node of `tree`.
  explicit TreeIndex(Tree& tree) {
    std::size_t capacity = 16;
    while (capacity < tree.size() * 2) {
      capacity *= 2;
    }
    resize(capacity);
    for (It it = tree.begin(); it != tree.end(); ++it) {
      place(Slot{it, slotHash(it->first)});
      ++count_;
    }
  }
  // The node of `key`, or `end`.
  It find(Key const& key, It end) const {
    std::size_t const hash = slotHash(key);
    for (std::size_t pos = home(hash);; pos = (pos + 1) & mask()) {
      Slot const& slot = slots_[pos];
      if (slot.hash == 0) {
        return end;
      }
      if (slot.hash == hash && slot.it->first == key) {
        return slot.it;
      }
    }
  }

  void insert(It it) {
    if ((count_ + 1) * 4 > slots_.size() * 3) {
      std::vector<Slot> old;
      old.swap(slots_);
      resize(old.size() * 2);
      for (Slot const& slot : old) {
        if (slot.hash != 0) {
          place(slot);
        }
      }
    }
    place(Slot{it, slotHash(it->first)});
    ++count_;
  }

  // Removes the node `it` (which the index holds), shifting back the slots after it that
  // probed past its position, so no lookup stops early at the hole.
  void erase(It it) {
    std::size_t const hash = slotHash(it->first);
    std::size_t hole = home(hash);
    while (slots_[hole].it != it) {
      hole = (hole + 1) & mask();
    }
    for (std::size_t pos = (hole + 1) & mask(); slots_[pos].hash != 0; pos = (pos + 1) & mask()) {
      std::size_t const want = home(slots_[pos].hash);
      // It moves into the hole when the hole lies on its probe path, from its home to pos.
      if (((pos - want) & mask()) >= ((pos - hole) & mask())) {
        slots_[hole] = slots_[pos];
        hole = pos;
      }
    }
    slots_[hole] = Slot{};
    --count_;
  }

 private:
  static_assert(sizeof(std::size_t) == 8, "the hash mixing and the shifts assume 64 bits");

  struct Slot {
    It it{};
    std::size_t hash = 0;  // kUsed set in a used slot
  };
  // The low bit, the worst mixed, marks a used slot.
  static constexpr std::size_t kUsed = 1;

  // What a slot of `key` holds: Fibonacci hashing, whose product's high bits depend on all of
  // the hash (for integers, the integer itself), with kUsed set.
  static std::size_t slotHash(Key const& key) {
    std::size_t const hash = std::hash<Key>{}(key);
    return hash * std::size_t{0x9E3779B97F4A7C15ull} | kUsed;
  }
  // `capacity` is a power of two.
  void resize(std::size_t capacity) {
    slots_.assign(capacity, Slot{});
    shift_ = 64 - std::countr_zero(capacity);
  }
  std::size_t mask() const { return slots_.size() - 1; }
  // The slot a hash starts probing at: its high bits.
  std::size_t home(std::size_t hash) const { return hash >> shift_; }
  void place(Slot slot) {
    std::size_t pos = home(slot.hash);
    while (slots_[pos].hash != 0) {
      pos = (pos + 1) & mask();
    }
    slots_[pos] = slot;
  }

  std::vector<Slot> slots_;
  std::size_t count_ = 0;
  int shift_ = 64;
};

}  // namespace Cog
