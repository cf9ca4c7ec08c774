#include "agent/Progress.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>

namespace Agent {

namespace {

// The class-map type that the root state machine creates for flowspec.
Cog::String const kFlowspec = "Flowspec";
constexpr Cog::Seconds kInterval = 1.0;

std::string line(ProgressCounts const& counts, std::size_t ruleCount) {
  return "rules: " + std::to_string(counts.digested) + "/" + std::to_string(ruleCount) +
         " digested, " + std::to_string(counts.translated) + " translated, " +
         std::to_string(counts.installed) + " installed";
}

}  // namespace

ProgressCounts progressCounts(MountedRecords const& records,
                              OrbFlowspec::FlowspecSm const& flowspecSm) {
  ProgressCounts counts;
  for (auto const& [vrfId, vrfRuleConfig] : records.config->vrfRuleConfig()) {
    counts.digested += vrfRuleConfig->rule().size() + vrfRuleConfig->infeasibleRule().size();
  }
  if (auto const cmapType = flowspecSm.policyMapConfig()->cmapType(kFlowspec)) {
    counts.translated = cmapType->cmap().size();
  }
  // A rule's status is created when its class-map is built, before the hardware has it.
  for (auto const& [vrfId, vrfRuleStatus] : records.status->vrfRuleStatus()) {
    for (auto const& [key, ruleStatus] : vrfRuleStatus->ruleStatus()) {
      auto const code = ruleStatus->statusCode();
      counts.installed += code == Flowspec::HwRuleProgrammingStatus::hwStatusInstalled ||
                          code == Flowspec::HwRuleProgrammingStatus::hwStatusPartiallyInstalled;
    }
  }
  return counts;
}

Progress::Progress(Cog::Ptr<Kiln::TaskScheduler> const& scheduler, std::size_t ruleCount,
                   std::function<ProgressCounts()> counts,
                   std::function<void(std::string const&)> out)
    : ruleCount_(ruleCount),
      counts_(std::move(counts)),
      out_(std::move(out)),
      timer_(scheduler, Kiln::TaskPriority{}, "AgentProgress", [this] { tick(); }) {
  timer_.scheduleTaskDelay(kInterval);
}

void Progress::tick() {
  // The timer is off the wheel and the queue while it runs: anything left is the agent's work.
  Kiln::TaskScheduler const& scheduler = timer_.scheduler();
  done_ = scheduler.readyTaskCount() == 0 && scheduler.armedTimerCount() == 0;
  // Counts shrink when rules are withdrawn meanwhile: padding erases the longer line's tail.
  std::string text = line(counts_(), ruleCount_);
  std::size_t const width = text.size();
  text.resize(std::max(width, lastWidth_), ' ');
  lastWidth_ = width;
  out_("\r" + text + (done_ ? "\n" : ""));
  if (!done_) {
    timer_.scheduleTaskDelay(kInterval);
  }
}

void Progress::finish() {
  if (!done_ && lastWidth_ > 0) {
    out_("\n");
  }
  done_ = true;
  timer_.stopTimerTask();
  timer_.unscheduleTask();
}

std::unique_ptr<Progress> startupProgress(Cog::Ptr<Kiln::TaskScheduler> const& scheduler,
                                          MountedRecords const& records,
                                          Cog::Ptr<OrbFlowspec::FlowspecSm> const& flowspecSm) {
  std::size_t const ruleCount = records.ruleSet->size();
  if (!Progress::wanted(isatty(STDOUT_FILENO) == 1, ruleCount)) {
    return nullptr;
  }
  return std::make_unique<Progress>(
      scheduler, ruleCount, [&records, flowspecSm] { return progressCounts(records, *flowspecSm); },
      [](std::string const& text) {
        std::fputs(text.c_str(), stdout);
        std::fflush(stdout);
      });
}

}  // namespace Agent
