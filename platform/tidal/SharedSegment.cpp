#include "platform/tidal/SharedSegment.h"

#include <fcntl.h>
#include <linux/futex.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstring>

namespace Tidal {

namespace {

constexpr std::uint64_t kMagic = 0x3162615464697254ull;  // "TridTab1" little-endian
constexpr std::uint32_t kVersion = 1;
constexpr std::size_t kHeaderBytes = 64;
constexpr std::size_t kSlotHeaderBytes = 16;
// A writer descheduled mid-write holds a slot odd for a scheduler tick or so; a slot odd for
// longer than this many attempts belongs to a writer that died mid-write and reads as corrupt.
constexpr int kReadAttempts = 100000;

std::size_t round8(std::size_t n) { return (n + 7) & ~std::size_t{7}; }

std::string shmName(std::string const& name) { return "/" + name; }

std::string failure(std::string const& name, char const* what) {
  return "rule table " + name + ": " + what + ": " + std::strerror(errno);
}

bool geometryValid(SegmentGeometry const& g) {
  return g.slotCount >= 1 && g.slotCount <= (1u << 24) && g.slotBytes >= 8 &&
         g.slotBytes <= (1u << 20) && g.slotBytes % 8 == 0 && g.ringSize >= 2 &&
         g.ringSize <= (1u << 24) && (g.ringSize & (g.ringSize - 1)) == 0;
}

std::size_t segmentBytes(SegmentGeometry const& g) {
  return kHeaderBytes + round8(std::size_t{g.ringSize} * 4) +
         std::size_t{g.slotCount} * (kSlotHeaderBytes + g.slotBytes);
}

std::string geometryText(SegmentGeometry const& g) {
  return std::to_string(g.slotCount) + " slots of " + std::to_string(g.slotBytes) +
         " octets, ring " + std::to_string(g.ringSize);
}

std::uint64_t checksum(std::uint32_t slot, std::uint32_t length, std::uint8_t const* data) {
  std::uint64_t h = 0xcbf29ce484222325ull ^ (std::uint64_t{slot} << 32 | length);
  for (std::uint32_t i = 0; i < length; ++i) {
    h = (h ^ data[i]) * 0x100000001b3ull;
  }
  return h;
}

long futex(std::atomic<std::uint32_t> const* word, int op, std::uint32_t value) {
  return syscall(SYS_futex, const_cast<std::atomic<std::uint32_t>*>(word), op, value, nullptr,
                 nullptr, 0);
}

}  // namespace

struct SharedSegment::Header {
  std::uint64_t magic;
  std::uint32_t version;
  std::uint32_t slotCount;
  std::uint32_t slotBytes;
  std::uint32_t ringSize;
  std::atomic<std::uint64_t> changeCount;
  std::atomic<std::uint32_t> wakeWord;
};

struct SharedSegment::Slot {
  std::atomic<std::uint32_t> sequence;
  std::uint32_t length;
  std::uint64_t checksum;
  std::uint8_t* payload() { return reinterpret_cast<std::uint8_t*>(this) + kSlotHeaderBytes; }
};

std::unique_ptr<SharedSegment> SharedSegment::openForWriting(std::string const& name,
                                                             SegmentGeometry const& geometry,
                                                             mode_t mode) {
  if (!geometryValid(geometry)) {
    throw TableError("rule table " + name + ": unusable geometry " + geometryText(geometry));
  }
  std::size_t const size = segmentBytes(geometry);
  bool created = true;
  int fd = shm_open(shmName(name).c_str(), O_RDWR | O_CREAT | O_EXCL, mode);
  if (fd < 0 && errno == EEXIST) {
    created = false;
    fd = shm_open(shmName(name).c_str(), O_RDWR, 0);
  }
  if (fd < 0) {
    throw TableError(failure(name, "cannot open"));
  }
  struct stat st {};
  if (created && ftruncate(fd, static_cast<off_t>(size)) != 0) {
    std::string const text = failure(name, "cannot size");
    close(fd);
    shm_unlink(shmName(name).c_str());
    throw TableError(text);
  }
  if (fstat(fd, &st) != 0 || static_cast<std::size_t>(st.st_size) != size) {
    close(fd);
    throw TableError("rule table " + name + ": exists with another size than " +
                     geometryText(geometry));
  }
  void* base = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
  close(fd);
  if (base == MAP_FAILED) {
    throw TableError(failure(name, "cannot map"));
  }
  std::unique_ptr<SharedSegment> segment(new SharedSegment(base, size, true));
  Header& h = segment->header();
  if (created) {
    h.version = kVersion;
    h.slotCount = geometry.slotCount;
    h.slotBytes = geometry.slotBytes;
    h.ringSize = geometry.ringSize;
    std::atomic_ref<std::uint64_t>(h.magic).store(kMagic, std::memory_order_release);
  } else if (std::atomic_ref<std::uint64_t>(h.magic).load(std::memory_order_acquire) != kMagic ||
             h.version != kVersion ||
             SegmentGeometry{h.slotCount, h.slotBytes, h.ringSize} != geometry) {
    throw TableError("rule table " + name + ": exists and is not a table of " +
                     geometryText(geometry));
  }
  segment->geometry_ = geometry;
  return segment;
}

std::unique_ptr<SharedSegment> SharedSegment::openForReading(std::string const& name) {
  int const fd = shm_open(shmName(name).c_str(), O_RDONLY, 0);
  if (fd < 0) {
    throw TableError(failure(name, "cannot open"));
  }
  struct stat st {};
  if (fstat(fd, &st) != 0 || static_cast<std::size_t>(st.st_size) < kHeaderBytes) {
    close(fd);
    throw TableError("rule table " + name + ": too small to be a table");
  }
  std::size_t const size = static_cast<std::size_t>(st.st_size);
  void* base = mmap(nullptr, size, PROT_READ, MAP_SHARED, fd, 0);
  close(fd);
  if (base == MAP_FAILED) {
    throw TableError(failure(name, "cannot map"));
  }
  std::unique_ptr<SharedSegment> segment(new SharedSegment(base, size, false));
  Header const& h = segment->header();
  SegmentGeometry const geometry{h.slotCount, h.slotBytes, h.ringSize};
  if (std::atomic_ref<std::uint64_t const>(h.magic).load(std::memory_order_acquire) != kMagic ||
      h.version != kVersion || !geometryValid(geometry) || segmentBytes(geometry) != size) {
    throw TableError("rule table " + name + ": not an initialised table");
  }
  segment->geometry_ = geometry;
  return segment;
}

bool SharedSegment::remove(std::string const& name) {
  return shm_unlink(shmName(name).c_str()) == 0;
}

SharedSegment::SharedSegment(void* base, std::size_t size, bool writable)
    : base_(base), size_(size), writable_(writable) {
  static_assert(sizeof(Header) <= kHeaderBytes);
  static_assert(sizeof(Slot) == kSlotHeaderBytes);
  static_assert(std::atomic<std::uint64_t>::is_always_lock_free);
}

SharedSegment::~SharedSegment() { munmap(base_, size_); }

SharedSegment::Header& SharedSegment::header() const { return *static_cast<Header*>(base_); }

std::size_t SharedSegment::slotStride() const { return kSlotHeaderBytes + geometry_.slotBytes; }

SharedSegment::Slot& SharedSegment::slot(std::uint32_t index) const {
  auto* slots = static_cast<std::uint8_t*>(base_) + kHeaderBytes +
                round8(std::size_t{geometry_.ringSize} * 4);
  return *reinterpret_cast<Slot*>(slots + std::size_t{index} * slotStride());
}

std::atomic<std::uint32_t>& SharedSegment::ringEntry(std::uint64_t change) const {
  auto* ring = reinterpret_cast<std::atomic<std::uint32_t>*>(static_cast<std::uint8_t*>(base_) +
                                                             kHeaderBytes);
  return ring[change & (geometry_.ringSize - 1)];
}

SharedSegment::SlotState SharedSegment::readSlot(std::uint32_t index,
                                                 std::vector<std::uint8_t>& payload) const {
  Slot& s = slot(index);
  for (int attempt = 0; attempt < kReadAttempts; ++attempt) {
    std::uint32_t const before = s.sequence.load(std::memory_order_acquire);
    if (before & 1) {
      sched_yield();
      continue;
    }
    // Copies taken while the writer may be writing; they are only trusted when the sequence
    // did not move.
    std::uint32_t length;
    std::uint64_t sum;
    std::memcpy(&length, &s.length, sizeof length);
    std::memcpy(&sum, &s.checksum, sizeof sum);
    bool const fits = length <= geometry_.slotBytes;
    payload.resize(fits ? length : 0);
    if (fits && length > 0) {  // an empty vector's data() may be null, which memcpy refuses
      std::memcpy(payload.data(), s.payload(), length);
    }
    std::atomic_thread_fence(std::memory_order_acquire);
    if (s.sequence.load(std::memory_order_relaxed) != before) {
      continue;
    }
    if (!fits || sum != checksum(index, length, payload.data())) {
      payload.clear();
      return SlotState::corrupt;
    }
    return length == 0 ? SlotState::empty : SlotState::used;
  }
  payload.clear();
  return SlotState::corrupt;
}

void SharedSegment::writeSlot(std::uint32_t index, std::span<std::uint8_t const> payload) {
  if (!writable_ || index >= geometry_.slotCount || payload.size() > geometry_.slotBytes) {
    throw TableError("rule table: slot write outside the table");
  }
  Slot& s = slot(index);
  std::uint32_t const sequence = s.sequence.load(std::memory_order_relaxed);
  // An odd sequence left by a writer that died mid-write is closed by this write.
  std::uint32_t const odd = sequence | 1;
  s.sequence.store(odd, std::memory_order_relaxed);
  std::atomic_thread_fence(std::memory_order_release);
  auto const length = static_cast<std::uint32_t>(payload.size());
  if (!payload.empty()) {
    std::memcpy(s.payload(), payload.data(), payload.size());
  }
  s.length = length;
  s.checksum = checksum(index, length, payload.data());
  s.sequence.store(odd + 1, std::memory_order_release);

  Header& h = header();
  std::uint64_t const change = h.changeCount.load(std::memory_order_relaxed);
  ringEntry(change).store(index, std::memory_order_relaxed);
  h.changeCount.store(change + 1, std::memory_order_release);
  h.wakeWord.fetch_add(1, std::memory_order_release);
  futex(&h.wakeWord, FUTEX_WAKE, INT_MAX);
}

std::uint64_t SharedSegment::changeCount() const {
  return header().changeCount.load(std::memory_order_acquire);
}

std::uint32_t SharedSegment::changedSlot(std::uint64_t change) const {
  return ringEntry(change).load(std::memory_order_relaxed);
}

void SharedSegment::waitForChange(std::uint64_t seen) const {
  std::uint32_t const word = header().wakeWord.load(std::memory_order_acquire);
  if (changeCount() != seen) {
    return;
  }
  // Returns at once when the word moved since it was read: no change is slept through.
  futex(&header().wakeWord, FUTEX_WAIT, word);
}

void SharedSegment::wakeAll() const { futex(&header().wakeWord, FUTEX_WAKE, INT_MAX); }

void SharedSegment::corruptSlotForTest(std::uint32_t index) {
  if (writable_ && index < geometry_.slotCount) {
    slot(index).payload()[0] ^= 0xff;
  }
}

}  // namespace Tidal
