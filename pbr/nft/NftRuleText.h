#pragma once

#include <string>

#include "models/acl/IpFilter.h"

namespace Pbr {

// The match part of the nftables rule for one ACL entry, for a chain that sees only packets of
// the entry's family. The entry's conditions are those the ACL filter records document: every
// condition ANDed, masks applied bit by bit, port conditions only for TCP and UDP, ICMP type and
// code only for ICMP of the family, TCP flags (the nine control bits, so the flags byte and the
// bit before it) only for TCP, IPv6 length as the payload length. A condition that cannot match
// or cannot be read gives an error text; the text is empty on success.
std::string nftMatch(Acl::IpFilter const& filter, std::string& error);
std::string nftMatch(Acl::Ip6Filter const& filter, std::string& error);

// Whether `name` can name a Linux interface in a rule: 1 to 15 printable bytes without blanks,
// quotes, backslashes or slashes.
bool nftIntfNameValid(std::string const& name);

}  // namespace Pbr
