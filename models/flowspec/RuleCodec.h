#pragma once

#include <optional>

#include "models/flowspec/Rule.h"
#include "platform/tidal/SharedTableReader.h"
#include "platform/tidal/SharedTableWriter.h"
#include "platform/tidal/TableCodec.h"

namespace Flowspec {

// The octets of the raw rule table's keys and rules in a shared-memory segment (see
// Tidal::TableCodec). Integers are little-endian; an address is its family octet and sixteen
// octets, a prefix adds its length. Decoding refuses what encoding cannot produce: an unknown
// address family, a prefix length beyond its family or with host bits set, more pairs than a
// key holds, an address with octets past its family. It does not judge whether the key is a
// rule (getFlowspecKey() does, when the rule is digested).
struct RuleCodec {
  static void encodeKey(FlowspecTidalKey const& key, Tidal::ByteSink& sink);
  static void encodeValue(Rule const& rule, Tidal::ByteSink& sink);
  static std::optional<FlowspecTidalKey> decodeKey(Tidal::ByteSource& source);
  // The rule's key field is the table key it is stored under.
  static std::optional<Rule> decodeValue(Tidal::ByteSource& source, FlowspecTidalKey const& key);
};

// The backings of the raw rule table in shared memory: the routing process writes, the agent
// reads.
using RuleSetWriter = Tidal::SharedTableWriter<FlowspecTidalKey, Rule, RuleCodec>;
using RuleSetReader = Tidal::SharedTableReader<FlowspecTidalKey, Rule, RuleCodec>;

// A slot holds the largest key (2048 pairs) with its rule; `slots` bounds the rule count.
inline Tidal::SegmentGeometry ruleTableGeometry(std::uint32_t slots) {
  return Tidal::SegmentGeometry{slots, 8320, 65536};
}

}  // namespace Flowspec
