#include "pbr/nft/NftRuleText.h"

#include <arpa/inet.h>

#include <bit>
#include <cstdio>

#include "pbr/hwmodel/HwEntry.h"

namespace Pbr {

namespace {

std::string hex(unsigned value) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%x", value);
  return text;
}

// " <value>", " lo-hi" or the negation of either, for a field condition that is not "any".
std::string fieldText(FieldCond const& cond) {
  std::string out = cond.negate ? " != " : " ";
  out += std::to_string(cond.lo);
  if (cond.hi != cond.lo) {
    out += "-" + std::to_string(cond.hi);
  }
  return out;
}

std::string v4Text(std::uint32_t address) {
  in_addr addr{htonl(address)};
  char text[INET_ADDRSTRLEN];
  return inet_ntop(AF_INET, &addr, text, sizeof text);
}

std::string v6Text(Bits128 const& bits) {
  unsigned char bytes[16];
  for (int i = 0; i < 8; ++i) {
    bytes[i] = static_cast<unsigned char>(bits.hi >> (56 - 8 * i));
    bytes[i + 8] = static_cast<unsigned char>(bits.lo >> (56 - 8 * i));
  }
  char text[INET6_ADDRSTRLEN];
  return inet_ntop(AF_INET6, bytes, text, sizeof text);
}

// An IPv4 address condition: a prefix when the mask is contiguous, a bitwise match otherwise.
std::string v4Addr(char const* field, Bits128 const& value, Bits128 const& mask) {
  auto const m = static_cast<std::uint32_t>(mask.hi >> 32);
  auto const v = static_cast<std::uint32_t>(value.hi >> 32);
  if (m == 0) {
    return {};
  }
  auto const len = static_cast<unsigned>(std::countl_one(m));
  if (len == 32 || (m << len) == 0) {
    return std::string(" ip ") + field + " " + v4Text(v) + "/" + std::to_string(len);
  }
  return std::string(" ip ") + field + " & " + v4Text(m) + " == " + v4Text(v);
}

std::string v6Addr(char const* field, Bits128 const& value, Bits128 const& mask) {
  unsigned const len = mask.leadingOnes();
  return len == 0 ? std::string()
                  : std::string(" ip6 ") + field + " " + v6Text(value) + "/" + std::to_string(len);
}

// The conditions both families share, after the addresses.
std::string baseText(HwEntry const& e, bool v6) {
  std::string out;
  if (e.protocolMask == 0xff) {
    out += " meta l4proto " + std::to_string(e.protocol);
  } else if (e.protocolMask) {
    out += " meta l4proto & " + hex(e.protocolMask) + " == " + hex(e.protocol);
  }
  if (e.sport.kind != FieldCond::Kind::any || e.dport.kind != FieldCond::Kind::any) {
    out += " meta l4proto { 6, 17 }";
    if (e.sport.kind != FieldCond::Kind::any) {
      out += " th sport" + fieldText(e.sport);
    }
    if (e.dport.kind != FieldCond::Kind::any) {
      out += " th dport" + fieldText(e.dport);
    }
  }
  if (e.length.kind != FieldCond::Kind::any) {
    out += (v6 ? " ip6 length" : " ip length") + fieldText(e.length);
  }
  char const* const icmp = v6 ? " icmpv6" : " icmp";
  if (e.icmpTypeSet) {
    out += icmp + std::string(" type ") + std::to_string(e.icmpType);
  }
  if (e.icmpCodeSet) {
    out += icmp + std::string(" code ") + std::to_string(e.icmpCode);
  }
  if (e.tcpFlagMask) {
    // The nine control bits are the low bits of the 16 bits at offset 12 of the TCP header.
    out += " meta l4proto 6 @th,96,16 & " + hex(e.tcpFlagMask) + " == " + hex(e.tcpFlags);
  }
  if (e.trafficClassMask) {
    // The ToS byte of IPv4; IPv6's traffic class spans bits 4 to 11 of the header.
    out += v6 ? " @nh,0,16 & " + hex(unsigned{e.trafficClassMask} << 4) +
                    " == " + hex(unsigned{e.trafficClass} << 4)
              : " @nh,8,8 & " + hex(e.trafficClassMask) + " == " + hex(e.trafficClass);
  }
  if (e.fragments) {
    out += v6 ? " exthdr frag exists" : " ip frag-off & 0x3fff != 0";
  }
  return out;
}

}  // namespace

std::string nftMatch(Acl::IpFilter const& filter, std::string& error) {
  HwEntry entry;
  error = compileEntry(filter, entry);
  if (!error.empty()) {
    return {};
  }
  return v4Addr("saddr", entry.src, entry.srcMask) + v4Addr("daddr", entry.dst, entry.dstMask) +
         baseText(entry, false);
}

std::string nftMatch(Acl::Ip6Filter const& filter, std::string& error) {
  HwEntry entry;
  error = compileEntry(filter, entry);
  if (!error.empty()) {
    return {};
  }
  return v6Addr("saddr", entry.src, entry.srcMask) + v6Addr("daddr", entry.dst, entry.dstMask) +
         baseText(entry, true);
}

bool nftIntfNameValid(std::string const& name) {
  if (name.empty() || name.size() > 15) {
    return false;
  }
  for (char c : name) {
    if (c <= ' ' || c > '~' || c == '"' || c == '\\' || c == '/' || c == '\'') {
      return false;
    }
  }
  return true;
}

}  // namespace Pbr
