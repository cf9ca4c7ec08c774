#pragma once

#include "models/flowspec/FlowspecKey.h"
#include "models/vrf/VrfId.h"
#include "platform/cog/Record.h"
#include "platform/kiln/DumpContext.h"

namespace OrbFlowspec {

// The rules of one VRF's state machine that redirect into one VRF id: the reverse index that
// lets a change of that VRF's entry re-evaluate exactly those rules. A record with no key left
// is deleted by its owner.
class RedirectVrfId : public Cog::Entity {
 public:
  explicit RedirectVrfId(Vrf::VrfIdMap::VrfId redirectVrfId) : redirectVrfId_(redirectVrfId) {}

  COG_RECORD(RedirectVrfId, (hashSet, Flowspec::FlowspecKey, flowspecKey, FlowspecKey));

  Vrf::VrfIdMap::VrfId redirectVrfId() const { return redirectVrfId_; }
  void dumpState(Kiln::DumpContext* ctx, int indent) const;

 private:
  Vrf::VrfIdMap::VrfId redirectVrfId_;
};

}  // namespace OrbFlowspec
