#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "agent/EventLoop.h"

namespace Agent {

// Serves the control socket: accepts connections, splits what they send into request lines,
// hands each line to the request handler and writes back its one-line reply, in request order.
//
// Clients are untrusted. A line longer than kMaxRequestBytes gets an error reply and is
// skipped; a connection is read only while it has no request in progress and less than
// kOutputHighWater bytes of replies unsent, so a client that sends without reading stalls only
// itself, and its memory here stays bounded (a reply that would take its unsent output past
// kMaxOutputBytes drops it). Past kMaxConnections, a new connection gets an error reply and is
// closed. Peers of another user than the agent's (or root) are closed at once.
//
// The handler may answer at once or later (a counter refresh waits for the pass); the `Reply` it
// gets may be called once, any time, also after its connection is gone (then it does nothing).
// Registers its descriptors with the loop, which must outlive it; the destructor closes every
// connection and removes the socket file.
class ControlServer {
 public:
  static constexpr std::size_t kMaxConnections = 16;
  static constexpr std::size_t kOutputHighWater = 64 * 1024;
  static constexpr std::size_t kMaxOutputBytes = std::size_t{64} << 20;

  using Reply = std::function<void(std::string const& line)>;
  using RequestHandler = std::function<void(std::string const& request, Reply reply)>;

  // Throws std::runtime_error with the reason when the socket cannot be set up.
  ControlServer(std::string path, EventLoop& loop, RequestHandler handler);
  ~ControlServer();
  ControlServer(ControlServer const&) = delete;
  ControlServer& operator=(ControlServer const&) = delete;

 private:
  struct Connection {
    int fd = -1;
    std::string input;
    std::string output;
    bool skipping = false;  // discarding the rest of an over-long line
    bool awaiting = false;  // a request is with the handler
    bool endOfInput = false;
  };

  void acceptAll();
  void handleEvents(std::uint64_t id, short revents);
  // Takes complete lines from the connection's input while it may; may drop the connection.
  void serve(std::uint64_t id);
  void replied(std::uint64_t id, std::string const& line);
  // Queues a reply; false when that took the connection past its output bound.
  bool queue(Connection& connection, std::string const& line);
  // Sends what the socket takes now; false on a connection error.
  bool flush(Connection& connection);
  // Drops the connection when it is finished or broken, else polls it for what it waits for.
  void settle(std::uint64_t id);
  void drop(std::uint64_t id);

  std::string path_;
  EventLoop& loop_;
  RequestHandler handler_;
  int listenFd_ = -1;
  std::map<std::uint64_t, Connection> connections_;
  std::uint64_t nextId_ = 1;
  std::uint64_t serving_ = 0;  // the connection whose lines serve() is taking, 0 for none
};

}  // namespace Agent
