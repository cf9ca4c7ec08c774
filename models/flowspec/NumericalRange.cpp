#include "models/flowspec/NumericalRange.h"

#include <algorithm>

#include "platform/cog/Errors.h"

namespace Flowspec {

NumericalRange::NumericalRange(std::uint32_t rangeMin, std::uint32_t rangeMax)
    : rangeMin_(rangeMin), rangeMax_(rangeMax) {
  if (rangeMin > invalidValue) {
    throw Cog::RangeError(
        "NumericalRange::rangeMin < NumericalRange::min or > NumericalRange::invalidValue not "
        "allowed");
  }
  if (rangeMax > invalidValue) {
    throw Cog::RangeError(
        "NumericalRange::rangeMax < NumericalRange::min or > NumericalRange::invalidValue not "
        "allowed");
  }
  if (rangeMin > rangeMax) {
    throw Cog::RangeError("NumericalRange::rangeMin > NumericalRange::rangeMax not allowed");
  }
}

NumericalRange NumericalRange::rangeIntersection(NumericalRange const& other) const {
  std::uint32_t const lo = std::max(rangeMin_, other.rangeMin_);
  std::uint32_t const hi = std::min(rangeMax_, other.rangeMax_);
  if (!isValid() || !other.isValid() || lo > hi) {
    return NumericalRange();
  }
  return NumericalRange(lo, hi);
}

NumericalRange NumericalRange::rangeUnion(NumericalRange const& other) const {
  if (!isValid() || !other.isValid()) {
    return NumericalRange();
  }
  NumericalRange const& first = rangeMin_ <= other.rangeMin_ ? *this : other;
  NumericalRange const& second = rangeMin_ <= other.rangeMin_ ? other : *this;
  if (std::uint64_t{second.rangeMin_} > std::uint64_t{first.rangeMax_} + 1) {
    return NumericalRange();
  }
  return NumericalRange(first.rangeMin_, std::max(first.rangeMax_, second.rangeMax_));
}

std::uint32_t NumericalRange::matchCompTypeMax(MatchCompType type) {
  switch (type) {
    case MatchCompType::ipProtocol:
    case MatchCompType::icmpType:
    case MatchCompType::icmpCode:
      return 0xFF;
    case MatchCompType::port:
    case MatchCompType::destinationPort:
    case MatchCompType::sourcePort:
    case MatchCompType::packetLength:
      return 0xFFFF;
    case MatchCompType::dscp:
      return 63;
    case MatchCompType::flowLabel:
      return 0xFFFFF;
    default:
      return 0;
  }
}

std::string NumericalRange::toStrep() const {
  std::string out = "[";
  out += std::to_string(rangeMin_);
  out += ", ";
  out += std::to_string(rangeMax_);
  return out += ']';
}

NumericalRange NumericalRange::traceDecode(Trace::Decoder& d) {
  NumericalRange range;  // as traced, the invalid range included
  range.rangeMin_ = d.raw<std::uint32_t>();
  range.rangeMax_ = d.raw<std::uint32_t>();
  return range;
}

std::ostream& operator<<(std::ostream& os, NumericalRange const& range) {
  return os << range.toStrep();
}

}  // namespace Flowspec
