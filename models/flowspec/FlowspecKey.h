#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>

#include "models/flowspec/MatchOpVal.h"
#include "models/flowspec/OpValList.h"
#include "platform/cog/Errors.h"
#include "platform/cog/SharedString.h"
#include "platform/nwk/IpGenPrefix.h"
#include "platform/trace/Args.h"

namespace Flowspec {

// A text that is not a rule key; the text names the offending position.
class KeyParseError : public Cog::Error {
 public:
  using Cog::Error::Error;
};

// The identity of one rule within a VRF: its match. The address family (IPv4 or IPv6) is part
// of the identity, so a key without prefixes still belongs to one family. The operator/value
// pairs keep the operator byte exactly as it came on the wire; the prefixes are the empty
// prefix when the rule has none.
//
// operator< is the flowspec rule precedence (RFC 8955 section 5.1, RFC 8956 for IPv6 without
// prefix offsets): the rule that a flowspec router applies first comes first. IPv4 keys come
// before IPv6 keys. Keys that the RFC comparison finds equal but that differ (possible only with
// odd encodings) are ordered by their content, so the order is strict and agrees with ==.
//
// stringValue() is the canonical text (one text per key), which round-trips exactly through
// copyInStringValue: class-maps are named by it, and it is also how people write rules:
//   "ipv4 dst 10.0.0.0/8 proto =6 dport >=1024&<=2048|=80 tcp-flags =syn&!ack"
//   key       := "ipv4" | "ipv6", then components separated by blanks
//   component := ("dst" | "src") prefix | name list, one run of consecutive pairs of one type
//   name      := proto port dport sport icmp-type icmp-code tcp-flags len dscp frag flow-label,
//                or "type" N for the numbers without a name (0, 1 and 2 as pairs, 14, 15)
//   list      := ["&"] pair { ("&" | "|") pair }   "&" sets the AND bit, "|" clears it
//   numeric   := ("=" | "<" | ">" | "<=" | ">=" | "!=") decimal
//   bitmask   := ["!"] ["="] flags   "=" is MATCH (all set), "!" is NOT: "=syn+ack" all set,
//                "syn+ack" any set, "!syn" none set, "!=syn+ack" not all set; flags by name
//                (tcp: fin syn rst psh ack urg ece cwr ns; frag: df isf ff lf), else 0xHEX
//   raw       := "#0x" HEX ":" value   the whole operator byte, the value as a compact pair has it
// A compact pair implies the canonical operator byte: its logical bits, the AND bit of its
// separator, the minimal value length (1, 2 or 4 octets) and the end bit on the last pair of the
// run only. The printer writes a pair compactly exactly when its byte is that canonical byte
// (numeric pairs also need one of the six operators), else raw; the separator before a raw pair
// must agree with its AND bit. Protocol names (tcp, udp, icmp, icmpv6, gre, esp, ah, sctp) are
// accepted after "proto" and printed as numbers; extra blanks between words are tolerated.
class FlowspecKey {
 public:
  using OpVal = Flowspec::OpVal;
  static constexpr std::uint32_t kMaxValue = 0xFFFFF;
  static constexpr std::uint32_t kMaxType = 15;

  FlowspecKey() = default;
  // Throws a range error unless `af` is IPv4 or IPv6.
  explicit FlowspecKey(Nwk::AddressFamily af);
  FlowspecKey(FlowspecKey const& other) noexcept : bits_(other.bits_) {
    if (Body* const body = shared()) {
      ++body->refs;
    }
  }
  FlowspecKey(FlowspecKey&& other) noexcept : bits_(std::exchange(other.bits_, 0)) {}
  FlowspecKey& operator=(FlowspecKey const& other) noexcept {
    FlowspecKey(other).swap(*this);
    return *this;
  }
  FlowspecKey& operator=(FlowspecKey&& other) noexcept {
    FlowspecKey(std::move(other)).swap(*this);
    return *this;
  }
  ~FlowspecKey() {
    Body* const body = shared();
    if (body && --body->refs == 0) {
      delete body;
    }
  }
  void swap(FlowspecKey& other) noexcept { std::swap(bits_, other.bits_); }

