#pragma once

#include <cstdint>

#include "pbr/PolicyProgram.h"
#include "platform/nwk/IpGenAddr.h"

namespace Pbr {

// A packet injected into the hardware model's classifier: the header fields that ACL entries
// can qualify on.
struct Packet {
  Nwk::AddressFamily af = Nwk::AddressFamily::ipv4;
  Nwk::IpGenAddr src;
  Nwk::IpGenAddr dst;
  std::uint8_t protocol = 6;  // IPv6: the last next header
  std::uint16_t sport = 0;
  std::uint16_t dport = 0;
  std::uint8_t icmpType = 0;
  std::uint8_t icmpCode = 0;
  std::uint16_t tcpFlags = 0;  // 9 bits, fin 0x01 ... ns 0x100
  std::uint16_t length = 0;
  std::uint8_t trafficClass = 0;  // the IPv4 ToS byte or the IPv6 traffic class; DSCP is the
                                  // upper six bits
  bool fragment = false;
};

// What the classifier decided for a packet: the class that matched first and its action, or
// no match (the packet goes on unchanged).
struct Classification {
  bool matched = false;
  Cog::String className;
  ActionSpec action;
};

}  // namespace Pbr
