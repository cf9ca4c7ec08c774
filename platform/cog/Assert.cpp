#include "platform/cog/Assert.h"

#include <cstdio>
#include <cstdlib>

namespace Cog {

namespace {
AssertMode gAssertMode = AssertMode::abortProcess;
}  // namespace

void assertModeIs(AssertMode mode) { gAssertMode = mode; }

AssertMode assertMode() { return gAssertMode; }

void assertionFailed(char const* expression, char const* file, int line) {
  if (gAssertMode == AssertMode::throwError) {
    throw AssertionError(expression);
  }
  std::fprintf(stderr, "assertion failed: %s (%s:%d)\n", expression, file, line);
  std::fflush(stderr);
  std::abort();
}

}  // namespace Cog
