#pragma once

#include "models/policymap/PolicyMapTypes.h"
#include "platform/cog/Record.h"
#include "platform/nwk/IntfId.h"

namespace PolicyMap {

// Whether a policy is installed on one interface, per match option (IPv4, IPv6), written by
// the programming machinery.
class IntfStatus : public Cog::Entity {
 public:
  explicit IntfStatus(Nwk::IntfId intfId) : intfId_(std::move(intfId)) {}
  COG_RECORD(IntfStatus, (orderedMap, ClassMapMatchOption, InstalledStatus, installed, Installed));

  Nwk::IntfId const& intfId() const { return intfId_; }

 private:
  Nwk::IntfId intfId_;
};

}  // namespace PolicyMap
