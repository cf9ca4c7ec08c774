#pragma once

#include <map>
#include <string>
#include <unordered_set>
#include <variant>

#include "models/flowspec/BitMask.h"
#include "models/flowspec/MatchCompType.h"
#include "models/flowspec/NumericalRange.h"
#include "platform/cog/Boxed.h"
#include "platform/cog/FlatSet.h"
#include "platform/nwk/IpGenPrefix.h"
#include "platform/trace/Args.h"

namespace Flowspec {

// One digested component of a rule's match: disjoint ranges (ORed) for numeric types, bitmask
// tests (ORed) for TCP flags and fragments, a prefix for the two prefix types. Ranges are
// ordered so that expansions, and their sequence numbers, are deterministic. A component holds
// only the kind of value its type has, which keeps every rule's configuration small; the
// accessors of the other kinds read empty.
class MatchComponent {
 public:
  MatchComponent() = default;
  explicit MatchComponent(MatchCompType type);

  MatchCompType matchCompType() const { return matchCompType_; }
  Cog::FlatSet<NumericalRange> const& numericalRange() const { return held<Ranges>(); }
  void numericalRangeIs(NumericalRange const& range) { holding<Ranges>().insert(range); }
  std::unordered_set<IpBitMask> const& ipBitMask() const { return *held<IpMasks>(); }
  void ipBitMaskIs(IpBitMask const& mask) { holding<IpMasks>()->insert(mask); }
  std::unordered_set<TcpBitMask> const& tcpBitMask() const { return *held<TcpMasks>(); }
  void tcpBitMaskIs(TcpBitMask const& mask) { holding<TcpMasks>()->insert(mask); }
  Nwk::IpGenPrefix const& prefix() const { return held<Nwk::IpGenPrefix>(); }
  void prefixIs(Nwk::IpGenPrefix const& prefix) { holding<Nwk::IpGenPrefix>() = prefix; }

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
  // Match sets are kept for every rule and most components are numeric: the ranges take one
  // allocation, and the rarer bitmask sets stay out of line so that a component is 40 bytes.
  using Ranges = Cog::FlatSet<NumericalRange>;
  using IpMasks = Cog::Boxed<std::unordered_set<IpBitMask>>;
  using TcpMasks = Cog::Boxed<std::unordered_set<TcpBitMask>>;

  template <class T>
  T const& held() const {
    if (T const* value = std::get_if<T>(&value_)) {
      return *value;
    }
    static T const kEmpty{};
    return kEmpty;
  }
  template <class T>
  T& holding() {
    if (T* value = std::get_if<T>(&value_)) {
      return *value;
    }
    return value_.template emplace<T>();
  }

  MatchCompType matchCompType_ = MatchCompType::none;
  std::variant<std::monostate, Ranges, IpMasks, TcpMasks, Nwk::IpGenPrefix> value_;
};

// A whole match set, by ascending component type.
using MatchSet = std::map<MatchCompType, MatchComponent>;

// The short name of a component type as rules are written: "proto", "dport", "tcp-flags"...;
// "type<N>" for a number without a name.
std::string compTypeName(MatchCompType type);

}  // namespace Flowspec
