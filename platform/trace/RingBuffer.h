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

  void write(void const* data, std::size_t size);
  void read(std::size_t offset, void* data, std::size_t size) const;
  void dropOldest();

  std::vector<char> buffer_;
  std::size_t head_ = 0;  // oldest record
  std::size_t used_ = 0;
  std::size_t records_ = 0;
};

RingBuffer& ringBuffer();

}  // namespace Trace
