#pragma once

#include <string>
#include <vector>

#include "models/flowspec/MatchComponent.h"
#include "models/flowspec/MatchOpVal.h"
#include "platform/cog/Record.h"

namespace OrbFlowspec {

// The values one numeric operator/value pair selects, as ORed ranges.
class NumericalRangeGroup : public Cog::Entity {
 public:
  COG_RECORD(NumericalRangeGroup, (hashSet, Flowspec::NumericalRange, range, Range));
  // No range has an end above 0xFFFFFF.
  bool isValid() const;
  std::size_t size() const { return range().size(); }
  std::string toStrep() const;
  char const* fwkType() const { return "NumericalRangeGroup"; }
};

// The ranges of every AND term of one component, in range order, before they are merged.
class OrderedNumericalRangeGroup : public Cog::Entity {
 public:
  COG_RECORD(OrderedNumericalRangeGroup,
             (orderedMap, Flowspec::NumericalRange, bool, range, Range));
};

using NumericalRangeGroupVector = std::vector<Cog::Ptr<NumericalRangeGroup const>>;

// The process-wide scratch group of the component being digested: digestion is not re-entrant.
Cog::Ptr<OrderedNumericalRangeGroup> const& scratchOrderedNumericalRangeGroup();

template <class Group>
Group convertMatchOpValResultToGroup(Flowspec::MatchOpValResult const& pair);

// The group of one numeric pair, with values above the field clamped to its maximum; null when
// the pair selects no value.
template <>
Cog::Ptr<NumericalRangeGroup const> convertMatchOpValResultToGroup(
    Flowspec::MatchOpValResult const& pair);

// ANDs the groups of one term and adds the result's ranges to `ordered`; false when the term
// selects no value.
bool processGroupVector(NumericalRangeGroupVector const& groupVector,
                        Cog::Ptr<OrderedNumericalRangeGroup>& ordered);

template <class Processed>
bool processedOpValToMatchComponent(Processed const& processed,
                                    Flowspec::MatchComponent& component);

// Merges overlapping and adjoining ranges into the component's disjoint, sorted, maximal ranges.
template <>
bool processedOpValToMatchComponent(Cog::Ptr<OrderedNumericalRangeGroup> const& ordered,
                                    Flowspec::MatchComponent& component);

}  // namespace OrbFlowspec
