#include "agent/TableMode.h"

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

}  // namespace Agent
