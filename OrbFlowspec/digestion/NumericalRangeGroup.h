#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "models/flowspec/MatchComponent.h"
#include "models/flowspec/MatchOpVal.h"

namespace OrbFlowspec {

// The values one numeric operator/value pair selects, as ORed disjoint ranges: at most two,
// since "!=" selects the values below and above its own. A plain value, as digestion makes one
// per pair; a group that selects no value is false.
class NumericalRangeGroup {
 public:
  static constexpr std::size_t kMaxRanges = 2;

  void rangeIs(Flowspec::NumericalRange const& range);
  Flowspec::NumericalRange const* begin() const { return range_.data(); }
  Flowspec::NumericalRange const* end() const { return range_.data() + size_; }
  std::size_t size() const { return size_; }
  explicit operator bool() const { return size_ > 0; }
  // No range has an end above 0xFFFFFF.
  bool isValid() const;
  std::string toStrep() const;

 private:
  std::array<Flowspec::NumericalRange, kMaxRanges> range_;
  std::uint8_t size_ = 0;
};

// The ranges of every AND term of one component, before they are sorted and merged.
class OrderedNumericalRangeGroup {
 public:
  void rangeIs(Flowspec::NumericalRange const& range) { range_.push_back(range); }
  void rangeDelAll() { range_.clear(); }
  std::vector<Flowspec::NumericalRange>& range() { return range_; }

 private:
  std::vector<Flowspec::NumericalRange> range_;
};

using NumericalRangeGroupVector = std::vector<NumericalRangeGroup>;

template <class Group>
Group convertMatchOpValResultToGroup(Flowspec::MatchOpValResult const& pair);

// The group of one numeric pair, with values above the field clamped to its maximum; empty
// when the pair selects no value.
template <>
NumericalRangeGroup convertMatchOpValResultToGroup(Flowspec::MatchOpValResult const& pair);

// ANDs the groups of one term and adds the result's ranges to `ordered`; false when the term
// selects no value.
bool processGroupVector(NumericalRangeGroupVector const& groupVector,
                        OrderedNumericalRangeGroup& ordered);

template <class Processed>
bool processedOpValToMatchComponent(Processed& processed, Flowspec::MatchComponent& component);

// Merges overlapping and adjoining ranges into the component's disjoint, sorted, maximal ranges.
template <>
bool processedOpValToMatchComponent(OrderedNumericalRangeGroup& ordered,
                                    Flowspec::MatchComponent& component);

}  // namespace OrbFlowspec
