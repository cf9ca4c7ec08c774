#include "feed/TableFeed.h"

#include <algorithm>

#include "platform/tidal/SharedSegment.h"

namespace Feed {

TableFeed::TableFeed(Cog::Ptr<Flowspec::RuleSet> const& ruleSet, Vrf::VrfIdMap::VrfId vrfId,
                     RouteTargetResolver const& resolver, std::ostream& log)
    : ruleSet_(ruleSet), decoder_(vrfId, resolver), log_(log) {
  // Rule ids stay unique across a restart over a table that kept its rules.
  for (auto key = ruleSet_->firstKey(); key; key = ruleSet_->nextKey(*key)) {
    nextRuleId_ = std::max(nextRuleId_, ruleSet_->rule(*key).ruleId + 1);
  }
}

void TableFeed::updateIs(std::span<std::uint8_t const> message) {
  UpdateResult const result = decoder_.decode(message);
  for (Diagnostic const& d : result.diagnostics) {
    log_ << (d.severity == Severity::note ? "note: " : "error: ") << d.toStrep() << "\n";
  }
  for (Flowspec::FlowspecTidalKey const& key : result.withdrawals) {
    if (ruleSet_->contains(key)) {
      ruleSet_->ruleDel(key);
      ++withdrawn_;
    }
  }
  for (Flowspec::Rule rule : result.announcements) {
    Flowspec::Rule const old = ruleSet_->rule(rule.key);
    rule.ruleId = old.key.isEmpty() ? nextRuleId_ : old.ruleId;
    try {
      ruleSet_->ruleIs(rule);
    } catch (Tidal::TableError const& e) {
      log_ << "error: " << rule.key.toStrep() << ": " << e.what() << "\n";
      continue;
    }
    nextRuleId_ += old.key.isEmpty() ? 1 : 0;
    ++announced_;
  }
}

}  // namespace Feed
