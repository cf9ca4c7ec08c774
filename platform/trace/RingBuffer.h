#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/trace/Args.h"

namespace Trace {

// The compact in-memory trace: the most recent messages of every handle, oldest overwritten
// first. A record is a small header (handle id, level, function name pointer, formatter,
// length) followed by the message's pieces as Args.h encodes them, so that tracing into the
// ring formats nothing and the buffer holds many more messages than a line-per-slot log would.
// Records are 8-byte aligned and never split across the end of the buffer: a record that does
// not fit before the end goes to the start, so that writing one is two plain copies.
class RingBuffer {
 public:
  explicit RingBuffer(std::size_t capacityBytes);

  // A message already formatted.
  void append(std::uint16_t handleId, int level, std::string_view function,
              std::string_view message);
  // A message as encoded pieces, formatted by `format` when read.
  void append(std::uint16_t handleId, int level, std::string_view function, Formatter format,
              std::string_view pieces);
  // The records still held, oldest first, as "<handle id>/<level> <function>: <message>".
  std::vector<std::string> lines() const;
  std::size_t recordCount() const { return records_; }

 private:
  struct Header {
    std::uint16_t handleId;
    std::uint8_t level;
    std::uint8_t functionLength;
    std::uint32_t messageLength;
    char const* function;
    Formatter format;
  };

  static std::size_t recordSize(std::size_t messageLength) {
    return (sizeof(Header) + messageLength + 7) & ~std::size_t{7};
  }
  Header headerAt(std::size_t offset) const;
  // Where a record of `size` bytes goes, the oldest records dropped to make room.
  char* reserve(std::size_t size);
  void dropOldest();

  // The records lie in [head_, tail_), or, once wrapped, in [head_, end_) and then [0, tail_).
  std::vector<char> buffer_;
  std::size_t head_ = 0;  // oldest record
  std::size_t tail_ = 0;
  std::size_t end_ = 0;
  bool wrapped_ = false;
  std::size_t records_ = 0;
};

RingBuffer& ringBuffer();

}  // namespace Trace
