#include "feed/UpdateDecoder.h"

#include <algorithm>
#include <string>

#include "feed/ActionDecoder.h"
#include "feed/ByteCursor.h"
#include "feed/NlriDecoder.h"

namespace Feed {

namespace {

constexpr std::uint8_t kMpReachNlri = 14;
constexpr std::uint8_t kMpUnreachNlri = 15;
constexpr std::uint8_t kExtendedCommunities = 16;
constexpr std::uint8_t kIpv6ExtendedCommunities = 25;
constexpr std::uint8_t kExtendedLengthFlag = 0x10;
constexpr std::size_t kHeaderOctets = 19;

// The family of flowspec routes of an AFI/SAFI; none when they are not flowspec.
Nwk::AddressFamily flowspecFamily(std::uint64_t afi, std::uint64_t safi) {
  if (safi != 133) {
    return Nwk::AddressFamily::none;
  }
  return afi == 1   ? Nwk::AddressFamily::ipv4
         : afi == 2 ? Nwk::AddressFamily::ipv6
                    : Nwk::AddressFamily::none;
}

// One pass over one message. Every step returns false when the message cannot be walked any
// further (a session-reset diagnostic has then been recorded).
class UpdateParse {
 public:
  UpdateParse(Vrf::VrfIdMap::VrfId vrfId, RouteTargetResolver const& resolver, UpdateResult& result)
      : vrfId_(vrfId), actions_(vrfId, resolver), result_(result) {}

  void run(std::span<std::uint8_t const> message) {
    ByteCursor cursor(message, 0);
    bool const hasHeader =
        message.size() >= 16 && std::all_of(message.begin(), message.begin() + 16,
                                            [](std::uint8_t b) { return b == 0xFF; });
    if ((!hasHeader || header(cursor)) && body(cursor)) {
      while (!attributes_.atEnd() && attribute()) {
      }
    }
    finish();
  }

 private:
  bool header(ByteCursor& cursor) {
    if (cursor.left() < kHeaderOctets) {
      return reset(0, "message of " + octetsText(cursor.left()) +
                          " is shorter than the 19-octet header (RFC 4271 section 4.1)");
    }
    std::size_t const given = cursor.left();
    cursor.take(16);
    std::size_t const length = cursor.number(2);
    if (length != given) {
      return reset(16, "message length " + std::to_string(length) + " differs from the " +
                           octetsText(given) + " given (RFC 4271 section 6.1)");
    }
    if (unsigned const type = cursor.u8(); type != 2) {
      return reset(
          18, "message type " + std::to_string(type) + " is not UPDATE (2) (RFC 4271 section 4.1)");
    }
    return true;
  }

  // Withdrawn routes (IPv4 unicast: skipped), path attributes, NLRI (IPv4 unicast: skipped).
  bool body(ByteCursor& cursor) {
    ByteCursor withdrawnRoutes({}, 0);
    return field(cursor, "withdrawn routes", withdrawnRoutes) &&
           field(cursor, "total path attribute", attributes_);
  }

  // A two-octet length and the field it measures.
  bool field(ByteCursor& cursor, char const* name, ByteCursor& part) {
    std::size_t const at = cursor.offset();
    if (cursor.left() < 2) {
      return reset(at, std::string(name) + " length missing (RFC 4271 section 4.3)");
    }
    std::size_t const length = cursor.number(2);
    if (length > cursor.left()) {
      return reset(at, std::string(name) + " length " + std::to_string(length) +
                           " runs past the message (" + octetsText(cursor.left()) +
                           " left) (RFC 4271 section 6.3)");
    }
    part = cursor.take(length);
    return true;
  }

  bool attribute() {
    std::size_t const at = attributes_.offset();
    if (attributes_.left() < 2) {
      return reset(at, "attribute header runs past the path attributes (RFC 7606 section 4)");
    }
    std::uint8_t const flags = attributes_.u8();
    std::uint8_t const type = attributes_.u8();
    std::size_t const lengthOctets = flags & kExtendedLengthFlag ? 2 : 1;
    if (attributes_.left() < lengthOctets) {
      return reset(at, "attribute " + std::to_string(type) +
                           " length runs past the path attributes (RFC 7606 section 4)");
    }
    std::size_t const length = attributes_.number(lengthOctets);
    if (length > attributes_.left()) {
      return reset(at, "attribute " + std::to_string(type) + " of " + octetsText(length) +
                           " runs past the path attributes (" + octetsText(attributes_.left()) +
                           " left) (RFC 7606 section 4)");
    }
    ByteCursor value = attributes_.take(length);
    switch (type) {
      case kMpReachNlri:
        return once(seenMpReach_, at, "MP_REACH_NLRI") && mpReach(at, value);
      case kMpUnreachNlri:
        return once(seenMpUnreach_, at, "MP_UNREACH_NLRI") && mpUnreach(at, value);
      case kExtendedCommunities:
        communities(seenCommunities_, at, value, 8, "EXTENDED_COMMUNITIES", "7.14");
        return true;
      case kIpv6ExtendedCommunities:
        communities(seenIpv6Communities_, at, value, 20, "IPV6_ADDRESS_SPECIFIC_EXTENDED_COMMUNITY",
                    "7.15");
        return true;
      default:
        return true;
    }
  }

  bool once(bool& seen, std::size_t at, char const* name) {
    if (seen) {
      return reset(at, std::string(name) + " appears twice (RFC 7606 section 3)");
    }
    seen = true;
    return true;
  }

