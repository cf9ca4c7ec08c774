#pragma once

#include <string>

#include "models/flowspec/FlowspecKey.h"

namespace Agent {

// Where the match installed for a rule differs from what its operator/value pairs ask, read
// from the key alone (nothing installed changes). Digestion reads a numeric value above its
// field's maximum as the maximum, and a bitmask value only within the field's defined bits;
// each such pair gives one note, in pair order, which is component order:
//   "clamped dport 70000 → 65535", "clamped dscp 70 → 63", "masked tcp-flags 0x1002 → 0x2".
// Notes are joined with "; "; a rule read exactly gives "". The note describes the values
// digestion uses whatever the pair's operator, so "dport <=70000" is noted although it selects
// the same ports. A key that digestion refuses before reading any value (components out of
// order, pairs of a type without operator/value meaning) gives "": its infeasible mark says why.
std::string exactnessNote(Flowspec::FlowspecKey const& key);

}  // namespace Agent
