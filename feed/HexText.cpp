#include "feed/HexText.h"

#include "platform/nwk/HexDigit.h"

namespace Feed {

std::optional<std::vector<std::uint8_t>> bytesFromHex(std::string_view text) {
  std::vector<std::uint8_t> bytes;
  std::size_t i = 0;
  while (i < text.size()) {
    if (text[i] == ' ') {
      ++i;
      continue;
    }
    int const high = Nwk::hexDigit(text[i]);
    int const low = i + 1 < text.size() ? Nwk::hexDigit(text[i + 1]) : -1;
    if (high < 0 || low < 0) {
      return std::nullopt;
    }
    bytes.push_back(static_cast<std::uint8_t>(high << 4 | low));
    i += 2;
  }
  return bytes;
}

}  // namespace Feed
