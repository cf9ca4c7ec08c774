#include "feed/HexText.h"

namespace Feed {

namespace {

int digitValue(char c) {
  if (c >= '0' && c <= '9') {
    return c - '0';
  }
  if (c >= 'a' && c <= 'f') {
    return c - 'a' + 10;
  }
  if (c >= 'A' && c <= 'F') {
    return c - 'A' + 10;
  }
  return -1;
}

}  // namespace

std::optional<std::vector<std::uint8_t>> bytesFromHex(std::string_view text) {
  std::vector<std::uint8_t> bytes;
  std::size_t i = 0;
  while (i < text.size()) {
    if (text[i] == ' ') {
      ++i;
      continue;
    }
    int const high = digitValue(text[i]);
    int const low = i + 1 < text.size() ? digitValue(text[i + 1]) : -1;
    if (high < 0 || low < 0) {
      return std::nullopt;
    }
    bytes.push_back(static_cast<std::uint8_t>(high << 4 | low));
    i += 2;
  }
  return bytes;
}

}  // namespace Feed
