#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace Feed {

// The octets of a received BGP UPDATE in one line of ExaBGP's process API output (JSON
// encoder, with `receive { packets; update; }`): the line's message "header" and "body" hex
// strings joined. nullopt for every other line: other message types, sent messages, state
// changes, lines that are not such JSON. The line is searched for these fields, not parsed as
// a whole, so fields the speaker adds in later versions do not matter.
std::optional<std::vector<std::uint8_t>> updateFromExabgpLine(std::string_view line);

}  // namespace Feed
