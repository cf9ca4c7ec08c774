#include "models/pbr/ResolvedNexthopInfo.h"

namespace Pbr {

Cog::String ResolvedNexthopInfo::toStrep() const {
  Cog::String out = "vrf " + nexthopSet.vrfName;
  for (auto const& address : nexthopSet.nexthops) {
    out += ' ';
    out += address.toStrep();
  }
  return out;
}

}  // namespace Pbr
