#include "agent/ControlReply.h"

namespace Agent {

namespace {

std::string line(nlohmann::json const& reply) {
  return reply.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

}  // namespace

std::string okReply(nlohmann::json const& result) {
  return line(nlohmann::json{{"ok", true}, {"result", result}});
}

std::string errorReply(std::string const& error) {
  return line(nlohmann::json{{"ok", false}, {"error", error}});
}

}  // namespace Agent
