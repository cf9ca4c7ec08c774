#include "feed/ActionDecoder.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>

namespace Feed {

namespace {

std::string rateText(float rate) {
  char text[32];
  std::snprintf(text, sizeof text, "%g", static_cast<double>(rate));
  return text;
}

}  // namespace

void ActionDecoder::extendedCommunityIs(ByteCursor community) {
  std::size_t const at = community.offset();
  std::uint64_t const type = community.number(2);  // type and sub-type
  switch (type) {
    case 0x8006:
    case 0x800c:
      community.number(2);  // the originator's AS, informational
      rate(at, type == 0x800c, static_cast<std::uint32_t>(community.number(4)));
      break;
    case 0x8007:
      community.number(5);  // the bits are in the last octet
      trafficActionBits_ |=
          community.u8() & (Flowspec::TrafficAction::kTerminal | Flowspec::TrafficAction::kSample);
      break;
    case 0x8008: {
      std::uint64_t const as = community.number(2);
      routeTarget(at, std::to_string(as) + ":" + std::to_string(community.number(4)));
      break;
    }
    case 0x8108: {
      std::string const address = readIpv4(community).toStrep();
      routeTarget(at, address + ":" + std::to_string(community.number(2)));
      break;
    }
    case 0x8208: {
      std::uint64_t const as = community.number(4);
      routeTarget(at, std::to_string(as) + ":" + std::to_string(community.number(2)));
      break;
    }
    case 0x010c: {
      Nwk::IpGenAddr const address = readIpv4(community);
      redirectTo(at, address, community.number(2) & 1);
      break;
    }
    case 0x0800:
      community.number(5);
      redirectTo(at, Nwk::IpGenAddr(), community.u8() & 1);
      break;
    case 0x8009:
      community.number(5);
      marking(at, community.u8() & 0x3F);
      break;
    default:
      break;
  }
}

void ActionDecoder::ipv6ExtendedCommunityIs(ByteCursor community) {
  std::size_t const at = community.offset();
  switch (community.number(2)) {
    case 0x000c: {
      Nwk::IpGenAddr const address = readIpv6(community);
      redirectTo(at, address, community.number(2) & 1);
      break;
    }
    case 0x000d: {
      std::string const address = readIpv6(community).toStrep();
      routeTarget(at, "[" + address + "]:" + std::to_string(community.number(2)));
      break;
    }
    default:
      break;
  }
}

void ActionDecoder::rate(std::size_t offset, bool packets, std::uint32_t bits) {
  float const value = std::bit_cast<float>(bits);
  std::string const what =
      std::string(packets ? "traffic-rate-packets " : "traffic-rate-bytes ") + rateText(value);
  if (std::isnan(value) || value < 0) {
    notes_.push_back({offset, Severity::note, what + " is not a rate: ignored"});
  } else if (value == 0) {
    discardOffset_ = discardOffset_.value_or(offset);
  } else if (packets) {
    notes_.push_back({offset, Severity::note, what + " has no rule field: not installed"});
  } else {
    bytesRate_ = std::min(bytesRate_.value_or(value), value);
  }
}

void ActionDecoder::routeTarget(std::size_t offset, std::string const& text) {
  routeTargetSeen_ = true;
  if (redirectVrfId_) {
    later(offset, "rt-redirect " + text);
  } else if (auto const vrfId = resolver_.vrfId(text)) {
    redirectVrfId_ = vrfId;
  } else {
    notes_.push_back({offset, Severity::note,
                      "rt-redirect " + text + ": no VRF imports the route target; no redirect"});
  }
}

void ActionDecoder::redirectTo(std::size_t offset, Nwk::IpGenAddr const& address, bool copy) {
  std::string const target = address.isZero() ? "the next hop" : address.toStrep();
  if (copy) {
    notes_.push_back(
        {offset, Severity::note, "copy to " + target + " has no rule field: not installed"});
  } else if (redirect_) {
    later(offset, "redirect to " + target);
  } else {
    redirect_ = Redirect{offset, address};
  }
}

void ActionDecoder::marking(std::size_t offset, std::uint8_t dscp) {
  if (dscp_) {
    later(offset, "traffic-marking " + std::to_string(dscp));
  } else {
    dscp_ = dscp;
  }
}

void ActionDecoder::later(std::size_t offset, std::string const& what) {
  notes_.push_back({offset, Severity::note, what + " ignored: an earlier one applies"});
}

void ActionDecoder::actionsOnto(Flowspec::Rule& rule, Nwk::IpGenAddr const& nextHop,
                                std::vector<Diagnostic>& diagnostics) const {
  diagnostics.insert(diagnostics.end(), notes_.begin(), notes_.end());
  rule.trafficAction = Flowspec::TrafficAction(trafficActionBits_);
  if (discardOffset_) {
    rule.actionFieldSet = Flowspec::ActionFieldSet(Flowspec::ActionFieldSet::kDeny);
    if (bytesRate_ || redirectVrfId_ || redirect_ || dscp_) {
      diagnostics.push_back(
          {*discardOffset_, Severity::note, "discard overrides the rule's other actions"});
    }
    return;
  }
  std::uint8_t bits = 0;
  if (bytesRate_) {
    bits |= Flowspec::ActionFieldSet::kPolice;
    rule.trafficRateLimit = *bytesRate_;
  }
  std::optional<Nwk::IpGenAddr> address;
  if (redirect_) {
    Nwk::IpGenAddr const& target = redirect_->address.isZero() ? nextHop : redirect_->address;
    if (target.isZero()) {
      diagnostics.push_back({redirect_->offset, Severity::note,
                             "redirect to the next hop, but MP_REACH_NLRI has none: no redirect"});
    } else {
      address = target;
    }
  }
  // An unresolved route target means no redirect, even with an address: the address was meant
  // for the other VRF.
  if (redirectVrfId_ || (!routeTargetSeen_ && address)) {
    bits |= Flowspec::ActionFieldSet::kRedirect;
    rule.trafficRedirect = {redirectVrfId_.value_or(vrfId_), address.value_or(Nwk::IpGenAddr())};
  }
  if (dscp_) {
    bits |= Flowspec::ActionFieldSet::kDscp;
    rule.trafficMarkingDscp = Nwk::IpTos(*dscp_);
  }
  rule.actionFieldSet = Flowspec::ActionFieldSet(bits);
}

}  // namespace Feed
