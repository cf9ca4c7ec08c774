#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace Agent {

// The path flowspec-cli connects to when not told otherwise.
inline constexpr char kDefaultControlPath[] = "/run/flowspec-agent/control.sock";

// One connection to an agent's control socket, as flowspec-cli and the tests use it: a request
// line out, its reply line back, blocking. Closes the connection when it goes.
class ControlClient {
 public:
  // Connects at once; connected() tells whether that worked, error() why not.
  explicit ControlClient(std::string const& path);
  ~ControlClient();
  ControlClient(ControlClient const&) = delete;
  ControlClient& operator=(ControlClient const&) = delete;

  bool connected() const { return fd_ >= 0; }
  std::string const& error() const { return error_; }
  int fd() const { return fd_; }

  // Sends the bytes as they are (a request line wants its newline).
  bool send(std::string const& bytes);
  // The next reply line without its newline; nullopt when the agent closed the connection
  // first or the line is longer than `maxBytes`.
  std::optional<std::string> replyLine(std::size_t maxBytes = std::size_t{256} << 20);
  // send(request + "\n") then replyLine().
  std::optional<std::string> request(std::string const& request);

 private:
  int fd_ = -1;
  std::string error_;
  std::string buffered_;
};

}  // namespace Agent
