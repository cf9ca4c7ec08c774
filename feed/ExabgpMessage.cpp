#include "feed/ExabgpMessage.h"

#include <string>

#include "feed/HexText.h"

namespace Feed {

namespace {

// The text of the string field `name` ("name": "text"), when the line has one.
std::optional<std::string_view> stringField(std::string_view line, std::string_view name) {
  std::string const quoted = "\"" + std::string(name) + "\"";
  std::size_t pos = line.find(quoted);
  if (pos == std::string_view::npos) {
    return std::nullopt;
  }
  pos = line.find_first_not_of(" :", pos + quoted.size());
  if (pos == std::string_view::npos || line[pos] != '"') {
    return std::nullopt;
  }
  std::size_t const end = line.find('"', pos + 1);
  if (end == std::string_view::npos) {
    return std::nullopt;
  }
  return line.substr(pos + 1, end - pos - 1);
}

std::optional<std::vector<std::uint8_t>> hexField(std::string_view line, std::string_view name) {
  auto text = stringField(line, name);
  if (!text || text->substr(0, 2) != "0x") {
    return std::nullopt;
  }
  return bytesFromHex(text->substr(2));
}

}  // namespace

std::optional<std::vector<std::uint8_t>> updateFromExabgpLine(std::string_view line) {
  if (stringField(line, "direction") != "receive") {
    return std::nullopt;
  }
  auto header = hexField(line, "header");
  auto body = hexField(line, "body");
  // A BGP header is 19 octets, its last the message type (2: UPDATE).
  if (!header || !body || header->size() != 19 || (*header)[18] != 2) {
    return std::nullopt;
  }
  header->insert(header->end(), body->begin(), body->end());
  return header;
}

}  // namespace Feed
