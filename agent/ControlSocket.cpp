#include "agent/ControlSocket.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace Agent {

namespace {

int failed(int fd, std::string& error, std::string const& what) {
  error = what + ": " + std::strerror(errno);
  if (fd >= 0) {
    close(fd);
  }
  return -1;
}

}  // namespace

int listenControlSocket(std::string const& path, std::string& error) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.empty() || path.size() >= sizeof(address.sun_path)) {
    error = "control socket path must be 1 to " + std::to_string(sizeof(address.sun_path) - 1) +
            " bytes long";
    return -1;
  }
  std::memcpy(address.sun_path, path.data(), path.size());
  struct stat existing {};
  if (lstat(path.c_str(), &existing) == 0) {
    if (!S_ISSOCK(existing.st_mode)) {
      error = path + " exists and is not a socket";
      return -1;
    }
    if (unlink(path.c_str()) != 0) {
      return failed(-1, error, "cannot remove the stale socket " + path);
    }
  }
  int const fd = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  if (fd < 0) {
    return failed(fd, error, "cannot create the control socket");
  }
  // The socket file gets its mode at bind; with this mask nobody else can ever open it.
  mode_t const mask = umask(0177);
  int const bound = bind(fd, reinterpret_cast<sockaddr const*>(&address), sizeof(address));
  umask(mask);
  if (bound != 0) {
    return failed(fd, error, "cannot bind " + path);
  }
  struct stat created {};
  if (lstat(path.c_str(), &created) != 0 || (created.st_mode & 0777) != 0600) {
    unlink(path.c_str());
    close(fd);
    error = path + " did not get mode 0600";
    return -1;
  }
  if (listen(fd, 16) != 0) {
    unlink(path.c_str());
    return failed(fd, error, "cannot listen on " + path);
  }
  return fd;
}

bool peerMayControl(int fd) {
  ucred peer{};
  socklen_t size = sizeof(peer);
  if (getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) {
    return false;
  }
  return peer.uid == 0 || peer.uid == geteuid();
}

}  // namespace Agent
