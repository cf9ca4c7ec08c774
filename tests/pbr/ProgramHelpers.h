#pragma once

// Building programs, filters and packets for the hardware model's tests.
#include <memory>
#include <string>
#include <vector>

#include "pbr/hwmodel/HardwareModel.h"
#include "platform/nwk/IpGenPrefix.h"

namespace PbrTest {

inline Acl::IpFilter ipDst(std::string const& prefix) {
  Acl::IpFilter filter;
  filter.destinationIs(*Nwk::IpGenPrefix::parse(prefix));
  return filter;
}

inline Acl::Ip6Filter ip6Dst(std::string const& prefix) {
  auto const parsed = *Nwk::IpGenPrefix::parse(prefix);
  Acl::Ip6Filter filter;
  filter.destinationIs(Nwk::Ip6AddrWithMask(parsed.addr(), parsed.len()));
  return filter;
}

inline Acl::IpFilter withDport(Acl::IpFilter filter, Acl::RangeOperator op, std::string text) {
  filter.protocolIs(6);
  filter.protocolMaskIs(0xff);
  filter.dportIs(Acl::PortSpec(op, std::move(text)));
  return filter;
}

// `count` entries for distinct /32 destinations from 10.<base>.0.0 on.
inline std::vector<Acl::IpFilter> hosts(std::uint32_t count, std::uint32_t base = 0) {
  std::vector<Acl::IpFilter> out;
  for (std::uint32_t i = 0; i < count; ++i) {
    Acl::IpFilter filter;
    filter.destinationIs((10u << 24) | (base << 16) | i, 0xffffffff);
    out.push_back(filter);
  }
  return out;
}

inline Pbr::ClassProgram ipClass(std::string name, std::vector<Acl::IpFilter> entries,
                                 Pbr::ActionSpec action = {}) {
  Pbr::ClassProgram out;
  out.name = std::move(name);
  out.action = action;
  out.ipEntries = std::make_shared<Pbr::IpEntries const>(std::move(entries));
  return out;
}

inline Pbr::ClassProgram ip6Class(std::string name, std::vector<Acl::Ip6Filter> entries,
                                  Pbr::ActionSpec action = {}) {
  Pbr::ClassProgram out;
  out.name = std::move(name);
  out.action = action;
  out.ip6Entries = std::make_shared<Pbr::Ip6Entries const>(std::move(entries));
  return out;
}

inline Pbr::ActionSpec deny() {
  Pbr::ActionSpec action;
  action.deny = true;
  return action;
}

inline std::shared_ptr<Pbr::PolicyProgram const> program(
    std::vector<Pbr::ClassProgram> classes, Nwk::AddressFamily af = Nwk::AddressFamily::ipv4,
    bool makeBeforeBreak = true, bool atomic = false) {
  auto out = std::make_shared<Pbr::PolicyProgram>();
  out->policyName = "red";
  out->af = af;
  out->classes = Pbr::sharedClasses(std::move(classes));
  out->makeBeforeBreak = makeBeforeBreak;
  out->atomic = atomic;
  return out;
}

inline Pbr::Packet packetTo(std::string const& dst, std::uint8_t protocol = 17,
                            std::uint16_t dport = 53) {
  Pbr::Packet packet;
  packet.dst = *Nwk::IpGenAddr::parse(dst);
  packet.af = packet.dst.af();
  packet.src = Nwk::IpGenAddr::zero(packet.af);
  packet.protocol = protocol;
  packet.dport = dport;
  return packet;
}

// The class a packet arriving on `intf` lands in; "" for none.
inline std::string classOf(Pbr::HardwareModel& hw, std::string const& intf,
                           Pbr::Packet const& packet) {
  return hw.classify(Nwk::IntfId(intf), packet).className;
}

}  // namespace PbrTest
