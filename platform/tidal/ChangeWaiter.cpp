#include "platform/tidal/ChangeWaiter.h"

#include <sched.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace Tidal {

ChangeWaiter::ChangeWaiter(SharedSegment const& segment)
    : segment_(segment), fd_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (fd_ < 0) {
    throw TableError(std::string("rule table: cannot create an eventfd: ") + std::strerror(errno));
  }
  // The thread takes no signals: a process that waits for SIGTERM with a signalfd blocks it in
  // its own thread only, and a thread left open to it would end the process on it instead.
  sigset_t all;
  sigset_t previous;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &previous);
  thread_ = std::thread([this] { run(); });
  pthread_sigmask(SIG_SETMASK, &previous, nullptr);
}

ChangeWaiter::~ChangeWaiter() {
  stop_.store(true);
  // The thread may have checked stop_ just before it went to sleep; wake until it has left.
  while (!exited_.load()) {
    segment_.wakeAll();
    sched_yield();
  }
  thread_.join();
  close(fd_);
}

void ChangeWaiter::acknowledge() {
  std::uint64_t count;
  while (read(fd_, &count, sizeof count) > 0) {
  }
}

void ChangeWaiter::run() {
  std::uint64_t seen = segment_.changeCount();
  while (!stop_.load()) {
    segment_.waitForChange(seen);
    std::uint64_t const now = segment_.changeCount();
    if (now != seen) {
      seen = now;
      std::uint64_t const one = 1;
      [[maybe_unused]] ssize_t const written = write(fd_, &one, sizeof one);
    }
  }
  exited_.store(true);
}

}  // namespace Tidal
