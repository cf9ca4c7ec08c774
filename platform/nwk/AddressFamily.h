#pragma once

#include <cstdint>
#include <ostream>

namespace Nwk {

enum class AddressFamily : std::uint8_t { none = 0, ipv4 = 1, ipv6 = 2 };

// "ipv4", "ipv6" or "none".
char const* toStrep(AddressFamily af);
std::ostream& operator<<(std::ostream& os, AddressFamily af);

}  // namespace Nwk
