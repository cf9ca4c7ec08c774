#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <ostream>
#include <string>

#include "models/flowspec/MatchCompType.h"
#include "platform/trace/Args.h"

namespace Flowspec {

// An inclusive range of component values. A range with an end above 0xFFFFFF is invalid; the
// invalid range stands for "empty" in results. Default-constructed ranges are invalid.
class NumericalRange {
 public:
  static constexpr std::uint32_t min = 0;
  static constexpr std::uint32_t invalidValue = 0x1000000;

  NumericalRange() = default;
  // Throws the range errors: an end above invalidValue, or rangeMin > rangeMax.
  NumericalRange(std::uint32_t rangeMin, std::uint32_t rangeMax);

  std::uint32_t rangeMin() const { return rangeMin_; }
  std::uint32_t rangeMax() const { return rangeMax_; }
  bool isValid() const { return rangeMin_ <= 0xFFFFFF && rangeMax_ <= 0xFFFFFF; }

  // The common part, or the invalid range when they are disjoint.
  NumericalRange rangeIntersection(NumericalRange const& other) const;
  // The hull of two ranges that overlap or adjoin, or the invalid range when a gap lies
  // between them. Joining adjoining ranges yields fewer ACL entries.
  NumericalRange rangeUnion(NumericalRange const& other) const;

  // The largest value the component's header field can hold: protocol 255, ports 65535, ICMP
  // type and code 255, packet length 65535, DSCP 63, flow label 0xFFFFF; 0 for other types.
  static std::uint32_t matchCompTypeMax(MatchCompType type);

  bool operator==(NumericalRange const&) const = default;
  bool operator<(NumericalRange const& other) const {
    return rangeMin_ != other.rangeMin_ ? rangeMin_ < other.rangeMin_ : rangeMax_ < other.rangeMax_;
  }
  std::size_t hash(std::size_t seed = 0) const {
    return (seed ^ (std::size_t{rangeMin_} << 32 | rangeMax_)) * 0x9E3779B97F4A7C15ull;
  }
  // "[1, 5]".
  std::string toStrep() const;
  // Kept in the trace ring as its two ends, printed when the ring is read.
  void traceEncode(Trace::Encoder& e) const {
    e.raw(rangeMin_);
    e.raw(rangeMax_);
  }
  static NumericalRange traceDecode(Trace::Decoder& d);

 private:
  std::uint32_t rangeMin_ = invalidValue;
  std::uint32_t rangeMax_ = invalidValue;
};

std::ostream& operator<<(std::ostream& os, NumericalRange const& range);

}  // namespace Flowspec

template <>
struct std::hash<Flowspec::NumericalRange> {
  std::size_t operator()(Flowspec::NumericalRange const& r) const noexcept { return r.hash(); }
};
