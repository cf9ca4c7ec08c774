#pragma once

#include <map>

#include "models/vrf/VrfId.h"
#include "platform/cog/Record.h"
#include "platform/tidal/Table.h"

namespace Vrf::VrfIdMap {

// One entry of the VRF id table. The default entry (an absent id) carries kInvalidVrfId and
// no name.
struct VrfEntry {
  VrfId vrfId = kInvalidVrfId;
  Cog::String name;

  bool operator==(VrfEntry const&) const = default;
};

// The VRF id table, shared between processes: VRF id to VRF name. Reactors hear
// handleVrfEntry(vrfId) for every changed id.
class Status : public Tidal::Table<VrfId, VrfEntry> {
 public:
  class Reactor : public Tidal::Table<VrfId, VrfEntry>::Reactor {
   public:
    explicit Reactor(Cog::Ptr<Status const> const& status)
        : Tidal::Table<VrfId, VrfEntry>::Reactor(status) {}
    virtual void handleVrfEntry(VrfId const&) {}

   private:
    void handleEntry(VrfId const& vrfId) final { handleVrfEntry(vrfId); }
  };

  VrfEntry vrfEntry(VrfId vrfId) const { return entry(vrfId); }
  void vrfEntryIs(VrfId vrfId, Cog::String const& name) { entryIs(vrfId, VrfEntry{vrfId, name}); }
  void vrfEntryDel(VrfId vrfId) { entryDel(vrfId); }
  // The name of the id; empty when the id is not in the table.
  Cog::String vrfName(VrfId vrfId) const { return entry(vrfId).name; }
};

// VRF name to VRF id, the inverse of the VRF id table (kept by a ReverseMapper).
class NameToIdMap : public Cog::Entity {
 public:
  COG_RECORD(NameToIdMap, (orderedMap, Cog::String, VrfId, vrfId, VrfId));

  // The id of `name`; kInvalidVrfId when the name is unknown.
  VrfId idOf(Cog::String const& name) const {
    VrfId const* found = vrfId().find(name);
    return found ? *found : kInvalidVrfId;
  }
};

// Keeps a NameToIdMap equal to the inverse of a VRF id table, from construction on. When two
// ids carry the same name the lowest id wins.
class ReverseMapper : public Status::Reactor {
 public:
  ReverseMapper(Cog::Ptr<Status const> const& status, Cog::Ptr<NameToIdMap> nameToIdMap);
  void handleVrfEntry(VrfId const& vrfId) override;

 private:
  void mapName(Cog::String const& name);

  Cog::Ptr<NameToIdMap> nameToIdMap_;
  std::map<VrfId, Cog::String> nameOfId_;
};

}  // namespace Vrf::VrfIdMap
