#pragma once

#include <memory>

#include "models/flowspec/Config.h"
#include "models/flowspec/Rule.h"
#include "platform/kiln/WalkSmBase.h"

namespace OrbFlowspec {

// Digests the raw rules of the shared rule table into rule configurations: per VRF a
// VrfRuleConfig, per rule a RuleConfig with one canonical component per type, or an
// InfeasibleRule naming the component that cannot be expressed. A changed key is digested at
// once from its notification; at start, a resumable walk over the whole table (yielding by
// the quantum, resuming at its bookmark) reconciles everything, after the configuration an
// earlier instance wrote has been discarded. Digesting a key twice gives the same result.
//
// Raw rules are untrusted: a key whose content is not a rule key, or whose word array is over
// its bound, raises a framework error that the dispatch (or the walk) traces; the other rules
// are digested regardless. Digestion uses a process-wide scratch group and is not re-entrant.
class RuleSetSm : public Kiln::WalkSmBase {
 public:
  RuleSetSm(Cog::Ptr<Kiln::TaskScheduler> scheduler, Cog::Ptr<Flowspec::RuleSet const> ruleSet,
            Cog::Ptr<Flowspec::Config> config);
  ~RuleSetSm() override;

  COG_RECORD(RuleSetSm, (valueInit, bool, sanitizeRuleConfig, SanitizeRuleConfig, true),
             (value, Flowspec::FlowspecTidalKey, ruleBookmark, RuleBookmark),
             (value, bool, fullWalkDone, FullWalkDone), (value, bool, initialized, Initialized));

  Cog::Ptr<Flowspec::RuleSet const> const& ruleSet() const { return ruleSet_; }
  Cog::Ptr<Flowspec::Config> const& config() const { return config_; }

  void handleInitialized();
  void handleRule();
  void handleRule(Flowspec::FlowspecTidalKey const& tidalKey);
  // 0 when the rule digested, else the component type that made it infeasible.
  Flowspec::MatchCompType digestFlowspecRule(Cog::Ptr<Flowspec::RuleConfig> const& ruleConfig,
                                             Flowspec::Rule const& rule);
  bool digestMatchComponent(Cog::Ptr<Flowspec::RuleConfig> const& ruleConfig,
                            Flowspec::FlowspecKey const& key, Flowspec::MatchOpValIndex start,
                            Flowspec::MatchOpValIndex end) const;

  // Kiln::KilnBaseOutputSm:
  void dumpState(Kiln::DumpContext* ctx, int indent) const override;
  char const* fwkType() const override { return "RuleSetSm"; }

 protected:
  // Kiln::WalkSmBase:
  Kiln::WalkRet walk() override;
  bool walkStartedNotification() override { return true; }
  void walkFinishedNotification() override {}
  void traceEvent(TraceEvent event) override;

 private:
  class RuleSetReactor;

  Cog::Ptr<Flowspec::RuleSet const> ruleSet_;
  Cog::Ptr<Flowspec::Config> config_;
  std::unique_ptr<RuleSetReactor> ruleSetReactor_;
};

Cog::Ptr<RuleSetSm> ruleSetSmFactory(Cog::Ptr<Kiln::TaskScheduler> scheduler,
                                     Cog::Ptr<Flowspec::RuleSet const> ruleSet,
                                     Cog::Ptr<Flowspec::Config> config);

}  // namespace OrbFlowspec
