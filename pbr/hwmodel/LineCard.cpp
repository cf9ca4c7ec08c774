#include "pbr/hwmodel/LineCard.h"

namespace Pbr {

LineCard::LineCard(Cog::String name, std::uint32_t ipv4Entries, std::uint32_t ipv6Entries,
                   std::uint32_t rangeCheckers)
    : name_(std::move(name)),
      banks_{Bank{ipv4Entries, 0}, Bank{ipv6Entries, 0}},
      checkerCapacity_(rangeCheckers) {}

void LineCard::checkerRelease(RangeKey const& key) {
  auto const found = checkerRefs_.find(key);
  if (found != checkerRefs_.end() && --found->second == 0) {
    checkerRefs_.erase(found);
  }
}

void LineCard::unsupportedIs(Nwk::AddressFamily af, Qualifier qualifier, bool unsupported) {
  QualifierSet& set = unsupported_[af == Nwk::AddressFamily::ipv6];
  set = unsupported ? set | qualifier : set & ~qualifier;
}

}  // namespace Pbr
