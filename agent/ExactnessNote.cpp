#include "agent/ExactnessNote.h"

#include <cstdio>

#include "models/flowspec/BitMask.h"
#include "models/flowspec/MatchComponent.h"
#include "models/flowspec/NumericalRange.h"

namespace Agent {

namespace {

std::string hexText(std::uint32_t value) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%x", value);
  return text;
}

// The note of one pair, or "" when digestion reads its value as it is.
std::string pairNote(Flowspec::OpVal const& pair) {
  if (Flowspec::isNumericalRangeType(pair.type)) {
    // The same maximum digestion clamps to, so the note follows any change of a field width.
    std::uint32_t const max = Flowspec::NumericalRange::matchCompTypeMax(pair.type);
    if (pair.value <= max) {
      return "";
    }
    return "clamped " + Flowspec::compTypeName(pair.type) + " " + std::to_string(pair.value) +
           " → " + std::to_string(max);
  }
  std::uint32_t const width = pair.type == Flowspec::MatchCompType::tcpFlags
                                  ? Flowspec::TcpBitMaskTag::kWidth
                                  : Flowspec::IpBitMaskTag::kWidth;
  if ((pair.value & ~width) == 0) {
    return "";
  }
  return "masked " + Flowspec::compTypeName(pair.type) + " " + hexText(pair.value) + " → " +
         hexText(pair.value & width);
}

}  // namespace

std::string exactnessNote(Flowspec::FlowspecKey const& key) {
  if (key.outOfOrderComponent()) {
    return "";
  }
  std::string note;
  for (auto const& pair : key.opVals()) {
    if (!Flowspec::isNumericalRangeType(pair.type) && !Flowspec::isBitMaskType(pair.type)) {
      return "";
    }
    std::string const one = pairNote(pair);
    if (!one.empty()) {
      note += note.empty() ? "" : "; ";
      note += one;
    }
  }
  return note;
}

}  // namespace Agent
