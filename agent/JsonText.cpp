#include "agent/JsonText.h"

#include <algorithm>
#include <cstddef>

namespace Agent {

namespace {

using Json = nlohmann::json;

// Builds the document like the library's own DOM parser, and keeps the position of the first
// failure, which that parser drops when it does not throw.
class PositionedDomParser {
 public:
  explicit PositionedDomParser(Json& root) : dom_(root, /*allow_exceptions=*/false) {}

  bool null() { return dom_.null(); }
  bool boolean(bool value) { return dom_.boolean(value); }
  bool number_integer(Json::number_integer_t value) { return dom_.number_integer(value); }
  bool number_unsigned(Json::number_unsigned_t value) { return dom_.number_unsigned(value); }
  bool number_float(Json::number_float_t value, Json::string_t const& text) {
    return dom_.number_float(value, text);
  }
  bool string(Json::string_t& value) { return dom_.string(value); }
  bool binary(Json::binary_t& value) { return dom_.binary(value); }
  bool start_object(std::size_t size) { return dom_.start_object(size); }
  bool key(Json::string_t& value) { return dom_.key(value); }
  bool end_object() { return dom_.end_object(); }
  bool start_array(std::size_t size) { return dom_.start_array(size); }
  bool end_array() { return dom_.end_array(); }
  template <class Exception>
  bool parse_error(std::size_t position, std::string const&, Exception const& error) {
    position_ = position;
    outOfRange_ = error.id == 406;
    return false;
  }

  std::size_t position() const { return position_; }
  bool outOfRange() const { return outOfRange_; }

 private:
  nlohmann::detail::json_sax_dom_parser<Json> dom_;
  std::size_t position_ = 0;
  bool outOfRange_ = false;
};

}  // namespace

JsonText parseJsonText(std::string const& text) {
  JsonText result;
  PositionedDomParser parser(result.value);
  if (Json::sax_parse(text, &parser)) {
    return result;
  }
  result.value = Json();
  // The parser reports one past the byte that failed, or the end of the text.
  std::size_t const position = parser.position();
  result.error = jsonErrorAt(text, position > 0 ? position - 1 : 0, parser.outOfRange());
  return result;
}

std::string jsonErrorAt(std::string_view text, std::size_t offset, bool outOfRange) {
  std::size_t const failed = std::min(offset, text.size());
  std::size_t line = 1;
  std::size_t lineStart = 0;
  for (std::size_t i = 0; i < failed; ++i) {
    if (text[i] == '\n') {
      ++line;
      lineStart = i + 1;
    }
  }
  return std::string(outOfRange ? "JSON number out of range" : "JSON syntax error") + " at line " +
         std::to_string(line) + ", column " + std::to_string(failed - lineStart + 1);
}

}  // namespace Agent
