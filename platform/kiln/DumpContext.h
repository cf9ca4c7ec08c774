#pragma once

#include <string>
#include <vector>

namespace Kiln {

// Collects the lines of a state dump.
class DumpContext {
 public:
  void line(std::string text) { lines_.push_back(std::move(text)); }
  std::vector<std::string> const& lines() const { return lines_; }
  // The lines joined with '\n'.
  std::string text() const;

 private:
  std::vector<std::string> lines_;
};

// Adds one dump line: `indent` blanks (none at 0), then the printf-formatted text without its
// trailing '\n'. Without a context the line goes to the trace handle "Dump" at level 0,
// without the indentation.
void dumpf(DumpContext* ctx, int indent, char const* fmt, ...)
    __attribute__((format(printf, 3, 4)));

}  // namespace Kiln
