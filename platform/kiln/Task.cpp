#include "platform/kiln/Task.h"

#include "platform/kiln/TaskScheduler.h"

namespace Kiln {

Task::Task(Cog::Ptr<TaskScheduler> scheduler, TaskPriority priority, Cog::String name)
    : scheduler_(std::move(scheduler)), priority_(priority), name_(std::move(name)) {}

Task::Task(Cog::Ptr<TaskScheduler> scheduler, TaskPriority priority, Cog::String name,
           std::function<void()> body)
    : scheduler_(std::move(scheduler)),
      priority_(priority),
      name_(std::move(name)),
      body_(std::move(body)) {}

Task::~Task() {
  if (scheduled_) {
    scheduler_->dequeue(this);
  }
}

void Task::run() {
  if (body_) {
    body_();
  }
}

void Task::scheduleTask() {
  if (!scheduled_) {
    scheduler_->enqueue(this);
  }
}

void Task::unscheduleTask() {
  if (scheduled_) {
    scheduler_->dequeue(this);
  }
}

bool Task::taskShouldYield() { return scheduler_->shouldYield(this); }

}  // namespace Kiln
