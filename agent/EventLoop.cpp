#include "agent/EventLoop.h"

#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

namespace Agent {

EventLoop::EventLoop(Kiln::TaskScheduler& scheduler) : scheduler_(scheduler) {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  sigprocmask(SIG_BLOCK, &signals, nullptr);
  signalFd_ = signalfd(-1, &signals, SFD_CLOEXEC);
}

EventLoop::~EventLoop() { close(signalFd_); }

void EventLoop::fdIs(int fd, short events, Handler handler) {
  watches_[fd] = Watch{events, std::move(handler), ++generations_};
}

void EventLoop::eventsIs(int fd, short events) {
  if (auto const watch = watches_.find(fd); watch != watches_.end()) {
    watch->second.events = events;
  }
}

void EventLoop::fdDel(int fd) { watches_.erase(fd); }

int EventLoop::timeoutMs() const {
  if (scheduler_.readyTaskCount() > 0) {
    return 0;
  }
  auto const deadline = scheduler_.nextDeadline();
  if (!deadline) {
    return -1;
  }
  double const wait = std::ceil((*deadline - scheduler_.now()) * 1000.0);
  return wait < 0 ? 0 : static_cast<int>(std::min(wait, 60000.0));
}

void EventLoop::run(std::function<void()> const& afterRun, std::function<void()> const& idle) {
  bool worked = true;
  std::vector<pollfd> fds;
  std::vector<std::uint64_t> generations;
  for (;;) {
    scheduler_.runUntilIdle();
    afterRun();
    if (worked && !scheduler_.nextDeadline() && scheduler_.readyTaskCount() == 0) {
      idle();
      worked = false;
    }
    fds.assign(1, pollfd{signalFd_, POLLIN, 0});
    generations.assign(1, 0);
    for (auto const& [fd, watch] : watches_) {
      fds.push_back(pollfd{fd, watch.events, 0});
      generations.push_back(watch.generation);
    }
    if (poll(fds.data(), fds.size(), timeoutMs()) < 0) {
      continue;
    }
    if (fds[0].revents & POLLIN) {
      return;
    }
    for (std::size_t i = 1; i < fds.size(); ++i) {
      auto const watch = watches_.find(fds[i].fd);
      if (fds[i].revents == 0 || watch == watches_.end() ||
          watch->second.generation != generations[i]) {
        continue;
      }
      // A copy: the handler may drop or replace its own registration.
      Handler const handler = watch->second.handler;
      handler(fds[i].revents);
    }
    worked = true;
  }
}

}  // namespace Agent
