#include "OrbFlowspec/digestion/NumericalRangeGroup.h"

#include "platform/cog/Assert.h"
#include "platform/trace/Trace.h"

namespace OrbFlowspec {

namespace {
Trace::Handle gTrace("FlowspecNumericalRangeGroup");
}  // namespace

using Flowspec::NumericalRange;

bool NumericalRangeGroup::isValid() const {
  for (auto const& r : range()) {
    if (!r.isValid()) {
      return false;
    }
  }
  return true;
}

std::string NumericalRangeGroup::toStrep() const {
  std::string out = "{";
  for (auto const& r : range()) {
    out += out.size() > 1 ? " " : "";
    out += r.toStrep();
  }
  return out + "}";
}

Cog::Ptr<OrderedNumericalRangeGroup> const& scratchOrderedNumericalRangeGroup() {
  static Cog::Ptr<OrderedNumericalRangeGroup> const scratch =
      Cog::make<OrderedNumericalRangeGroup>();
  return scratch;
}

template <>
Cog::Ptr<NumericalRangeGroup const> convertMatchOpValResultToGroup(
    Flowspec::MatchOpValResult const& pair) {
  std::uint32_t const max = NumericalRange::matchCompTypeMax(pair.matchCompType);
  std::uint32_t v = pair.value;
  TRACE(gTrace, 8, "matchOpVal ", pair, ", value 0x", Trace::Hex{v}, ", max 0x", Trace::Hex{max});
  if (v > max) {
    TRACE(gTrace, 8, "value overflow");
    v = max;
  }
  auto const rangeGroup = Cog::make<NumericalRangeGroup>();
  switch (pair.op & (Flowspec::OpBits::kLt | Flowspec::OpBits::kGt | Flowspec::OpBits::kEq)) {
    case 0x1:  // = v
      rangeGroup->rangeIs(NumericalRange(v, v));
      break;
    case 0x2:  // > v
      if (v >= max) {
        TRACE(gTrace, 8, "gt unsupported");
      } else {
        rangeGroup->rangeIs(NumericalRange(v + 1, max));
      }
      break;
    case 0x3:  // >= v
      rangeGroup->rangeIs(NumericalRange(v, max));
      break;
    case 0x4:  // < v
      if (v == 0) {
        TRACE(gTrace, 8, "lt unsupported");
      } else {
        rangeGroup->rangeIs(NumericalRange(0, v - 1));
      }
      break;
    case 0x5:  // <= v
      rangeGroup->rangeIs(NumericalRange(0, v));
      break;
    case 0x6:  // != v
      if (v == 0) {
        TRACE(gTrace, 8, "lt unsupported for combined");
        if (max > 0) {
          rangeGroup->rangeIs(NumericalRange(1, max));
        }
      } else if (v >= max) {
        TRACE(gTrace, 8, "gt unsupported for combined");
        rangeGroup->rangeIs(NumericalRange(0, v - 1));
      } else {
        rangeGroup->rangeIs(NumericalRange(0, v - 1));
        rangeGroup->rangeIs(NumericalRange(v + 1, max));
      }
      break;
    case 0x7:  // any value
      rangeGroup->rangeIs(NumericalRange(0, max));
      break;
    default:
      TRACE(gTrace, 8, "missing operator");
      break;
  }
  COG_ASSERT(rangeGroup->isValid());
  TRACE(gTrace, 8, "rangeGroup ", rangeGroup, ", count ", rangeGroup->size());
  if (rangeGroup->size() == 0) {
    return nullptr;
  }
  return rangeGroup;
}

bool processGroupVector(NumericalRangeGroupVector const& groupVector,
                        Cog::Ptr<OrderedNumericalRangeGroup>& ordered) {
  COG_ASSERT(groupVector.size() > 0);
  Cog::Ptr<NumericalRangeGroup const> acc = groupVector.front();
  for (std::size_t i = 1; i < groupVector.size(); ++i) {
    auto const& next = groupVector[i];
    TRACE(gTrace, 8, "rangeGroup ", acc, ", nextRangeGroup ", next);
    auto const result = Cog::make<NumericalRangeGroup>();
    for (auto const& range1 : acc->range()) {
      for (auto const& range2 : next->range()) {
        TRACE(gTrace, 8, "range1 ", range1, ", range2 ", range2);
        NumericalRange const common = range1.rangeIntersection(range2);
        if (common.isValid()) {
          result->rangeIs(common);
        } else {
          TRACE(gTrace, 8, "invalid intersection");
        }
      }
    }
    if (result->size() == 0) {
      return false;
    }
    acc = result;
  }
  for (auto const& range : acc->range()) {
    TRACE(gTrace, 8, "add range ", range);
    ordered->rangeIs(range, true);
  }
  return true;
}

template <>
bool processedOpValToMatchComponent(Cog::Ptr<OrderedNumericalRangeGroup> const& ordered,
                                    Flowspec::MatchComponent& component) {
  NumericalRange const* iter = ordered->range().firstKey();
  COG_ASSERT(iter);
  NumericalRange prevRange = *iter;
  bool first = true;
  for (auto const& [cur, flag] : ordered->range()) {
    if (first) {
      first = false;
      continue;
    }
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
  TRACE(gTrace, 8, ordered->range().size(), " ranges merged into ",
        component.numericalRange().size(), " after union");
  return true;
}

}  // namespace OrbFlowspec
