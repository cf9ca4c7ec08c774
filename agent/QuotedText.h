#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Agent {

// Untrusted text made safe to print inside one line of an error: quoted, control characters
// and the quote and backslash escaped ("\n", "\t", "\r", "\x01"), and cut after `maxChars`
// characters (UTF-8 code points, never inside one) with "..." after the closing quote.
std::string quotedValue(std::string_view text, std::size_t maxChars = 80);

// The same escaping without quotes, for a whole message whose parts are untrusted.
std::string escaped(std::string_view text, std::size_t maxChars);

// Whether `text` holds a control character (below 0x20, or 0x7f).
bool hasControlCharacter(std::string_view text);

}  // namespace Agent
