#pragma once

#include <stdexcept>
#include <string>

namespace Cog {

// An invariant failure. Its text is exactly the asserted expression, for example
// "numRuleFilter > 0" or "false && \"unknown address-family\"".
class AssertionError : public std::logic_error {
 public:
  explicit AssertionError(std::string const& expression) : std::logic_error(expression) {}
};

// What a failed assertion does: abort the process (the agent) or throw AssertionError (tests,
// so that the text can be checked). Assertions mark programming errors only; never assert on
// external input.
enum class AssertMode { abortProcess, throwError };

void assertModeIs(AssertMode mode);
AssertMode assertMode();

[[noreturn]] void assertionFailed(char const* expression, char const* file, int line);

}  // namespace Cog

#define COG_ASSERT(expr)                                 \
  do {                                                   \
    if (!(expr)) {                                       \
      ::Cog::assertionFailed(#expr, __FILE__, __LINE__); \
    }                                                    \
  } while (false)
