#pragma once

#include <cstdint>
#include <memory>
#include <ostream>

#include "platform/kiln/KilnBaseOutputSm.h"
#include "platform/kiln/TaskScheduler.h"
#include "platform/kiln/TimerTask.h"

namespace Kiln {

// What one step of a walk did: whether work remains, and how many entries it processed.
struct WalkRet {
  bool moreWork = false;
  std::uint32_t count = 0;
};

// Base of resumable, cooperative walks over large tables. A subclass implements walk(), which
// processes entries from its own bookmark, asks mustYield() after each and returns whether work
// remains; the base runs walk() on its own task and reschedules it while work remains, so a
// walk over many thousands of entries never blocks the agent.
//
// States: idle (never walked or aborted), scheduled, running, yielded (between steps),
// finished. scheduleWalk() while running restarts the walk once the current one ends when
// restarts are allowed, and is ignored otherwise. In manual-test mode walks are never put on the
// task; unpauseWalk() runs one step and untilNoMoreWork() runs steps until the walk finishes.
class WalkSmBase : public KilnBaseOutputSm {
 public:
  enum class WalkState { idle, scheduled, running, yielded, finished };
  enum class TraceEvent {
    walkScheduled,
    walkStarted,
    walkYielded,
    walkFinished,
    walkAborted,
    walkRestarted
  };

  WalkSmBase(Cog::Ptr<TaskScheduler> scheduler, TaskPriority priority, Cog::String taskName);
  ~WalkSmBase() override;

  WalkState walkState() const { return walkState_; }
  void scheduleWalk();
  void abortWalk();

  std::uint32_t quantum() const { return quantum_; }
  void quantumIs(std::uint32_t quantum);
  // Counts the entries of the current step; true once they reach the quantum.
  bool mustYield();

  Cog::Seconds scheduleWalkDelay() const { return scheduleWalkDelay_; }
  void scheduleWalkDelayIs(Cog::Seconds delay) { scheduleWalkDelay_ = delay; }
  Cog::Seconds initialScheduleDelay() const { return initialScheduleDelay_; }
  void initialScheduleDelayIs(Cog::Seconds delay) { initialScheduleDelay_ = delay; }
  bool allowWalkRestarts() const { return allowWalkRestarts_; }
  void allowWalkRestartsIs(bool allow) { allowWalkRestarts_ = allow; }
  bool manualTest() const { return manualTest_; }
  void manualTestIs(bool manual) { manualTest_ = manual; }

  void unpauseWalk();
  void untilNoMoreWork();
  std::uint64_t walksCompleted() const { return walksCompleted_; }

 protected:
  virtual WalkRet walk() = 0;
  virtual bool walkStartedNotification() { return true; }
  virtual void walkFinishedNotification() {}
  virtual void traceEvent(TraceEvent) {}
  virtual void handleQuantumChange() {}

 private:
  void runStep();
  void resumeAfter(Cog::Seconds delay);

  std::unique_ptr<TimerTask> task_;
  WalkState walkState_ = WalkState::idle;
  std::uint32_t quantum_ = 100;
  std::uint32_t stepCount_ = 0;
  Cog::Seconds scheduleWalkDelay_ = 0;
  Cog::Seconds initialScheduleDelay_ = 0;
  bool allowWalkRestarts_ = false;
  bool manualTest_ = false;
  bool restartPending_ = false;
  std::uint64_t walksCompleted_ = 0;
};

char const* toStrep(WalkSmBase::TraceEvent event);
std::ostream& operator<<(std::ostream& os, WalkSmBase::TraceEvent event);

}  // namespace Kiln
