#pragma once

#include "platform/cog/Record.h"
#include "platform/nwk/AddressFamily.h"
#include "platform/nwk/IntfId.h"

namespace OrbFlowspec {

// The interfaces of one address family on which a VRF's flowspec policy succeeded or failed,
// as the per-VRF status state machine records them. An interface is in at most one of the two
// sets; the record is dropped once both are empty.
class IntfInstalled : public Cog::Entity {
 public:
  explicit IntfInstalled(Nwk::AddressFamily af) : af_(af) {}
  COG_RECORD(IntfInstalled, (orderedSet, Nwk::IntfId, intfSuccess, IntfSuccess),
             (orderedSet, Nwk::IntfId, intfFailure, IntfFailure));

  Nwk::AddressFamily af() const { return af_; }
  bool allSuccess() const { return !intfSuccess().empty() && intfFailure().empty(); }
  bool allFailure() const { return intfSuccess().empty() && !intfFailure().empty(); }
  bool isEmpty() const { return intfSuccess().empty() && intfFailure().empty(); }

 private:
  Nwk::AddressFamily af_;
};

}  // namespace OrbFlowspec
