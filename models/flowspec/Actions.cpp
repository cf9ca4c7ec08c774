#include "models/flowspec/Actions.h"

namespace Flowspec {

std::string ActionFieldSet::toStrep() const {
  static constexpr struct {
    std::uint8_t bit;
    char const* name;
  } kNames[] = {{kInvalid, "invalid"}, {kPermit, "permit"},     {kDeny, "deny"},
                {kPolice, "police"},   {kRedirect, "redirect"}, {kDscp, "dscp"}};
  std::string out;
  for (auto const& [bit, name] : kNames) {
    if (bits_ & bit) {
      out += out.empty() ? "" : "+";
      out += name;
    }
  }
  return out.empty() ? "none" : out;
}

std::string TrafficRedirect::toStrep() const {
  std::string out = "vrfId " + std::to_string(vrfId);
  if (address.af() != Nwk::AddressFamily::none) {
    out += " nexthop " + address.toStrep();
  }
  return out;
}

std::ostream& operator<<(std::ostream& os, ActionFieldSet const& set) {
  return os << set.toStrep();
}

std::ostream& operator<<(std::ostream& os, TrafficRedirect const& redirect) {
  return os << redirect.toStrep();
}

}  // namespace Flowspec
