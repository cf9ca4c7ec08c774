#pragma once

#include <atomic>
#include <cstdint>
#include <thread>

#include "platform/tidal/SharedSegment.h"

namespace Tidal {

// Turns a segment's futex wake-ups into a readable file descriptor, so that a single-threaded
// event loop can wait for table changes with poll() beside its other descriptors. Its thread
// only watches the change count and writes to an eventfd; it never touches table state. fd()
// becomes readable after the change count has moved past what the thread last reported;
// acknowledge() drains it. The loop reads the changes themselves through the reader backing,
// after acknowledging, so a change arriving in between signals again. The thread blocks every
// signal, so signals go to the loop's thread. The destructor stops and
// joins the thread; the segment must outlive the waiter.
class ChangeWaiter {
 public:
  explicit ChangeWaiter(SharedSegment const& segment);
  ~ChangeWaiter();
  ChangeWaiter(ChangeWaiter const&) = delete;
  ChangeWaiter& operator=(ChangeWaiter const&) = delete;

  int fd() const { return fd_; }
  void acknowledge();

 private:
  void run();

  SharedSegment const& segment_;
  int fd_;
  std::atomic<bool> stop_{false};
  std::atomic<bool> exited_{false};
  std::thread thread_;
};

}  // namespace Tidal
