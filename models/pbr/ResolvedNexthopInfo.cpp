#include "models/pbr/ResolvedNexthopInfo.h"

namespace Pbr {

ResolvedNexthopInfo::ResolvedNexthopInfo(NexthopSet set) {
  if (!(set == NexthopSet())) {
    set_ = std::make_shared<NexthopSet const>(std::move(set));
  }
}

NexthopSet const& ResolvedNexthopInfo::nexthopSet() const {
  static NexthopSet const kNothing;
  return set_ ? *set_ : kNothing;
}

Cog::String ResolvedNexthopInfo::toStrep() const {
  Cog::String out = "vrf " + nexthopSet().vrfName;
  for (auto const& address : nexthopSet().nexthops) {
    out += ' ';
    out += address.toStrep();
  }
  return out;
}

}  // namespace Pbr
