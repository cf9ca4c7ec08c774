#include "OrbFlowspec/digestion/NumericalRangeGroup.h"

#include <algorithm>

#include "platform/cog/Assert.h"
#include "platform/trace/Trace.h"

namespace OrbFlowspec {

using Flowspec::NumericalRange;

namespace {

Trace::Handle gTrace("FlowspecNumericalRangeGroup");

// "{[1, 5] [7, 9]}".
template <class Ranges>
std::string strep(Ranges const& ranges) {
  std::string out = "{";
  for (auto const& r : ranges) {
    out += out.size() > 1 ? " " : "";
    out += r.toStrep();
  }
  return out + "}";
}

}  // namespace

void NumericalRangeGroup::rangeIs(NumericalRange const& range) {
  COG_ASSERT(size_ < kMaxRanges);
  range_[size_++] = range;
}

bool NumericalRangeGroup::isValid() const {
  for (auto const& r : *this) {
    if (!r.isValid()) {
      return false;
    }
  }
  return true;
}

std::string NumericalRangeGroup::toStrep() const { return strep(*this); }

template <>
NumericalRangeGroup convertMatchOpValResultToGroup(Flowspec::MatchOpValResult const& pair) {
  std::uint32_t const max = NumericalRange::matchCompTypeMax(pair.matchCompType);
  std::uint32_t v = pair.value;
  TRACE(gTrace, 8, "matchOpVal ", pair, ", value 0x", Trace::Hex{v}, ", max 0x", Trace::Hex{max});
  if (v > max) {
    TRACE(gTrace, 8, "value overflow");
    v = max;
  }
  NumericalRangeGroup rangeGroup;
  switch (pair.op & (Flowspec::OpBits::kLt | Flowspec::OpBits::kGt | Flowspec::OpBits::kEq)) {
    case 0x1:  // = v
      rangeGroup.rangeIs(NumericalRange(v, v));
      break;
    case 0x2:  // > v
      if (v >= max) {
        TRACE(gTrace, 8, "gt unsupported");
      } else {
        rangeGroup.rangeIs(NumericalRange(v + 1, max));
      }
      break;
    case 0x3:  // >= v
      rangeGroup.rangeIs(NumericalRange(v, max));
      break;
    case 0x4:  // < v
      if (v == 0) {
        TRACE(gTrace, 8, "lt unsupported");
      } else {
        rangeGroup.rangeIs(NumericalRange(0, v - 1));
      }
      break;
    case 0x5:  // <= v
      rangeGroup.rangeIs(NumericalRange(0, v));
      break;
    case 0x6:  // != v
      if (v == 0) {
        TRACE(gTrace, 8, "lt unsupported for combined");
        if (max > 0) {
          rangeGroup.rangeIs(NumericalRange(1, max));
        }
      } else if (v >= max) {
        TRACE(gTrace, 8, "gt unsupported for combined");
        rangeGroup.rangeIs(NumericalRange(0, v - 1));
      } else {
        rangeGroup.rangeIs(NumericalRange(0, v - 1));
        rangeGroup.rangeIs(NumericalRange(v + 1, max));
      }
      break;
    case 0x7:  // any value
      rangeGroup.rangeIs(NumericalRange(0, max));
      break;
    default:
      TRACE(gTrace, 8, "missing operator");
      break;
  }
  COG_ASSERT(rangeGroup.isValid());
  TRACE(gTrace, 8, "rangeGroup ", rangeGroup, ", count ", rangeGroup.size());
  return rangeGroup;
}

bool processGroupVector(NumericalRangeGroupVector const& groupVector,
                        OrderedNumericalRangeGroup& ordered) {
  COG_ASSERT(groupVector.size() > 0);
  // The AND of the term so far and the result of the next AND; kept between terms, since
  // digestion is not re-entrant.
  static std::vector<NumericalRange> acc;
  static std::vector<NumericalRange> result;
  acc.assign(groupVector.front().begin(), groupVector.front().end());
  for (std::size_t i = 1; i < groupVector.size(); ++i) {
    auto const& next = groupVector[i];
    TRACE(gTrace, 8, "rangeGroup ", strep(acc), ", nextRangeGroup ", next);
    result.clear();
    for (auto const& range1 : acc) {
      for (auto const& range2 : next) {
        TRACE(gTrace, 8, "range1 ", range1, ", range2 ", range2);
        NumericalRange const common = range1.rangeIntersection(range2);
        if (common.isValid()) {
          result.push_back(common);
        } else {
          TRACE(gTrace, 8, "invalid intersection");
        }
      }
    }
    if (result.empty()) {
      return false;
    }
    acc.swap(result);
  }
  for (auto const& range : acc) {
    TRACE(gTrace, 8, "add range ", range);
    ordered.rangeIs(range);
  }
  return true;
}

template <>
bool processedOpValToMatchComponent(OrderedNumericalRangeGroup& ordered,
                                    Flowspec::MatchComponent& component) {
  std::vector<NumericalRange>& ranges = ordered.range();
  COG_ASSERT(!ranges.empty());
  std::sort(ranges.begin(), ranges.end());
  ranges.erase(std::unique(ranges.begin(), ranges.end()), ranges.end());
  NumericalRange prevRange = ranges.front();
  for (std::size_t i = 1; i < ranges.size(); ++i) {
    NumericalRange const& cur = ranges[i];
    NumericalRange const merged = prevRange.rangeUnion(cur);
    if (merged.isValid()) {
      prevRange = merged;
    } else {
      TRACE(gTrace, 8, "merged range ", prevRange);
      component.numericalRangeIs(prevRange);
      prevRange = cur;
    }
  }
  COG_ASSERT(prevRange.isValid());
  component.numericalRangeIs(prevRange);
  TRACE(gTrace, 8, "final merged range ", prevRange);
  TRACE(gTrace, 8, ranges.size(), " ranges merged into ", component.numericalRange().size(),
        " after union");
  return true;
}

}  // namespace OrbFlowspec
