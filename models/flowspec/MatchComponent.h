#pragma once

#include <map>
#include <set>
#include <string>
#include <unordered_set>

#include "models/flowspec/BitMask.h"
#include "models/flowspec/MatchCompType.h"
#include "models/flowspec/NumericalRange.h"
#include "platform/nwk/IpGenPrefix.h"
#include "platform/trace/Args.h"

namespace Flowspec {

// One digested component of a rule's match: disjoint ranges (ORed) for numeric types, bitmask
// tests (ORed) for TCP flags and fragments, a prefix for the two prefix types. Ranges are
// ordered so that expansions, and their sequence numbers, are deterministic.
class MatchComponent {
 public:
  MatchComponent() = default;
  explicit MatchComponent(MatchCompType type) : matchCompType_(type) {}

  MatchCompType matchCompType() const { return matchCompType_; }
  std::set<NumericalRange> const& numericalRange() const { return numericalRange_; }
  void numericalRangeIs(NumericalRange const& range) { numericalRange_.insert(range); }
  std::unordered_set<IpBitMask> const& ipBitMask() const { return ipBitMask_; }
  void ipBitMaskIs(IpBitMask const& mask) { ipBitMask_.insert(mask); }
  std::unordered_set<TcpBitMask> const& tcpBitMask() const { return tcpBitMask_; }
  void tcpBitMaskIs(TcpBitMask const& mask) { tcpBitMask_.insert(mask); }
  Nwk::IpGenPrefix const& prefix() const { return prefix_; }
  void prefixIs(Nwk::IpGenPrefix const& prefix) { prefix_ = prefix; }

  bool matchTypeNumericalRange() const { return isNumericalRangeType(matchCompType_); }
  bool matchTypeBitMask() const { return isBitMaskType(matchCompType_); }
  bool matchTypePrefix() const { return isPrefixType(matchCompType_); }

  bool operator==(MatchComponent const&) const = default;
  // "dport [80, 80] [443, 443]", "tcp-flags {syn !ack} {fin}" (masks sorted), "dst 10.0.0.0/8".
  std::string toStrep() const;
  // For the trace ring: a component is kept in binary and written as text only when read.
  void traceEncode(Trace::Encoder& e) const;
  static MatchComponent traceDecode(Trace::Decoder& d);

 private:
  MatchCompType matchCompType_ = MatchCompType::none;
  std::set<NumericalRange> numericalRange_;
  std::unordered_set<IpBitMask> ipBitMask_;
  std::unordered_set<TcpBitMask> tcpBitMask_;
  Nwk::IpGenPrefix prefix_;
};

// A whole match set, by ascending component type.
using MatchSet = std::map<MatchCompType, MatchComponent>;

// The short name of a component type as rules are written: "proto", "dport", "tcp-flags"...;
// "type<N>" for a number without a name.
std::string compTypeName(MatchCompType type);

}  // namespace Flowspec
