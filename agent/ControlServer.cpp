#include "agent/ControlServer.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <utility>

#include "agent/ControlReply.h"
#include "agent/ControlSocket.h"

namespace Agent {

namespace {
constexpr std::size_t kReadChunk = 8192;
}  // namespace

ControlServer::ControlServer(std::string path, EventLoop& loop, RequestHandler handler)
    : path_(std::move(path)), loop_(loop), handler_(std::move(handler)) {
  std::string error;
  listenFd_ = listenControlSocket(path_, error);
  if (listenFd_ < 0) {
    throw std::runtime_error(error);
  }
  loop_.fdIs(listenFd_, POLLIN, [this](short) { acceptAll(); });
}

ControlServer::~ControlServer() {
  while (!connections_.empty()) {
    drop(connections_.begin()->first);
  }
  loop_.fdDel(listenFd_);
  close(listenFd_);
  unlink(path_.c_str());
}

void ControlServer::acceptAll() {
  for (;;) {
    int const fd = accept4(listenFd_, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
    if (fd < 0) {
      return;  // EAGAIN, or an error of that one connection
    }
    if (!peerMayControl(fd)) {
      close(fd);
      continue;
    }
    if (connections_.size() >= kMaxConnections) {
      std::string const line = errorReply(kTooManyConnections) + "\n";
      (void)!send(fd, line.data(), line.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
      close(fd);
      continue;
    }
    std::uint64_t const id = nextId_++;
    connections_[id].fd = fd;
    loop_.fdIs(fd, POLLIN, [this, id](short revents) { handleEvents(id, revents); });
  }
}

void ControlServer::handleEvents(std::uint64_t id, short revents) {
  auto& connection = connections_.at(id);
  // POLLHUP: the peer closed both directions, so no reply can reach it any more.
  if (revents & (POLLERR | POLLNVAL | POLLHUP)) {
    drop(id);
    return;
  }
  if ((revents & POLLOUT) && !flush(connection)) {
    drop(id);
    return;
  }
  if (revents & POLLIN) {
    char buffer[kReadChunk];
    ssize_t const n = recv(connection.fd, buffer, sizeof(buffer), 0);
    if (n > 0) {
      connection.input.append(buffer, static_cast<std::size_t>(n));
    } else if (n == 0 || (errno != EAGAIN && errno != EINTR)) {
      connection.endOfInput = true;
      if (!connection.input.empty() && !connection.skipping) {
        connection.input += '\n';  // a last request without its newline still counts
      }
    }
  }
  serve(id);
}

void ControlServer::serve(std::uint64_t id) {
  serving_ = id;
  for (;;) {
    auto const found = connections_.find(id);
    if (found == connections_.end()) {
      break;
    }
    auto& connection = found->second;
    if (connection.awaiting || connection.output.size() >= kOutputHighWater) {
      break;
    }
    auto const newline = connection.input.find('\n');
    if (connection.skipping) {
      connection.input.erase(0, newline == std::string::npos ? newline : newline + 1);
      connection.skipping = newline == std::string::npos;
      if (connection.skipping) {
        break;
      }
      continue;
    }
    if (newline == std::string::npos && connection.input.size() <= kMaxRequestBytes) {
      break;
    }
    if (newline == std::string::npos || newline > kMaxRequestBytes) {
      connection.skipping = true;
      if (!queue(connection, errorReply(kRequestTooLong))) {
        drop(id);
      }
      continue;
    }
    std::string request = connection.input.substr(0, newline);
    connection.input.erase(0, newline + 1);
    if (!request.empty() && request.back() == '\r') {
      request.pop_back();
    }
    connection.awaiting = true;
    handler_(request, [this, id](std::string const& line) { replied(id, line); });
  }
  serving_ = 0;
  settle(id);
}

void ControlServer::replied(std::uint64_t id, std::string const& line) {
  auto const found = connections_.find(id);
  if (found == connections_.end() || !found->second.awaiting) {
    return;
  }
  found->second.awaiting = false;
  if (!queue(found->second, line)) {
    drop(id);
  } else if (serving_ != id) {
    serve(id);  // a deferred reply: the connection's next request may go on now
  }
}

bool ControlServer::queue(Connection& connection, std::string const& line) {
  if (connection.output.size() + line.size() + 1 > kMaxOutputBytes) {
    return false;
  }
  connection.output += line;
  connection.output += '\n';
  return flush(connection);
}

bool ControlServer::flush(Connection& connection) {
  while (!connection.output.empty()) {
    ssize_t const n = send(connection.fd, connection.output.data(), connection.output.size(),
                           MSG_NOSIGNAL | MSG_DONTWAIT);
    if (n < 0) {
      return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR;
    }
    connection.output.erase(0, static_cast<std::size_t>(n));
  }
  return true;
}

void ControlServer::settle(std::uint64_t id) {
  auto const found = connections_.find(id);
  if (found == connections_.end()) {
    return;
  }
  auto const& connection = found->second;
  bool const lineWaiting = connection.input.find('\n') != std::string::npos;
  if (connection.endOfInput && !connection.awaiting && !lineWaiting && connection.output.empty()) {
    drop(id);
    return;
  }
  bool const reading = !connection.endOfInput && !connection.awaiting && !lineWaiting &&
                       connection.output.size() < kOutputHighWater;
  loop_.eventsIs(connection.fd, static_cast<short>((reading ? POLLIN : 0) |
                                                   (connection.output.empty() ? 0 : POLLOUT)));
}

void ControlServer::drop(std::uint64_t id) {
  auto const found = connections_.find(id);
  if (found == connections_.end()) {
    return;
  }
  loop_.fdDel(found->second.fd);
  close(found->second.fd);
  connections_.erase(found);
}

}  // namespace Agent
