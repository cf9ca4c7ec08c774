#include "agent/ControlClient.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace Agent {

ControlClient::ControlClient(std::string const& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.empty() || path.size() >= sizeof(address.sun_path)) {
    error_ = "socket path too long";
    return;
  }
  std::memcpy(address.sun_path, path.data(), path.size());
  fd_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd_ < 0) {
    error_ = std::strerror(errno);
  } else if (connect(fd_, reinterpret_cast<sockaddr const*>(&address), sizeof(address)) != 0) {
    error_ = std::strerror(errno);
    close(fd_);
    fd_ = -1;
  }
}

ControlClient::~ControlClient() {
  if (fd_ >= 0) {
    close(fd_);
  }
}

bool ControlClient::send(std::string const& bytes) {
  for (std::size_t done = 0; done < bytes.size();) {
    ssize_t const n = ::send(fd_, bytes.data() + done, bytes.size() - done, MSG_NOSIGNAL);
    if (n < 0 && errno == EINTR) {
      continue;
    }
    if (n <= 0) {
      return false;
    }
    done += static_cast<std::size_t>(n);
  }
  return true;
}

std::optional<std::string> ControlClient::replyLine(std::size_t maxBytes) {
  for (;;) {
    if (auto const newline = buffered_.find('\n'); newline != std::string::npos) {
      std::string line = buffered_.substr(0, newline);
      buffered_.erase(0, newline + 1);
      return line;
    }
    if (buffered_.size() > maxBytes) {
      return std::nullopt;
    }
    char chunk[65536];
    ssize_t const n = recv(fd_, chunk, sizeof(chunk), 0);
    if (n < 0 && errno == EINTR) {
      continue;
    }
    if (n <= 0) {
      return std::nullopt;
    }
    buffered_.append(chunk, static_cast<std::size_t>(n));
  }
}

std::optional<std::string> ControlClient::request(std::string const& request) {
  if (!send(request + "\n")) {
    return std::nullopt;
  }
  return replyLine();
}

}  // namespace Agent
