#include "platform/trace/CaptureSink.h"

#include <algorithm>
#include <stdexcept>

namespace Trace {

void CaptureSink::write(Line const& line) {
  lines_.push_back({std::string(line.handle), line.level, std::string(line.function),
                    std::string(line.message)});
}

std::vector<std::string> CaptureSink::messages(std::string const& handle) const {
  std::vector<std::string> out;
  for (auto const& line : lines_) {
    if (handle.empty() || line.handle == handle) {
      out.push_back(line.message);
    }
  }
  return out;
}

bool CaptureSink::contains(std::string const& message) const {
  return std::any_of(lines_.begin(), lines_.end(),
                     [&](Captured const& line) { return line.message == message; });
}

ScopedCapture::ScopedCapture() : sink_(std::make_shared<CaptureSink>()), previous_(textSink()) {
  textSinkIs(sink_);
}

ScopedCapture::~ScopedCapture() { textSinkIs(previous_); }

ScopedTextLevel::ScopedTextLevel(std::string_view handle, int level)
    : handle_(Handle::find(handle)) {
  if (!handle_) {
    throw std::invalid_argument("no trace handle named " + std::string(handle));
  }
  previous_ = handle_->textLevel();
  handle_->textLevelIs(level);
}

ScopedTextLevel::~ScopedTextLevel() { handle_->textLevelIs(previous_); }

}  // namespace Trace
