#include "agent/TableMode.h"

#include <poll.h>
#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cmath>

namespace Agent {

SharedRuleTable::SharedRuleTable(std::string const& name, MountedRecords& records) {
  auto reader = std::make_unique<Flowspec::RuleSetReader>(name);
  reader_ = reader.get();
  ruleSet_ = Cog::make<Flowspec::RuleSet>(std::move(reader));
  waiter_ = std::make_unique<Tidal::ChangeWaiter>(reader_->segment());
  records.ruleSet = ruleSet_;
  records.mounts->flowspecTidalIs(ruleSet_);
}

void SharedRuleTable::applyChanges() {
  waiter_->acknowledge();
  reader_->applyChanges(
      [this](Flowspec::FlowspecTidalKey const& key) { ruleSet_->entryChanged(key); });
}

void runUntilSignalled(Kiln::TaskScheduler& scheduler, SharedRuleTable& table,
                       std::function<void()> const& idle) {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  sigprocmask(SIG_BLOCK, &signals, nullptr);
  int const signalFd = signalfd(-1, &signals, SFD_CLOEXEC);
  // Changes made between mapping the table and starting the waiter signal nothing.
  table.applyChanges();
  bool worked = true;
  for (;;) {
    scheduler.runUntilIdle();
    auto const deadline = scheduler.nextDeadline();
    if (worked && !deadline && scheduler.readyTaskCount() == 0) {
      idle();
      worked = false;
    }
    int timeoutMs = -1;
    if (deadline) {
      double const wait = std::ceil((*deadline - scheduler.now()) * 1000.0);
      timeoutMs = wait < 0 ? 0 : static_cast<int>(std::min(wait, 60000.0));
    }
    pollfd fds[2] = {{table.fd(), POLLIN, 0}, {signalFd, POLLIN, 0}};
    if (poll(fds, 2, timeoutMs) < 0) {
      continue;
    }
    if (fds[1].revents & POLLIN) {
      break;
    }
    if (fds[0].revents & POLLIN) {
      table.applyChanges();
    }
    worked = true;
  }
  close(signalFd);
}

}  // namespace Agent
