#include "platform/kiln/WalkSmBase.h"

namespace Kiln {

char const* toStrep(WalkSmBase::TraceEvent event) {
  switch (event) {
    case WalkSmBase::TraceEvent::walkScheduled:
      return "walkScheduled";
    case WalkSmBase::TraceEvent::walkStarted:
      return "walkStarted";
    case WalkSmBase::TraceEvent::walkYielded:
      return "walkYielded";
    case WalkSmBase::TraceEvent::walkFinished:
      return "walkFinished";
    case WalkSmBase::TraceEvent::walkAborted:
      return "walkAborted";
    case WalkSmBase::TraceEvent::walkRestarted:
      return "walkRestarted";
  }
  return "unknown";
}

std::ostream& operator<<(std::ostream& os, WalkSmBase::TraceEvent event) {
  return os << toStrep(event);
}

WalkSmBase::WalkSmBase(Cog::Ptr<TaskScheduler> scheduler, TaskPriority priority,
                       Cog::String taskName)
    : task_(std::make_unique<TimerTask>(std::move(scheduler), priority, std::move(taskName),
                                        [this] { runStep(); })) {}

WalkSmBase::~WalkSmBase() = default;

void WalkSmBase::scheduleWalk() {
  switch (walkState_) {
    case WalkState::scheduled:
    case WalkState::yielded:
      return;
    case WalkState::running:
      if (allowWalkRestarts_) {
        restartPending_ = true;
      }
      return;
    case WalkState::idle:
    case WalkState::finished:
      break;
  }
  if (!walkStartedNotification()) {
    return;
  }
  walkState_ = WalkState::scheduled;
  traceEvent(TraceEvent::walkScheduled);
  resumeAfter(initialScheduleDelay_);
}

void WalkSmBase::resumeAfter(Cog::Seconds delay) {
  if (manualTest_) {
    return;
  }
  if (delay > 0) {
    task_->scheduleTaskDelay(delay);
  } else {
    task_->scheduleTask();
  }
}

void WalkSmBase::abortWalk() {
  task_->stopTimerTask();
  task_->unscheduleTask();
  restartPending_ = false;
  walkState_ = WalkState::idle;
  traceEvent(TraceEvent::walkAborted);
}

void WalkSmBase::quantumIs(std::uint32_t quantum) {
  quantum_ = quantum > 0 ? quantum : 1;
  handleQuantumChange();
}

bool WalkSmBase::mustYield() { return ++stepCount_ >= quantum_; }

void WalkSmBase::runStep() {
  if (walkState_ != WalkState::scheduled && walkState_ != WalkState::yielded) {
    return;
  }
  if (walkState_ == WalkState::scheduled) {
    traceEvent(TraceEvent::walkStarted);
  }
  walkState_ = WalkState::running;
  stepCount_ = 0;
  WalkRet const result = walk();
  if (walkState_ != WalkState::running) {
    return;  // aborted from inside the step
  }
  if (result.moreWork) {
    walkState_ = WalkState::yielded;
    traceEvent(TraceEvent::walkYielded);
    resumeAfter(scheduleWalkDelay_);
    return;
  }
  walkState_ = WalkState::finished;
  ++walksCompleted_;
  traceEvent(TraceEvent::walkFinished);
  walkFinishedNotification();
  if (restartPending_) {
    restartPending_ = false;
    traceEvent(TraceEvent::walkRestarted);
    scheduleWalk();
  }
}

void WalkSmBase::unpauseWalk() { runStep(); }

void WalkSmBase::untilNoMoreWork() {
  while (walkState_ == WalkState::scheduled || walkState_ == WalkState::yielded) {
    runStep();
  }
}

}  // namespace Kiln
