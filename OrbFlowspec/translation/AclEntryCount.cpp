#include "OrbFlowspec/translation/AclEntryCount.h"

#include <algorithm>
#include <limits>

#include "platform/nwk/RangeMaskGen.h"

namespace OrbFlowspec {

namespace {

using Flowspec::MatchCompType;

constexpr std::uint64_t kMax = std::numeric_limits<std::uint64_t>::max();

std::uint64_t saturatingAdd(std::uint64_t a, std::uint64_t b) {
  return a > kMax - b ? kMax : a + b;
}

std::uint64_t saturatingMul(std::uint64_t a, std::uint64_t b) {
  return a != 0 && b > kMax / a ? kMax : a * b;
}

// The entries one range of a numeric component needs (mirrors the numerical range expansion).
std::uint64_t rangeEntries(MatchCompType type, Flowspec::NumericalRange const& range) {
  std::uint64_t const lo = range.rangeMin();
  std::uint64_t const hi = range.rangeMax();
  switch (type) {
    case MatchCompType::ipProtocol: {
      if (lo > 0xFF) {
        return 0;
      }
      std::uint64_t pairs = 0;
      Nwk::RangeMaskGen<std::uint8_t>::run(
          static_cast<std::uint8_t>(lo),
          static_cast<std::uint8_t>(std::min<std::uint64_t>(hi, 0xFF)),
          [&](auto const&) { ++pairs; });
      return pairs;
    }
    case MatchCompType::port:
      return 2;
    case MatchCompType::icmpType:
    case MatchCompType::icmpCode:
      return hi - lo + 1;
    case MatchCompType::dscp:
      return lo > 63 ? 0 : std::min<std::uint64_t>(hi, 63) - lo + 1;
    case MatchCompType::flowLabel:
      return 0;
    default:  // destination and source port, packet length: one condition each
      return 1;
  }
}

}  // namespace

std::uint64_t aclEntryCount(Flowspec::RuleConfig const& rule) {
  std::uint64_t product = 1;
  for (auto const& [type, component] : rule.matchSet()) {
    std::uint64_t entries = 0;
    if (component.matchTypePrefix()) {
      entries = 1;
    } else if (component.matchTypeNumericalRange()) {
      for (auto const& range : component.numericalRange()) {
        entries = saturatingAdd(entries, rangeEntries(type, range));
      }
    } else {
      entries = component.tcpBitMask().size() + component.ipBitMask().size();
    }
    product = saturatingMul(product, entries);
  }
  return product;
}

}  // namespace OrbFlowspec
