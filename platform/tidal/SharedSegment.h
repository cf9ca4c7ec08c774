#pragma once

#include <sys/types.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "platform/cog/Errors.h"

namespace Tidal {

// A shared table that cannot be opened, created or grown as asked; the text says why.
class TableError : public Cog::Error {
 public:
  using Cog::Error::Error;
};

// The size of a segment: `slotCount` entries of at most `slotBytes` octets each, and a change
// ring of `ringSize` slot numbers (a power of two).
struct SegmentGeometry {
  std::uint32_t slotCount = 4096;
  std::uint32_t slotBytes = 1024;
  std::uint32_t ringSize = 65536;
  bool operator==(SegmentGeometry const&) const = default;
};

// A POSIX shared-memory segment (shm_open, so a file under /dev/shm) holding a table's entries
// in fixed slots, one writer process and any number of readers that map it read-only.
//
// - Each slot is a seqlock: the writer makes its sequence odd, writes the octets and a checksum,
//   and makes it even again; a reader copies the slot and keeps the copy only when the sequence
//   was even and unchanged, so it never sees a torn entry. A stable slot whose checksum fails,
//   or whose length is impossible, is corrupt.
// - Every slot write appends the slot number to the change ring and advances the change count.
//   A reader remembers how far it has read; when the writer has lapped it (more than ringSize
//   changes unread) it must rescan every slot.
// - Wake-ups go through a futex word in the segment that the writer bumps and wakes after each
//   change. A futex needs nothing but the mapping, so it survives either side restarting, and
//   the writer never blocks on a slow reader (as it could on a full FIFO); the ring, not the
//   wake-up, carries what changed, so a lost or merged wake-up loses nothing.
// The segment is unmapped when the object goes; the name stays until remove().
class SharedSegment {
 public:
  // Opens the table `name` for writing, creating it with `geometry` and `mode` when absent.
  // An existing table is adopted as it is (so a restarted writer keeps its entries) when its
  // geometry is `geometry`; otherwise, or when it cannot be opened, throws TableError.
  static std::unique_ptr<SharedSegment> openForWriting(std::string const& name,
                                                       SegmentGeometry const& geometry,
                                                       mode_t mode = 0600);
  // Maps the table `name` read-only; throws TableError when it is absent or not a table.
  static std::unique_ptr<SharedSegment> openForReading(std::string const& name);
  // Removes the name (mappings stay valid); false when there was none.
  static bool remove(std::string const& name);

  ~SharedSegment();
  SharedSegment(SharedSegment const&) = delete;
  SharedSegment& operator=(SharedSegment const&) = delete;

  SegmentGeometry const& geometry() const { return geometry_; }
  bool writable() const { return writable_; }

  enum class SlotState { empty, used, corrupt };
  // Copies slot `slot` into `payload` (cleared unless used).
  SlotState readSlot(std::uint32_t slot, std::vector<std::uint8_t>& payload) const;
  // Writer only: stores `payload` (empty frees the slot), records the change and wakes readers.
  void writeSlot(std::uint32_t slot, std::span<std::uint8_t const> payload);

  // The number of changes written so far.
  std::uint64_t changeCount() const;
  // The slot of change number `change`; only meaningful while the writer has not lapped it.
  std::uint32_t changedSlot(std::uint64_t change) const;
  // Blocks until the change count differs from `seen` or wakeAll() is called.
  void waitForChange(std::uint64_t seen) const;
  // Wakes every thread blocked in waitForChange() on this segment.
  void wakeAll() const;

  // Test hook: overwrites one payload octet of `slot` without updating its checksum.
  void corruptSlotForTest(std::uint32_t slot);

 private:
  struct Header;
  struct Slot;

  SharedSegment(void* base, std::size_t size, bool writable);
  Header& header() const;
  Slot& slot(std::uint32_t index) const;
  std::atomic<std::uint32_t>& ringEntry(std::uint64_t change) const;
  std::size_t slotStride() const;

  void* base_;
  std::size_t size_;
  bool writable_;
  SegmentGeometry geometry_;
};

}  // namespace Tidal
