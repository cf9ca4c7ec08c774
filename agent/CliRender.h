#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace Agent {

// What flowspec-cli prints for a successful reply: the result of the command `words` as text
// tables that line up and fit `width` columns. A result it has no layout for (a newer agent's
// command) is printed as indented JSON. Never throws on an unexpected shape: missing fields
// print as empty cells.
std::string renderResult(std::vector<std::string> const& words, nlohmann::json const& result,
                         std::size_t width = 100);

}  // namespace Agent
