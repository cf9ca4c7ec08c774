#pragma once

#include <string>

namespace Agent {

// The listening end of the agent's control socket: a non-blocking Unix stream socket bound at
// `path` with mode 0600, so that only the agent's user (and root) can connect. A file already at
// `path` is removed first only when it is a socket (a stale one left by an agent that died);
// anything else there is an error and is left alone. Returns the descriptor, or -1 with the
// reason in `error`. The caller closes the descriptor and unlinks the path.
int listenControlSocket(std::string const& path, std::string& error);

// Whether the peer of a connected Unix socket runs as this process's user or as root.
bool peerMayControl(int fd);

}  // namespace Agent
