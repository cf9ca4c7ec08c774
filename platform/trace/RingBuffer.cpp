#include "platform/trace/RingBuffer.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace Trace {

RingBuffer::RingBuffer(std::size_t capacityBytes) : buffer_(capacityBytes) {}

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
  Header header{handleId,
                static_cast<std::uint8_t>(level),
                static_cast<std::uint8_t>(std::min<std::size_t>(function.size(), 255)),
                static_cast<std::uint32_t>(message.size()),
                function.data(),
                format};
  std::size_t const size = sizeof(Header) + message.size();
  while (used_ + size > buffer_.size()) {
    dropOldest();
  }
  write(&header, sizeof header);
  write(message.data(), message.size());
  ++records_;
}

// Positions stay below the buffer's size, so wrapping is one subtraction: tracing is on every
// hot path, and a division costs more than copying a short piece.
void RingBuffer::write(void const* data, std::size_t size) {
  auto const* bytes = static_cast<char const*>(data);
  std::size_t const capacity = buffer_.size();
  std::size_t tail = head_ + used_;
  tail -= tail >= capacity ? capacity : 0;
  std::size_t const first = std::min(size, capacity - tail);
  if (first > 0) {
    std::memcpy(buffer_.data() + tail, bytes, first);
  }
  if (first < size) {
    std::memcpy(buffer_.data(), bytes + first, size - first);
  }
  used_ += size;
}

void RingBuffer::read(std::size_t offset, void* data, std::size_t size) const {
  auto* bytes = static_cast<char*>(data);
  std::size_t const capacity = buffer_.size();
  std::size_t const pos = offset < capacity ? offset : offset % capacity;
  std::size_t const first = std::min(size, capacity - pos);
  std::memcpy(bytes, buffer_.data() + pos, first);
  if (first < size) {
    std::memcpy(bytes + first, buffer_.data(), size - first);
  }
}

void RingBuffer::dropOldest() {
  Header header;
  read(head_, &header, sizeof header);
  std::size_t const size = sizeof(Header) + header.messageLength;
  head_ += size;
  head_ -= head_ >= buffer_.size() ? buffer_.size() : 0;
  used_ -= size;
  --records_;
}

std::vector<std::string> RingBuffer::lines() const {
  std::vector<std::string> out;
  std::size_t offset = head_;
  for (std::size_t i = 0; i < records_; ++i) {
    Header header;
    read(offset, &header, sizeof header);
    std::string pieces(header.messageLength, '\0');
    read(offset + sizeof header, pieces.data(), pieces.size());
    std::string line = std::to_string(header.handleId) + "/" + std::to_string(header.level) + " " +
                       std::string(header.function, header.functionLength) + ": ";
    Decoder decoder(pieces);
    header.format(decoder, line);
    out.push_back(std::move(line));
    offset = (offset + sizeof header + header.messageLength) % buffer_.size();
  }
  return out;
}

RingBuffer& ringBuffer() {
  static RingBuffer buffer(4u << 20);
  return buffer;
}

}  // namespace Trace
