#pragma once

#include <memory>

#include "platform/trace/Trace.h"

namespace Fuzz {

// Drops trace text: refusals of hostile input are traced at level 0, and printing them for
// every input would slow fuzzing to a crawl. The ring buffer still records them.
inline void quietTraces() {
  struct NullSink : Trace::Sink {
    void write(Trace::Line const&) override {}
  };
  static bool const installed = [] {
    Trace::textSinkIs(std::make_shared<NullSink>());
    return true;
  }();
  static_cast<void>(installed);
}

}  // namespace Fuzz
