#pragma once

#include <cstdint>
#include <map>

#include "pbr/hwmodel/HwEntry.h"
#include "pbr/hwmodel/Qualifier.h"
#include "platform/cog/System.h"

namespace Pbr {

// One line card of the hardware model. The interfaces it holds share its two TCAM banks (IPv4
// and IPv6 entries, each with a capacity) and its pool of range checkers; it may be unable to
// qualify on some fields, per family. It only counts what is held: the classes that hold
// resources give them back themselves (HwClass), so a card outlives every class placed on it.
class LineCard {
 public:
  struct Bank {
    std::uint32_t capacity = 0;
    std::uint32_t used = 0;
  };
  using CheckerRefs = std::map<RangeKey, std::uint32_t>;

  LineCard(Cog::String name, std::uint32_t ipv4Entries, std::uint32_t ipv6Entries,
           std::uint32_t rangeCheckers);

  Cog::String const& name() const { return name_; }
  Bank& bank(Nwk::AddressFamily af) { return banks_[af == Nwk::AddressFamily::ipv6]; }
  Bank const& bank(Nwk::AddressFamily af) const { return banks_[af == Nwk::AddressFamily::ipv6]; }

  std::uint32_t checkerCapacity() const { return checkerCapacity_; }
  // The checkers in use, each with the number of classes that share it.
  CheckerRefs const& checkerRefs() const { return checkerRefs_; }
  void checkerAcquire(RangeKey const& key) { ++checkerRefs_[key]; }
  void checkerRelease(RangeKey const& key);

  QualifierSet unsupported(Nwk::AddressFamily af) const {
    return unsupported_[af == Nwk::AddressFamily::ipv6];
  }
  void unsupportedIs(Nwk::AddressFamily af, Qualifier qualifier, bool unsupported);

 private:
  Cog::String name_;
  Bank banks_[2];
  std::uint32_t checkerCapacity_;
  CheckerRefs checkerRefs_;
  QualifierSet unsupported_[2] = {0, 0};
};

}  // namespace Pbr
