#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace Feed {

// The octets of hexadecimal text, two digits each ("0b0118c00002"); blanks between octets are
// allowed. nullopt when the text holds anything else or an odd number of digits.
std::optional<std::vector<std::uint8_t>> bytesFromHex(std::string_view text);

}  // namespace Feed
