#pragma once

#include <string>
#include <vector>

#include "OrbFlowspec/digestion/NumericalRangeGroup.h"
#include "models/flowspec/MatchComponent.h"
#include "platform/cog/Record.h"

namespace OrbFlowspec {

// The bit tests one bitmask operator/value pair (TCP flags or fragment bits) stands for, ORed.
// Only the set of the group's type is used.
class BitMaskGroup : public Cog::Entity {
 public:
  explicit BitMaskGroup(Flowspec::MatchCompType type) : matchCompType_(type) {}
  COG_RECORD(BitMaskGroup, (hashSet, Flowspec::IpBitMask, ipBitMask, IpBitMask),
             (hashSet, Flowspec::TcpBitMask, tcpBitMask, TcpBitMask));
  Flowspec::MatchCompType matchCompType() const { return matchCompType_; }
  std::string toStrep() const;

 private:
  Flowspec::MatchCompType matchCompType_;
};

using BitMaskGroupVector = std::vector<Cog::Ptr<BitMaskGroup const>>;

// The group of one bitmask pair: "all set" and "all clear" are one test, "at least one set"
// and "at least one clear" one single-bit test per bit. Null when the pair tests no bit or
// the fragment test is invalid.
template <>
Cog::Ptr<BitMaskGroup const> convertMatchOpValResultToGroup(Flowspec::MatchOpValResult const& pair);

// The AND of two tests; a result with mask 0 when they require different values of one bit.
template <class T>
void andTwoBitMasks(T const& a, T const& b, T& result);

void andIpBitMaskGroups(BitMaskGroup const& group, BitMaskGroup const& nextGroup,
                        BitMaskGroup& resultGroup);
void andTcpBitMaskGroups(BitMaskGroup const& group, BitMaskGroup const& nextGroup,
                         BitMaskGroup& resultGroup);

// ANDs the groups of one term and adds the resulting tests to the component; false when the
// term selects nothing.
bool processGroupVector(BitMaskGroupVector const& groupVector, Flowspec::MatchComponent& component);

// Bitmask components are written by processGroupVector already.
template <>
bool processedOpValToMatchComponent(Flowspec::MatchComponent& processed,
                                    Flowspec::MatchComponent& component);

}  // namespace OrbFlowspec
