#include "platform/kiln/DumpContext.h"

#include <cstdarg>
#include <cstdio>

#include "platform/trace/Trace.h"

namespace Kiln {

namespace {
Trace::Handle gDumpTrace("Dump");
}  // namespace

std::string DumpContext::text() const {
  std::string out;
  for (std::size_t i = 0; i < lines_.size(); ++i) {
    out += (i ? "\n" : "") + lines_[i];
  }
  return out;
}

void dumpf(DumpContext* ctx, int indent, char const* fmt, ...) {
  char buffer[1024];
  va_list args;
  va_start(args, fmt);
  int const n = std::vsnprintf(buffer, sizeof buffer, fmt, args);
  va_end(args);
  std::string text;
  if (n >= static_cast<int>(sizeof buffer)) {
    text.resize(static_cast<std::size_t>(n) + 1);
    va_start(args, fmt);
    std::vsnprintf(text.data(), text.size(), fmt, args);
    va_end(args);
    text.resize(static_cast<std::size_t>(n));
  } else if (n > 0) {
    text.assign(buffer, static_cast<std::size_t>(n));
  }
  if (!text.empty() && text.back() == '\n') {
    text.pop_back();
  }
  if (!ctx) {
    TRACE(gDumpTrace, 0, text);
    return;
  }
  ctx->line(std::string(static_cast<std::size_t>(indent > 0 ? indent : 0), ' ') + text);
}

}  // namespace Kiln
