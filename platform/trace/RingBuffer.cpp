#include "platform/trace/RingBuffer.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace Trace {

// Room for at least a few records of the longest message kept whole (a quarter of the buffer).
RingBuffer::RingBuffer(std::size_t capacityBytes)
    : buffer_(std::max<std::size_t>(capacityBytes, 256)) {}

namespace {

void formatText(Decoder& d, std::string& out) { out.append(d.rest()); }

}  // namespace

void RingBuffer::append(std::uint16_t handleId, int level, std::string_view function,
                        std::string_view message) {
  append(handleId, level, function, &formatText, message.substr(0, buffer_.size() / 4));
}

void RingBuffer::append(std::uint16_t handleId, int level, std::string_view function,
                        Formatter format, std::string_view message) {
  if (message.size() > buffer_.size() / 4) {
    // Pieces cannot be cut; a message this long is kept as its first part of text.
    std::string text;
    Decoder decoder(message);
    format(decoder, text);
    append(handleId, level, function, text);
    return;
  }
  Header const header{handleId,
                      static_cast<std::uint8_t>(level),
                      static_cast<std::uint8_t>(std::min<std::size_t>(function.size(), 255)),
                      static_cast<std::uint32_t>(message.size()),
                      function.data(),
                      format};
  char* const at = reserve(recordSize(message.size()));
  std::memcpy(at, &header, sizeof header);
  std::memcpy(at + sizeof header, message.data(), message.size());
  ++records_;
}

RingBuffer::Header RingBuffer::headerAt(std::size_t offset) const {
  Header header;
  std::memcpy(&header, buffer_.data() + offset, sizeof header);
  return header;
}

char* RingBuffer::reserve(std::size_t size) {
  for (;;) {
    if (records_ == 0) {
      head_ = tail_ = 0;
      wrapped_ = false;
    }
    if (!wrapped_) {
      if (tail_ + size <= buffer_.size()) {
        break;
      }
      // The end of the buffer stays unused until the records before it are dropped.
      end_ = tail_;
      tail_ = 0;
      wrapped_ = true;
    }
    if (tail_ + size <= head_) {
      break;
    }
    dropOldest();
  }
  char* const at = buffer_.data() + tail_;
  tail_ += size;
  return at;
}

void RingBuffer::dropOldest() {
  head_ += recordSize(headerAt(head_).messageLength);
  --records_;
  if (wrapped_ && head_ == end_) {
    head_ = 0;
    wrapped_ = false;
  }
}

std::vector<std::string> RingBuffer::lines() const {
  std::vector<std::string> out;
  std::size_t offset = head_;
  for (std::size_t i = 0; i < records_; ++i) {
    if (wrapped_ && offset == end_) {
      offset = 0;
    }
    Header const header = headerAt(offset);
    std::string line = std::to_string(header.handleId) + "/" + std::to_string(header.level) + " " +
                       std::string(header.function, header.functionLength) + ": ";
    Decoder decoder(
        std::string_view(buffer_.data() + offset + sizeof header, header.messageLength));
    header.format(decoder, line);
    out.push_back(std::move(line));
    offset += recordSize(header.messageLength);
  }
  return out;
}

RingBuffer& ringBuffer() {
  static RingBuffer buffer(4u << 20);
  return buffer;
}

}  // namespace Trace
