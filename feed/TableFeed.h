#pragma once

#include <cstdint>
#include <ostream>
#include <span>

#include "feed/UpdateDecoder.h"
#include "models/flowspec/Rule.h"

namespace Feed {

// Writes the flowspec routes of UPDATE messages into a raw rule table: announcements become
// rules (a key already in the table keeps its rule id, a new key gets the next unused one),
// withdrawals and treat-as-withdraw routes remove theirs. Each diagnostic and each route the
// table refuses (full, too large) is logged to `log` and skipped; the rest of the UPDATE
// applies. The table and the resolver must outlive the feed.
class TableFeed {
 public:
  TableFeed(Cog::Ptr<Flowspec::RuleSet> const& ruleSet, Vrf::VrfIdMap::VrfId vrfId,
            RouteTargetResolver const& resolver, std::ostream& log);

  // Applies one whole UPDATE (with or without its header).
  void updateIs(std::span<std::uint8_t const> message);

  std::uint64_t announced() const { return announced_; }
  std::uint64_t withdrawn() const { return withdrawn_; }

 private:
  Cog::Ptr<Flowspec::RuleSet> ruleSet_;
  UpdateDecoder decoder_;
  std::ostream& log_;
  std::uint64_t nextRuleId_ = 1;
  std::uint64_t announced_ = 0;
  std::uint64_t withdrawn_ = 0;
};

}  // namespace Feed
