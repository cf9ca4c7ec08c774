#include "feed/NlriDecoder.h"

#include <string>
#include <utility>

#include "feed/ByteCursor.h"

namespace Feed {

using Flowspec::MatchCompType;

namespace {

// An NLRI holds at most 4095 octets and every pair takes at least two, so no NLRI reaches the
// 2048 pairs a key holds: appending pairs never meets that bound.
static_assert((0xFFF - 1) / 2 <= Flowspec::MatchOpValIndex::max + 1);

constexpr char kLengthRule[] = " (RFC 8955 section 4.1)";
constexpr char kComponentRule[] = " (RFC 8955 section 4.2)";
constexpr char kOperatorRule[] = " (RFC 8955 section 4.2.1)";
constexpr char kTypeRule[] = " (RFC 8955 section 4.2.2)";
constexpr char kIpv6PrefixRule[] = " (RFC 8956 section 3.1)";

std::string prefixName(MatchCompType type) {
  return type == MatchCompType::destinationPrefix ? "destination prefix" : "source prefix";
}

std::string typeName(MatchCompType type) {
  return "type " + std::to_string(static_cast<unsigned>(type));
}

// Decodes the components of one NLRI into its key: stops at the first malformation, goes on
// after a refusal so that a later malformation is still found.
class ComponentParser {
 public:
  ComponentParser(Nwk::AddressFamily af, ByteCursor components, NlriResult& result)
      : af_(af), cursor_(components), key_(af), result_(result) {}

  void run() {
    unsigned previous = 0;
    while (!cursor_.atEnd()) {
      std::size_t const at = cursor_.offset();
      unsigned const type = cursor_.u8();
      if (!typeDefined(type, at) || !typeInOrder(type, previous, at)) {
        return;
      }
      previous = type;
      auto const compType = static_cast<MatchCompType>(type);
      if (!(Flowspec::isPrefixType(compType) ? prefix(compType) : opValList(compType))) {
        return;
      }
    }
    if (!refused_) {
      result_.key = std::move(key_);
    }
  }

 private:
  bool typeDefined(unsigned type, std::size_t at) {
    if (type == 13 && af_ == Nwk::AddressFamily::ipv4) {
      return malformed(at,
                       "component type 13 (flow label) is defined for IPv6 only (RFC 8956 "
                       "section 3.7)");
    }
    if (type == 0 || type > 13) {
      return malformed(at, "unknown component type " + std::to_string(type) + kComponentRule);
    }
    return true;
  }

  bool typeInOrder(unsigned type, unsigned previous, std::size_t at) {
    if (type > previous) {
      return true;
    }
    std::string const what =
        "component type " + std::to_string(type) +
        (type == previous ? " repeated" : " after type " + std::to_string(previous));
    return malformed(at, what + "; types must be strictly ascending" + kComponentRule);
  }

  // IPv4: length, prefix. IPv6: length, offset, the pattern of bits [offset, length).
  bool prefix(MatchCompType type) {
    bool const v6 = af_ == Nwk::AddressFamily::ipv6;
    char const* const rule = v6 ? kIpv6PrefixRule : kTypeRule;
    std::size_t const at = cursor_.offset();
    if (cursor_.left() < (v6 ? 2u : 1u)) {
      return malformed(at, prefixName(type) + (v6 ? " length and offset" : " length") +
                               " missing at the end of the NLRI" + rule);
    }
    unsigned const length = cursor_.u8();
    unsigned const offset = v6 ? cursor_.u8() : 0;
    unsigned const maxLength = v6 ? 128 : 32;
    if (length > maxLength) {
      return malformed(at, std::string(v6 ? "IPv6" : "IPv4") + " prefix length " +
                               std::to_string(length) + " above " + std::to_string(maxLength) +
                               rule);
    }
    if (offset != 0 && offset >= length) {
      return malformed(at + 1, "prefix offset " + std::to_string(offset) +
                                   " not below the prefix length " + std::to_string(length) + rule);
    }
    std::size_t const octets = (length - offset + 7) / 8;
    if (cursor_.left() < octets) {
      return malformed(cursor_.offset(),
                       prefixName(type) + " of " + std::to_string(length - offset) +
                           " bits needs " + octetsText(octets) + ", " +
                           std::to_string(cursor_.left()) + " left in the NLRI" + rule);
    }
    ByteCursor pattern = cursor_.take(octets);
    if (offset != 0) {
      refuse(at + 1, prefixName(type) + " offset " + std::to_string(offset) +
                         " cannot be installed: a rule matches a prefix from its first bit");
      return true;
    }
    Nwk::IpGenAddr::Bytes bytes{};
    for (std::size_t i = 0; i < octets; ++i) {
      bytes[i] = pattern.u8();
    }
    std::uint32_t const v4 = std::uint32_t{bytes[0]} << 24 | std::uint32_t{bytes[1]} << 16 |
                             std::uint32_t{bytes[2]} << 8 | bytes[3];
    Nwk::IpGenPrefix const decoded(v6 ? Nwk::IpGenAddr::ipv6(bytes) : Nwk::IpGenAddr::ipv4(v4),
                                   static_cast<std::uint8_t>(length));
    if (type == MatchCompType::destinationPrefix) {
      key_.destinationPrefixIs(decoded);
    } else {
      key_.sourcePrefixIs(decoded);
    }
    return true;
  }

