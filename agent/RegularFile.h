#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace Agent {

// The content of a file that the agent reads on an operator's word, or why it was refused.
struct FileContent {
  std::optional<std::string> text;
  std::string error;  // "not a regular file", "larger than 268435456 bytes", "cannot be read: ..."
};

// Reads `path` whole if it is a regular file of at most `maxBytes`. The type and size are
// checked on the opened descriptor before any byte is read, so a FIFO, a device or a directory
// is refused without blocking on it, and a file that grows while being read is refused too.
FileContent readRegularFile(std::string const& path, std::size_t maxBytes);

}  // namespace Agent
