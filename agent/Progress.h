#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>

#include "OrbFlowspec/root/FlowspecSm.h"
#include "agent/MountedRecords.h"
#include "platform/kiln/TaskScheduler.h"
#include "platform/kiln/TimerTask.h"

namespace Agent {

// How far the agent has come with its rules, as the records show it.
struct ProgressCounts {
  std::size_t digested = 0;    // rule configurations and infeasible marks written
  std::size_t translated = 0;  // class-maps published
  std::size_t installed = 0;   // rule statuses installed or partially installed

  bool operator==(ProgressCounts const&) const = default;
};

// The counts of the records that the root state machine writes. Walks every rule status, so it
// is read once a second, not on every change.
ProgressCounts progressCounts(MountedRecords const& records,
                              OrbFlowspec::FlowspecSm const& flowspecSm);

// One line of progress on a terminal while the agent's first digestion, translation and
// installation of many rules runs: a timer of the agent's scheduler reads the counts once a
// second and rewrites the line in place ("\rrules: 4000/12000 digested, 3500 translated, 3000
// installed"). When no other task is ready and no other timer armed, the work is done: the line
// is written a last time, ended with a newline, and the timer is not armed again, so that the
// loop can go idle (at most a second after the work ended). Later work shows nothing. `counts` and
// `out` must stay callable while it lives; destroying it stops the timer.
class Progress {
 public:
  // The largest rule count started on without a progress line.
  static constexpr std::size_t kQuietRuleCount = 10'000;

  Progress(Cog::Ptr<Kiln::TaskScheduler> const& scheduler, std::size_t ruleCount,
           std::function<ProgressCounts()> counts, std::function<void(std::string const&)> out);

  // Whether a start-up on `ruleCount` rules shows the line.
  static bool wanted(bool terminal, std::size_t ruleCount) {
    return terminal && ruleCount > kQuietRuleCount;
  }

  bool done() const { return done_; }
  // Ends a line left open when the loop stops before the work is done, and stops the timer.
  void finish();

 private:
  void tick();

  std::size_t ruleCount_;
  std::function<ProgressCounts()> counts_;
  std::function<void(std::string const&)> out_;
  bool done_ = false;
  std::size_t lastWidth_ = 0;
  Kiln::TimerTask timer_;
};

// The progress line of the agent's start-up, written to stdout, or null when stdout is not a
// terminal or the rule table holds at most Progress::kQuietRuleCount rules.
std::unique_ptr<Progress> startupProgress(Cog::Ptr<Kiln::TaskScheduler> const& scheduler,
                                          MountedRecords const& records,
                                          Cog::Ptr<OrbFlowspec::FlowspecSm> const& flowspecSm);

}  // namespace Agent
