#pragma once

// Three network namespaces in a row for tests of the nftables dataplane: a sender (A), a router
// (B, where rules are programmed, on interface "ba") and a sink (C). B forwards 10.9.0.0/16 and
// fd09::/16 to C; static neighbours and fixed MAC addresses keep address resolution out of the
// way. Frames are sent from A with a packet socket and captured in C with another, so a packet
// dropped in B never reaches the capture. Everything is removed when the lab goes away.
#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "pbr/hwmodel/Packet.h"

namespace PbrTest {

// A packet on the wire: its identity (IPv4 identification or IPv6 flow label) and the ToS or
// traffic class it arrived with.
struct Arrival {
  std::uint32_t id = 0;
  std::uint8_t trafficClass = 0;
};

class NetnsLab {
 public:
  NetnsLab();
  ~NetnsLab();
  NetnsLab(NetnsLab const&) = delete;
  NetnsLab& operator=(NetnsLab const&) = delete;

  // Why the lab could not be built; empty when it is up.
  std::string const& error() const { return error_; }
  std::string const& router() const { return router_; }
  static constexpr char kIntf[] = "ba";

  // Sends the packet from A with the given identity (IPv4 ID, or IPv6 flow label of 20 bits).
  void send(Pbr::Packet const& packet, std::uint32_t id);
  // Sends a marker past every rule and returns what C received up to it.
  std::vector<Arrival> drain();

 private:
  bool sh(std::string const& command);

  std::string sender_;
  std::string router_;
  std::string sink_;
  std::string error_;
  int sendFd_ = -1;
  int captureFd_ = -1;
};

// The frame A sends for `packet`: Ethernet, IPv4 or IPv6 (with a fragment header for an IPv6
// fragment), then TCP, UDP, ICMP or eight bytes of header, and `packet.length` bytes of payload
// (checksums filled in). The packet.s
// length field is set to what the wire carries (IPv4 total length, IPv6 payload length).
std::vector<std::uint8_t> frameOf(Pbr::Packet& packet, std::uint32_t id);

}  // namespace PbrTest
