#include "OrbFlowspec/digestion/BitMaskGroup.h"

#include "platform/cog/Assert.h"
#include "platform/trace/Trace.h"

namespace OrbFlowspec {

namespace {
Trace::Handle gTrace("FlowspecBitMaskGroup");
}  // namespace

using Flowspec::IpBitMask;
using Flowspec::MatchCompType;
using Flowspec::TcpBitMask;

std::string BitMaskGroup::toStrep() const {
  std::string out = "{";
  for (auto const& m : ipBitMask()) {
    out += ' ';
    out += m.toStrep();
  }
  for (auto const& m : tcpBitMask()) {
    out += ' ';
    out += m.toStrep();
  }
  return out + " }";
}

namespace {

template <class T>
void addMask(BitMaskGroup& group, T const& mask) {
  if constexpr (std::is_same_v<T, IpBitMask>) {
    group.ipBitMaskIs(mask);
  } else {
    group.tcpBitMaskIs(mask);
  }
}

template <class T>
unsigned widthOf() {
  return std::is_same_v<T, IpBitMask> ? 4 : 9;
}

}  // namespace

template <>
Cog::Ptr<BitMaskGroup const> convertMatchOpValResultToGroup(
    Flowspec::MatchOpValResult const& pair) {
  bool const match = pair.op & Flowspec::OpBits::kMatch;
  bool const negate = pair.op & Flowspec::OpBits::kNot;
  bool const allSet = match && !negate;
  bool const atLeastOneClear = match && negate;
  bool const atLeastOneSet = !match && !negate;
  bool const allClear = !match && negate;
  TRACE(gTrace, 8, "matchOpVal ", pair, ", value 0x", Trace::Hex{pair.value}, ", allSet ", allSet,
        ", allClear ", allClear, ", atLeastOneSet ", atLeastOneSet, ", atLeastOneClear ",
        atLeastOneClear);
  auto const bitMaskGroup = Cog::make<BitMaskGroup>(pair.matchCompType);
  bool const fragment = pair.matchCompType == MatchCompType::fragment;
  if (!fragment && pair.matchCompType != MatchCompType::tcpFlags) {
    COG_ASSERT(0);
  }
  auto const bits = static_cast<std::uint16_t>(
      pair.value & (fragment ? Flowspec::IpBitMaskTag::kWidth : Flowspec::TcpBitMaskTag::kWidth));
  if (bits == 0) {
    return nullptr;
  }
  if (allSet || allClear) {
    std::uint16_t const value = allSet ? bits : 0;
    if (fragment) {
      IpBitMask const bitMask(true, value, bits);
      if (!bitMask.isValid()) {
        TRACE(gTrace, 8, "Invalid IpBitMask ", bitMask);
        return nullptr;
      }
      bitMaskGroup->ipBitMaskIs(bitMask);
    } else {
      bitMaskGroup->tcpBitMaskIs(TcpBitMask(true, value, bits));
    }
  } else {
    for (unsigned bit = 0; bit < 16; ++bit) {
      auto const flag = static_cast<std::uint16_t>(1u << bit);
      if (!(bits & flag)) {
        continue;
      }
      std::uint16_t const value = atLeastOneSet ? flag : 0;
      if (fragment) {
        IpBitMask const bitMask(true, value, flag);
        COG_ASSERT(bitMask.isValid());
        bitMaskGroup->ipBitMaskIs(bitMask);
      } else {
        bitMaskGroup->tcpBitMaskIs(TcpBitMask(true, value, flag));
      }
    }
  }
  COG_ASSERT(bitMaskGroup);
  TRACE(gTrace, 8, "bitMaskGroup ", bitMaskGroup, ", ipBitMasks ", bitMaskGroup->ipBitMask().size(),
        ", tcpBitMasks ", bitMaskGroup->tcpBitMask().size());
  if (bitMaskGroup->ipBitMask().empty() && bitMaskGroup->tcpBitMask().empty()) {
    return nullptr;
  }
  return bitMaskGroup;
}

template <class T>
void andTwoBitMasks(T const& a, T const& b, T& result) {
  std::uint16_t mask = 0;
  std::uint16_t value = 0;
  for (unsigned bitType = 0; bitType < widthOf<T>(); ++bitType) {
    auto const bit = static_cast<std::uint16_t>(1u << bitType);
    bool const inA = a.mask() & bit;
    bool const inB = b.mask() & bit;
    if (!inA && !inB) {
      continue;
    }
    mask |= bit;
    bool const bit1 = a.value() & bit;
    bool const bit2 = b.value() & bit;
    if (inA && inB && bit1 != bit2) {
      TRACE(gTrace, 8, " conflicting bits - bitType ", bitType, "- bit1 ", bit1, ", bit2 ", bit2);
      result = T(true, 0, 0);
      return;
    }
    if (inA ? bit1 : bit2) {
      value |= bit;
    }
  }
  result = T(true, value, mask);
  TRACE(gTrace, 8, "bitMask1 ", a, ", bitMask2 ", b, ", resultBitMask ", result);
}

template void andTwoBitMasks(IpBitMask const&, IpBitMask const&, IpBitMask&);
template void andTwoBitMasks(TcpBitMask const&, TcpBitMask const&, TcpBitMask&);

namespace {

template <class T, class Set>
void andGroups(Set const& first, Set const& second, BitMaskGroup& resultGroup, char const* what) {
  for (auto const& a : first) {
    for (auto const& b : second) {
      T result;
      andTwoBitMasks(a, b, result);
      if (result.mask() != 0) {
        addMask(resultGroup, result);
      } else {
        TRACE(gTrace, 8, what);
      }
    }
  }
}

}  // namespace

void andIpBitMaskGroups(BitMaskGroup const& group, BitMaskGroup const& nextGroup,
                        BitMaskGroup& resultGroup) {
  andGroups<IpBitMask>(group.ipBitMask(), nextGroup.ipBitMask(), resultGroup,
                       "invalid and for ipBitMask groups");
}

void andTcpBitMaskGroups(BitMaskGroup const& group, BitMaskGroup const& nextGroup,
                         BitMaskGroup& resultGroup) {
  andGroups<TcpBitMask>(group.tcpBitMask(), nextGroup.tcpBitMask(), resultGroup,
                        "invalid and for tcpBitMask groups");
}

bool processGroupVector(BitMaskGroupVector const& groupVector,
                        Flowspec::MatchComponent& component) {
  COG_ASSERT(groupVector.size() > 0);
  Cog::Ptr<BitMaskGroup const> acc = groupVector.front();
  MatchCompType const matchCompType = acc->matchCompType();
  for (std::size_t i = 1; i < groupVector.size(); ++i) {
    auto const& nextBitMaskGroup = groupVector[i];
    COG_ASSERT(matchCompType == nextBitMaskGroup->matchCompType());
    TRACE(gTrace, 8, "bitMaskGroup ", acc, ", nextBitMaskGroup ", nextBitMaskGroup);
    auto const result = Cog::make<BitMaskGroup>(matchCompType);
    if (matchCompType == MatchCompType::fragment) {
      andIpBitMaskGroups(*acc, *nextBitMaskGroup, *result);
    } else if (matchCompType == MatchCompType::tcpFlags) {
      andTcpBitMaskGroups(*acc, *nextBitMaskGroup, *result);
    } else {
      COG_ASSERT(0);
    }
    if (result->ipBitMask().empty() && result->tcpBitMask().empty()) {
      return false;
    }
    acc = result;
  }
  for (auto const& mask : acc->ipBitMask()) {
    TRACE(gTrace, 8, "ipBitMask ", mask);
    component.ipBitMaskIs(mask);
  }
  for (auto const& mask : acc->tcpBitMask()) {
    TRACE(gTrace, 8, "tcpBitMask ", mask);
    component.tcpBitMaskIs(mask);
  }
  return true;
}

template <>
bool processedOpValToMatchComponent(Flowspec::MatchComponent&, Flowspec::MatchComponent&) {
  return true;
}

}  // namespace OrbFlowspec