  bool opValList(MatchCompType type) {
    if (cursor_.atEnd()) {
      return malformed(cursor_.offset(), "component " + typeName(type) +
                                             " has no operator before the end of the NLRI" +
                                             kOperatorRule);
    }
    for (bool first = true;; first = false) {
      std::size_t const at = cursor_.offset();
      std::uint8_t const op = cursor_.u8();
      std::size_t const octets = std::size_t{1} << ((op & Flowspec::OpBits::kLength) >> 4);
      if (Flowspec::isBitMaskType(type)) {
        std::size_t const widest = type == MatchCompType::tcpFlags ? 2 : 1;
        if (octets > widest) {
          return malformed(at, "bitmask value of " + octetsText(octets) + " for " + typeName(type) +
                                   ", which takes " + (widest == 2 ? "1 or 2" : "1") + kTypeRule);
        }
      }
      if (cursor_.left() < octets) {
        return malformed(cursor_.offset(), "value of " + octetsText(octets) + ", " +
                                               std::to_string(cursor_.left()) +
                                               " left in the NLRI" + kOperatorRule);
      }
      std::uint64_t const value = cursor_.number(octets);
      if (first && (op & Flowspec::OpBits::kAnd)) {
        result_.diagnostics.push_back({at, Severity::note,
                                       "AND bit of the first operator of " + typeName(type) +
                                           " treated as clear" + kOperatorRule});
      }
      if (value > Flowspec::FlowspecKey::kMaxValue) {
        refuse(at + 1,
               "value " + std::to_string(value) + " above 1048575, the widest value a rule holds");
      } else {
        key_.opValAppend(type, op, static_cast<std::uint32_t>(value));
      }
      if (op & Flowspec::OpBits::kEnd) {
        return true;
      }
      if (cursor_.atEnd()) {
        return malformed(at, "operator list of " + typeName(type) +
                                 " reaches the end of the NLRI without the end-of-list bit" +
                                 kOperatorRule);
      }
    }
  }

  bool malformed(std::size_t at, std::string text) {
    result_.diagnostics.push_back({at, Severity::treatAsWithdraw, std::move(text)});
    return false;
  }

  void refuse(std::size_t at, std::string text) {
    if (!refused_) {
      result_.diagnostics.push_back({at, Severity::refuseRoute, std::move(text)});
      refused_ = true;
    }
  }

  Nwk::AddressFamily af_;
  ByteCursor cursor_;
  Flowspec::FlowspecKey key_;
  NlriResult& result_;
  bool refused_ = false;
};

}  // namespace

NlriDecoder::NlriDecoder(Nwk::AddressFamily af) : af_(af) {
  COG_ASSERT(af == Nwk::AddressFamily::ipv4 || af == Nwk::AddressFamily::ipv6);
}

NlriResult NlriDecoder::decode(std::span<std::uint8_t const> bytes, std::size_t base) const {
  NlriResult result;
  ByteCursor cursor(bytes, base);
  auto const unlocatable = [&](std::string const& text) {
    result.diagnostics.push_back({base, Severity::sessionReset, text + kLengthRule});
    return result;
  };
  if (cursor.atEnd()) {
    return unlocatable("no NLRI length octet");
  }
  std::size_t length = cursor.u8();
  if (length >= 0xF0) {  // two octets: 0xF, then 12 bits of length
    if (cursor.atEnd()) {
      return unlocatable("two-octet NLRI length lacks its second octet");
    }
    length = (length & 0x0F) << 8 | cursor.u8();
  }
  if (length > cursor.left()) {
    return unlocatable("NLRI length " + std::to_string(length) + " runs past the data (" +
                       octetsText(cursor.left()) + " left)");
  }
  result.length = cursor.offset() - base + length;
  ComponentParser(af_, cursor.take(length), result).run();
  return result;
}

}  // namespace Feed
