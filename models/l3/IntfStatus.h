#pragma once

#include "platform/cog/Record.h"
#include "platform/nwk/IntfId.h"

namespace L3::Intf {

// The routing state of one layer-3 interface; `vrf` is the name of its VRF.
class Status : public Cog::Entity {
 public:
  explicit Status(Nwk::IntfId intfId) : intfId_(std::move(intfId)) {}
  COG_RECORD(Status, (value, Cog::String, vrf, Vrf));
  Nwk::IntfId const& intfId() const { return intfId_; }

 private:
  Nwk::IntfId intfId_;
};

// Every layer-3 interface's status, by interface.
class StatusDir : public Cog::Entity {
 public:
  COG_RECORD(StatusDir, (orderedChildren, Nwk::IntfId, Status, intfStatus, IntfStatus));
};

}  // namespace L3::Intf
