#pragma once

#include "platform/cog/Record.h"

namespace PolicyMap {

// Requests for a refresh of policy status, by policy name: the time of the latest request.
// The requester writes; the programming machinery reads and answers in PolicyMapStatus.
class PolicyMapStatusRequestDir : public Cog::Entity {
 public:
  explicit PolicyMapStatusRequestDir(Cog::String name) : name_(std::move(name)) {}
  COG_RECORD(PolicyMapStatusRequestDir, (orderedMap, Cog::String, double, request, Request));

  Cog::String const& name() const { return name_; }

 private:
  Cog::String name_;
};

}  // namespace PolicyMap
