#pragma once

#include <memory>
#include <string>

#include "agent/MountedRecords.h"
#include "models/flowspec/RuleCodec.h"
#include "platform/tidal/ChangeWaiter.h"

namespace Agent {

// The shared raw rule table NAME, mapped read-only, mounted in place of the in-process one
// (before the root state machine is created, so that every state machine watches it). The
// reader backing indexes the table when it opens; the root's walk at start then digests every
// rule. Afterwards the writer's changes reach the table's reactors through applyChanges(),
// which the loop calls when fd() becomes readable. Throws Tidal::TableError when the table
// cannot be mapped. Lives as long as the records it is mounted in.
class SharedRuleTable {
 public:
  SharedRuleTable(std::string const& name, MountedRecords& records);

  int fd() const { return waiter_->fd(); }
  void applyChanges();

 private:
  Cog::Ptr<Flowspec::RuleSet> ruleSet_;
  Flowspec::RuleSetReader* reader_;
  std::unique_ptr<Tidal::ChangeWaiter> waiter_;
};

}  // namespace Agent
