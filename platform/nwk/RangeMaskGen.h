#pragma once

#include <cstdint>
#include <limits>
#include <type_traits>
#include <vector>

#include "platform/cog/Assert.h"

namespace Nwk {

// Decomposes an inclusive range [lo, hi] of an unsigned type into value/mask pairs, the way a
// classifier that matches "value under mask" expresses a range: each pair covers an aligned
// block of 2^k values, blocks are disjoint, maximal and in ascending order.
// [1, 6] gives (1, 0xFF), (2, 0xFE), (4, 0xFE), (6, 0xFF); [0, 255] gives (0, 0).
template <class T>
class RangeMaskGen {
  static_assert(std::is_unsigned_v<T> && sizeof(T) <= 4);

 public:
  struct Entry {
    T start;
    T end;
    T mask;  // the bits that must match
  };

  // The largest k, 0 to 8 * sizeof(T), such that `start` is a multiple of 2^k and
  // start + 2^k - 1 <= end.
  static unsigned getMaskBits(T start, T end) {
    unsigned mask = 0;
    std::uint64_t const s = start;
    std::uint64_t const e = end;
    while (mask < 8 * sizeof(T)) {
      std::uint64_t const block = std::uint64_t{1} << (mask + 1);
      if (s % block != 0 || s + block - 1 > e) {
        break;
      }
      ++mask;
    }
    COG_ASSERT(mask <= 8 * sizeof(T));
    return mask;
  }

  template <class Emit>
  static void run(T lo, T hi, Emit&& emit) {
    std::uint64_t s = lo;
    std::uint64_t const max = std::numeric_limits<T>::max();
    while (s <= hi && s <= max) {
      unsigned const k = getMaskBits(static_cast<T>(s), hi);
      std::uint64_t const size = std::uint64_t{1} << k;
      T const mask = static_cast<T>(~(size - 1));
      emit(Entry{static_cast<T>(s), static_cast<T>(s + size - 1), mask});
      s += size;
    }
  }

  static std::vector<Entry> run(T lo, T hi) {
    std::vector<Entry> entries;
    run(lo, hi, [&entries](Entry const& entry) { entries.push_back(entry); });
    return entries;
  }
};

}  // namespace Nwk
