#pragma once

#include <poll.h>

#include <cstdint>
#include <functional>
#include <map>

#include "platform/kiln/TaskScheduler.h"

namespace Agent {

// The long-running agent's loop on the steady clock: runs the scheduler's tasks and timers and
// waits in poll() for the descriptors registered here (the shared table's change fd, the control
// socket, its connections) until SIGINT or SIGTERM arrives.
//
// The constructor blocks SIGINT and SIGTERM for the calling thread and receives them through a
// signalfd, so construct it before anything that must see them unblocked, and on the thread that
// runs the loop. Handlers run on that thread and may register or drop descriptors, their own
// included: a descriptor dropped during a round gets no further call in that round, and one
// registered during it is polled from the next round on. The loop owns none of the descriptors.
class EventLoop {
 public:
  // Called with the poll() events that the descriptor reported.
  using Handler = std::function<void(short revents)>;

  explicit EventLoop(Kiln::TaskScheduler& scheduler);
  ~EventLoop();
  EventLoop(EventLoop const&) = delete;
  EventLoop& operator=(EventLoop const&) = delete;

  // Registers `fd` for `events`, or replaces its registration.
  void fdIs(int fd, short events, Handler handler);
  // Changes what `fd` is polled for (0: nothing, for now); no effect for an unknown fd.
  void eventsIs(int fd, short events);
  void fdDel(int fd);

  // Runs until a signal: `afterRun` after every drain of the ready tasks, `idle` whenever the
  // loop finds no task ready and no timer armed after doing work.
  void run(std::function<void()> const& afterRun, std::function<void()> const& idle);

 private:
  struct Watch {
    short events = 0;
    Handler handler;
    std::uint64_t generation = 0;  // tells a reused fd from the one a round polled
  };

  int timeoutMs() const;

  Kiln::TaskScheduler& scheduler_;
  int signalFd_ = -1;
  std::map<int, Watch> watches_;
  std::uint64_t generations_ = 0;
};

}  // namespace Agent
