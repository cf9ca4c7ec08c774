#include "pbr/PolicyProgram.h"

namespace Pbr {

Cog::String ActionSpec::toStrep() const {
  Cog::String out;
  auto add = [&out](Cog::String const& piece) { out += (out.empty() ? "" : " ") + piece; };
  if (deny) {
    add("deny");
  }
  if (policeRateBps) {
    add("police " + std::to_string(*policeRateBps) + " bps");
  }
  if (setDscp) {
    add("set-dscp " + std::to_string(*setDscp));
  }
  if (redirect) {
    add("redirect " + redirect->vrfName);
    for (auto const& nexthop : redirect->nexthops) {
      add(nexthop.toStrep());
    }
  }
  return out.empty() ? "permit" : out;
}

std::size_t PolicyProgram::entryCount() const {
  std::size_t count = 0;
  for (auto const& c : classes) {
    count += c.entryCount();
  }
  return count;
}

}  // namespace Pbr
