#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

namespace Agent {

// A JSON document, or where and why it is not one.
struct JsonText {
  nlohmann::json value;
  // Empty when `value` holds the document; else "JSON syntax error at line 3, column 7" or
  // "JSON number out of range at line 3, column 7" (the column counts bytes).
  std::string error;
};

// Parses untrusted text without throwing: every failure, a number too large for a double
// included, comes back as a position, and nothing of the text is echoed.
JsonText parseJsonText(std::string const& text);

// The error of a parser that failed at byte `offset` of `text` (the end of the text, when
// past it): "JSON syntax error at line 3, column 7", or "JSON number out of range at ...".
std::string jsonErrorAt(std::string_view text, std::size_t offset, bool outOfRange);

}  // namespace Agent
