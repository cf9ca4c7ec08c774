#pragma once

#include <cstdint>
#include <functional>
#include <list>

#include "platform/cog/Ptr.h"
#include "platform/cog/System.h"
#include "platform/kiln/TaskPriority.h"

namespace Kiln {

class TaskScheduler;

// A unit of cooperative work on a scheduler. State machines own their tasks; destroying a task
// takes it off the scheduler. Subclass and override run(), or give the body as a function.
class Task {
 public:
  Task(Cog::Ptr<TaskScheduler> scheduler, TaskPriority priority, Cog::String name);
  Task(Cog::Ptr<TaskScheduler> scheduler, TaskPriority priority, Cog::String name,
       std::function<void()> body);
  Task(Task const&) = delete;
  Task& operator=(Task const&) = delete;
  virtual ~Task();

  // Queues one run (no effect while a run is queued). Called from the task's own run, it queues
  // the next run behind the tasks already ready at its priority.
  void scheduleTask();
  // Takes a queued run back.
  void unscheduleTask();
  bool isScheduled() const { return scheduled_; }

  // Whether the current run has used its quantum and should return, leaving the rest for its
  // next run.
  bool taskShouldYield();
  // Accounting: work done in total, and work still pending as the task reports it.
  void taskWorkCountInc(std::uint64_t count) { workCount_ += count; }
  void taskWorkPendingIs(std::uint64_t pending) { workPending_ = pending; }
  std::uint64_t taskWorkCount() const { return workCount_; }
  // Drains a backlog cooperatively: runs `processNext` while `pending()` is above zero and the
  // quantum lasts, then reports the work done and still pending. Returns how many it processed;
  // queuing the next run is the caller's, as what follows a drained backlog differs.
  template <class Pending, class ProcessNext>
  std::uint64_t drainBacklog(Pending const& pending, ProcessNext const& processNext) {
    std::uint64_t processed = 0;
    while (pending() > 0) {
      processNext();
      ++processed;
      if (taskShouldYield()) {
        break;
      }
    }
    taskWorkCountInc(processed);
    taskWorkPendingIs(pending());
    return processed;
  }
  std::uint64_t taskWorkPending() const { return workPending_; }

  Cog::String const& name() const { return name_; }
  TaskPriority priority() const { return priority_; }
  TaskScheduler& scheduler() const { return *scheduler_; }

 protected:
  virtual void run();

 private:
  friend class TaskScheduler;

  Cog::Ptr<TaskScheduler> scheduler_;
  TaskPriority priority_;
  Cog::String name_;
  std::function<void()> body_;
  bool scheduled_ = false;
  std::list<Task*>::iterator queuePosition_;
  std::uint64_t workCount_ = 0;
  std::uint64_t workPending_ = 0;
};

}  // namespace Kiln
