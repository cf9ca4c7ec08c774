#include "agent/QuotedText.h"

#include <algorithm>
#include <cstdio>

namespace Agent {

namespace {

bool isControl(unsigned char c) { return c < 0x20 || c == 0x7f; }

bool isContinuationByte(unsigned char c) { return (c & 0xC0) == 0x80; }

// Appends the escaped form of at most `maxChars` characters; returns whether all of `text` fit.
bool appendEscaped(std::string& out, std::string_view text, std::size_t maxChars) {
  std::size_t chars = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    auto const c = static_cast<unsigned char>(text[i]);
    if (!isContinuationByte(c) && chars++ == maxChars) {
      return false;
    }
    switch (c) {
      case '"':
        out += "\\\"";
        break;
      case '\\':
        out += "\\\\";
        break;
      case '\n':
        out += "\\n";
        break;
      case '\t':
        out += "\\t";
        break;
      case '\r':
        out += "\\r";
        break;
      default:
        if (isControl(c)) {
          char hex[8];
          std::snprintf(hex, sizeof hex, "\\x%02x", c);
          out += hex;
        } else {
          out += static_cast<char>(c);
        }
    }
  }
  return true;
}

}  // namespace

std::string quotedValue(std::string_view text, std::size_t maxChars) {
  std::string out = "\"";
  bool const whole = appendEscaped(out, text, maxChars);
  out += '"';
  if (!whole) {
    out += "...";
  }
  return out;
}

std::string escaped(std::string_view text, std::size_t maxChars) {
  std::string out;
  if (!appendEscaped(out, text, maxChars)) {
    out += "...";
  }
  return out;
}

bool hasControlCharacter(std::string_view text) {
  return std::any_of(text.begin(), text.end(),
                     [](char c) { return isControl(static_cast<unsigned char>(c)); });
}

}  // namespace Agent
