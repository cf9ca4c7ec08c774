#pragma once

#include <cstdint>

#include "platform/cog/Record.h"
#include "platform/nwk/IntfId.h"

namespace Orb {

// What the PBR machinery knows of one interface.
struct IntfData {
  std::uint32_t ifIndex = 0;
  Cog::String vrfName;
  bool operator==(IntfData const&) const = default;
};

// The agent's common PBR data, shared by every feature that programs policies: per-interface
// data. Written by the agent, read by the policy programming machinery.
class OrbCommonSmData : public Cog::Entity {
 public:
  explicit OrbCommonSmData(Cog::String name) : name_(std::move(name)) {}
  COG_RECORD(OrbCommonSmData, (orderedMap, Nwk::IntfId, IntfData, intf, Intf));

  Cog::String const& name() const { return name_; }

 private:
  Cog::String name_;
};

}  // namespace Orb
