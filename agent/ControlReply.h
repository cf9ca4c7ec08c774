#pragma once

#include <cstddef>
#include <nlohmann/json.hpp>
#include <string>

namespace Agent {

// The longest request line the control socket accepts, newline excluded.
inline constexpr std::size_t kMaxRequestBytes = 4096;

// The error texts of the control protocol that do not depend on the request. Clients and tests
// may compare them; they do not change.
inline constexpr char kRequestTooLong[] = "request longer than 4096 bytes";
inline constexpr char kEmptyRequest[] = "empty request";
inline constexpr char kControlCharacter[] = "request holds a control character";
inline constexpr char kTooManyConnections[] = "too many connections";

// One reply line of the control protocol, without its newline: {"ok": true, "result": ...} or
// {"ok": false, "error": "..."}. Text that is not UTF-8 is replaced, never rejected.
std::string okReply(nlohmann::json const& result);
std::string errorReply(std::string const& error);

}  // namespace Agent
