#pragma once

#include <string>
#include <vector>

#include "agent/HardwareSpec.h"
#include "pbr/hwmodel/HardwareModel.h"

namespace Agent {

// The line card every routed interface that no card of the scenario holds is put on.
inline constexpr char kDefaultLineCard[] = "lc0";

// What the agent's reports say about the hardware it programs: the model (null on the kernel
// dataplane, which has no line cards) and the scenario's cards. Read-only; holds the model
// alive as long as it is kept.
struct HardwareLayout {
  Cog::Ptr<Pbr::HardwareModel> model;
  HardwareSpec spec;

  // The scenario's cards in its order, then the default card; none without a model.
  std::vector<std::string> lineCards() const;
  // The card holding `intf` (the first of the scenario's cards listing it, else the default
  // card); empty without a model.
  std::string lineCardOf(std::string const& intf) const;
};

}  // namespace Agent
