#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/trace/Trace.h"

namespace Trace {

// A text sink that keeps every line, for tests that assert on exact trace texts. Installing it
// replaces the current sink until the capture is destroyed.
class CaptureSink : public Sink {
 public:
  struct Captured {
    std::string handle;
    int level;
    std::string function;
    std::string message;
  };

  void write(Line const& line) override;

  std::vector<Captured> const& lines() const { return lines_; }
  // The messages alone, optionally only those of one handle.
  std::vector<std::string> messages(std::string const& handle = "") const;
  // Whether some message equals `message` exactly.
  bool contains(std::string const& message) const;
  void clear() { lines_.clear(); }

 private:
  std::vector<Captured> lines_;
};

// Installs a CaptureSink for its lifetime, restoring the previous sink afterwards.
class ScopedCapture {
 public:
  ScopedCapture();
  ~ScopedCapture();
  ScopedCapture(ScopedCapture const&) = delete;
  ScopedCapture& operator=(ScopedCapture const&) = delete;

  CaptureSink& sink() { return *sink_; }
  CaptureSink const* operator->() const { return sink_.get(); }

 private:
  std::shared_ptr<CaptureSink> sink_;
  std::shared_ptr<Sink> previous_;
};

// Sets the text level of the handle named `handle` for its lifetime and restores the previous
// level afterwards, however the scope ends. A name that no handle has is a programming error of
// the test (std::invalid_argument), so a renamed handle cannot silently capture nothing.
class ScopedTextLevel {
 public:
  ScopedTextLevel(std::string_view handle, int level);
  ~ScopedTextLevel();
  ScopedTextLevel(ScopedTextLevel const&) = delete;
  ScopedTextLevel& operator=(ScopedTextLevel const&) = delete;

 private:
  Handle* handle_;
  int previous_;
};

}  // namespace Trace
