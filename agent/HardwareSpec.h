#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "pbr/hwmodel/Packet.h"
#include "pbr/hwmodel/Qualifier.h"

namespace Agent {

// The hardware a scenario describes: line cards with their banks, range checkers, unsupported
// qualifiers and interfaces; packets to inject at given times; when to ask for counters.
struct HardwareSpec {
  struct LineCard {
    std::string name;
    std::uint32_t ipv4Entries = 0;
    std::uint32_t ipv6Entries = 0;
    std::uint32_t rangeCheckers = 0;
    std::vector<std::string> interfaces;
    Pbr::QualifierSet unsupportedIpv4 = 0;
    Pbr::QualifierSet unsupportedIpv6 = 0;
  };
  struct Stream {
    double at = 0;  // seconds after start
    std::string interface;
    std::uint32_t count = 1;
    Pbr::Packet packet;
  };
  std::vector<LineCard> lineCards;
  std::vector<Stream> streams;
  std::vector<double> counterRequests;  // seconds after start
};

}  // namespace Agent