  // AFI, SAFI, next hop length, next hop, a reserved octet, NLRI.
  bool mpReach(std::size_t at, ByteCursor value) {
    if (value.left() < 3) {
      return reset(at, "MP_REACH_NLRI of " + octetsText(value.left()) +
                           " is too short for its AFI and SAFI (RFC 7606 section 7.11)");
    }
    std::uint64_t const afi = value.number(2);
    Nwk::AddressFamily const af = flowspecFamily(afi, value.u8());
    if (af == Nwk::AddressFamily::none) {
      return true;
    }
    std::size_t const lengthAt = value.offset();
    if (value.atEnd()) {
      return reset(lengthAt,
                   "MP_REACH_NLRI ends before its next hop length (RFC 7606 section 7.11)");
    }
    std::size_t const length = value.u8();
    if (value.left() < length + 1) {
      return reset(lengthAt, "MP_REACH_NLRI next hop length " + std::to_string(length) +
                                 " leaves no room for the reserved octet (RFC 7606 section 7.11)");
    }
    ByteCursor nextHop = value.take(length);
    value.u8();  // reserved
    nextHopIs(nextHop, lengthAt);
    nlriField(af, value, announced_);
    return true;
  }

  // No next hop (the usual for flowspec), IPv4, IPv6, or IPv6 global and link-local.
  void nextHopIs(ByteCursor nextHop, std::size_t lengthAt) {
    std::size_t const length = nextHop.left();
    if (length == 4) {
      nextHop_ = readIpv4(nextHop);
    } else if (length == 16 || length == 32) {
      nextHop_ = readIpv6(nextHop);
    } else if (length != 0) {
      result_.diagnostics.push_back({lengthAt, Severity::treatAsWithdraw,
                                     "MP_REACH_NLRI next hop of " + octetsText(length) +
                                         " is no address (RFC 7606 section 7.11)"});
    }
  }

  bool mpUnreach(std::size_t at, ByteCursor value) {
    if (value.left() < 3) {
      return reset(at, "MP_UNREACH_NLRI of " + octetsText(value.left()) +
                           " is too short for its AFI and SAFI (RFC 7606 section 7.12)");
    }
    std::uint64_t const afi = value.number(2);
    Nwk::AddressFamily const af = flowspecFamily(afi, value.u8());
    if (af != Nwk::AddressFamily::none) {
      nlriField(af, value, withdrawn_);
    }
    return true;
  }

  // The NLRI one after another; an NLRI whose length runs past the field ends the walk.
  void nlriField(Nwk::AddressFamily af, ByteCursor field,
                 std::vector<Flowspec::FlowspecKey>& keys) {
    NlriDecoder const decoder(af);
    while (!field.atEnd()) {
      NlriResult nlri = decoder.decode(field.rest(), field.offset());
      result_.diagnostics.insert(result_.diagnostics.end(), nlri.diagnostics.begin(),
                                 nlri.diagnostics.end());
      if (nlri.key) {
        keys.push_back(std::move(*nlri.key));
      }
      if (nlri.length == 0) {
        return;
      }
      field.take(nlri.length);
    }
  }

  void communities(bool& seen, std::size_t at, ByteCursor value, std::size_t size, char const* name,
                   char const* section) {
    if (seen) {
      result_.diagnostics.push_back(
          {at, Severity::note, std::string("second ") + name + " discarded (RFC 7606 section 3)"});
      return;
    }
    seen = true;
    if (value.left() == 0 || value.left() % size != 0) {
      result_.diagnostics.push_back({at, Severity::treatAsWithdraw,
                                     std::string(name) + " of " + octetsText(value.left()) +
                                         " is not a non-zero multiple of " + std::to_string(size) +
                                         " (RFC 7606 section " + section + ")"});
      return;
    }
    while (!value.atEnd()) {
      ByteCursor const community = value.take(size);
      if (size == 8) {
        actions_.extendedCommunityIs(community);
      } else {
        actions_.ipv6ExtendedCommunityIs(community);
      }
    }
  }

  bool reset(std::size_t at, std::string text) {
    result_.diagnostics.push_back({at, Severity::sessionReset, std::move(text)});
    return false;
  }

  void finish() {
    for (Flowspec::FlowspecKey const& key : withdrawn_) {
      result_.withdrawals.emplace_back(vrfId_, key);
    }
    if (result_.severity() >= Severity::treatAsWithdraw) {
      for (Flowspec::FlowspecKey const& key : announced_) {
        result_.withdrawals.emplace_back(vrfId_, key);
      }
      return;
    }
    if (announced_.empty()) {
      return;
    }
    Flowspec::Rule withActions;
    actions_.actionsOnto(withActions, nextHop_, result_.diagnostics);
    for (Flowspec::FlowspecKey const& key : announced_) {
      result_.announcements.push_back(withActions);
      result_.announcements.back().key = Flowspec::FlowspecTidalKey(vrfId_, key);
    }
  }

  Vrf::VrfIdMap::VrfId vrfId_;
  ActionDecoder actions_;
  UpdateResult& result_;
  ByteCursor attributes_{{}, 0};
  Nwk::IpGenAddr nextHop_;
  std::vector<Flowspec::FlowspecKey> announced_;
  std::vector<Flowspec::FlowspecKey> withdrawn_;
  bool seenMpReach_ = false;
  bool seenMpUnreach_ = false;
  bool seenCommunities_ = false;
  bool seenIpv6Communities_ = false;
};

}  // namespace

UpdateResult UpdateDecoder::decode(std::span<std::uint8_t const> message) const {
  UpdateResult result;
  UpdateParse(vrfId_, resolver_, result).run(message);
  return result;
}

}  // namespace Feed
