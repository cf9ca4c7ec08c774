#include "agent/RegularFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <utility>

namespace Agent {

namespace {

// Closes the descriptor on every path out of readRegularFile.
class Fd {
 public:
  explicit Fd(int fd) : fd_(fd) {}
  ~Fd() {
    if (fd_ >= 0) {
      ::close(fd_);
    }
  }
  Fd(Fd const&) = delete;
  Fd& operator=(Fd const&) = delete;
  int get() const { return fd_; }

 private:
  int fd_;
};

FileContent refused(std::string error) { return FileContent{std::nullopt, std::move(error)}; }

}  // namespace

FileContent readRegularFile(std::string const& path, std::size_t maxBytes) {
  // O_NONBLOCK: opening a FIFO for reading must not wait for a writer.
  Fd const fd(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  if (fd.get() < 0) {
    return refused(std::string("cannot be read: ") + std::strerror(errno));
  }
  struct stat st {};
  if (::fstat(fd.get(), &st) != 0) {
    return refused(std::string("cannot be read: ") + std::strerror(errno));
  }
  if (!S_ISREG(st.st_mode)) {
    return refused("not a regular file");
  }
  std::string const tooLarge = "larger than " + std::to_string(maxBytes) + " bytes";
  if (static_cast<std::uintmax_t>(st.st_size) > maxBytes) {
    return refused(tooLarge);
  }
  std::string text;
  text.reserve(static_cast<std::size_t>(st.st_size));
  char buffer[64 * 1024];
  for (;;) {
    ssize_t const n = ::read(fd.get(), buffer, sizeof buffer);
    if (n < 0 && errno == EINTR) {
      continue;
    }
    if (n < 0) {
      return refused(std::string("cannot be read: ") + std::strerror(errno));
    }
    if (n == 0) {
      break;
    }
    // The file may have grown since fstat.
    if (text.size() + static_cast<std::size_t>(n) > maxBytes) {
      return refused(tooLarge);
    }
    text.append(buffer, static_cast<std::size_t>(n));
  }
  return FileContent{std::move(text), {}};
}

}  // namespace Agent