  Nwk::AddressFamily af() const {
    auto const family = bits_ & kFamilyBits;
    return family ? static_cast<Nwk::AddressFamily>(family) : Nwk::AddressFamily::ipv4;
  }
  Nwk::IpGenPrefix const& destinationPrefix() const { return body().destinationPrefix; }
  Nwk::IpGenPrefix const& sourcePrefix() const { return body().sourcePrefix; }
  // A non-empty prefix must be of the key's family (range error otherwise).
  void destinationPrefixIs(Nwk::IpGenPrefix const& prefix);
  void sourcePrefixIs(Nwk::IpGenPrefix const& prefix);

  std::size_t opValCount() const { return body().opVals.size(); }
  // The pairs in list order; data() gives them packed as the raw rule table holds them.
  OpValList const& opVals() const { return body().opVals; }
  // Appends a pair. Range errors: past 2048 pairs (the MatchOpValIndex text), a value above
  // 0xFFFFF, a type above 15 (the widths of the packed word).
  void opValAppend(MatchCompType type, std::uint8_t op, std::uint32_t value);
  // The pair at `index`; type none, op 0, value 0 and next 0 when the key has no such pair.
  MatchOpValResult getOptVal(MatchOpValIndex index) const;

  // The first component out of RFC 8955's order, which wants every component at most once and
  // in ascending type (the prefixes as types 1 and 2, then the pair runs): its type, or nullopt
  // for a well-formed key. A routing process may still publish such a key; its text then
  // starts with "raw" after the family.
  std::optional<MatchCompType> outOfOrderComponent() const;

  // Computed once per content and kept with it.
  std::size_t hash() const;
  bool operator==(FlowspecKey const& other) const;
  bool operator<(FlowspecKey const& other) const;

  std::string stringValue() const;
  // The same text, made once per content and kept with it: class-maps are named by it.
  Cog::SharedString const& sharedStringValue() const;
  // Keeps `text` as that string when it is the key's text (else changes nothing): the keys of
  // one rule in several VRFs then share one string, the name of their one class-map.
  void sharedStringValueIs(Cog::SharedString const& text) const;
  // Whether `text` is the key's text, found without making a string.
  bool hasStringValue(std::string_view text) const;
  std::string toStrep() const { return stringValue(); }
  // Kept in the trace ring in binary (family, prefixes, packed pairs), printed when read.
  void traceEncode(Trace::Encoder& e) const;
  static FlowspecKey traceDecode(Trace::Decoder& d);
  // Replaces this key by the key of `text`; throws KeyParseError when it does not parse, and
  // then leaves this key as it was.
  void copyInStringValue(std::string_view text);
  // The key of `text`, or nullopt with the error text (naming the position) in *error.
  static std::optional<FlowspecKey> parse(std::string_view text, std::string* error);

 private:
  // The content, shared by copies: a rule's key is copied into every record and map that knows
  // the rule, and a copy costs one count. A key changes only while it is built; changing a
  // shared content first makes a copy of it. Not atomic: keys live on the agent's one thread.
  struct Body {
    std::uint32_t refs = 1;
    Nwk::IpGenPrefix destinationPrefix;
    Nwk::IpGenPrefix sourcePrefix;
    OpValList opVals;
    mutable std::optional<std::size_t> hash;
    mutable Cog::SharedString text;  // empty until asked for
  };
  static Body const kEmpty;  // the content of a key that has none
  // The family is kept in the low bits of the pointer to the content (0 for the default key,
  // which is IPv4), so that a walk over many keys that only asks their family does not read
  // their contents.
  static constexpr std::uintptr_t kFamilyBits = 3;
  static_assert(alignof(Body) > kFamilyBits);

  Body* shared() const { return reinterpret_cast<Body*>(bits_ & ~kFamilyBits); }
  Body const& body() const {
    Body const* const body = shared();
    return body ? *body : kEmpty;
  }
  // The text in a buffer of this thread, valid until the next key is printed.
  std::string_view printed() const;
  // The content, this key's own and with its hash and text forgotten, to change it.
  Body& edit();

  std::uintptr_t bits_ = 0;  // the content's address and its family
};

inline std::ostream& operator<<(std::ostream& os, FlowspecKey const& key) {
  return os << key.stringValue();
}

// The operator byte that a compact pair of the text implies: the logical bits and AND bit
// given, the minimal length for the value, the end bit when it is the last pair of its run.
std::uint8_t canonicalOpByte(std::uint8_t logicalAndBits, std::uint32_t value, bool lastOfRun);

}  // namespace Flowspec

template <>
struct std::hash<Flowspec::FlowspecKey> {
  std::size_t operator()(Flowspec::FlowspecKey const& key) const noexcept { return key.hash(); }
};
