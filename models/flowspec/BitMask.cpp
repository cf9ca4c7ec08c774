#include "models/flowspec/BitMask.h"

#include <cstdio>

namespace Flowspec {

char const* TcpBitMaskTag::bitName(unsigned bit) {
  static char const* const kNames[] = {"fin", "syn", "rst", "psh", "ack",
                                       "urg", "ece", "cwr", "ns"};
  return bit < 9 ? kNames[bit] : nullptr;
}

char const* IpBitMaskTag::bitName(unsigned bit) {
  static char const* const kNames[] = {"df", "isf", "ff", "lf"};
  return bit < 4 ? kNames[bit] : nullptr;
}

template <class Tag>
std::string BitMask<Tag>::toStrep() const {
  char text[64];
  std::snprintf(text, sizeof text, "{matchAll %s, value 0x%x, mask 0x%x}",
                matchAll_ ? "true" : "false", value_, mask_);
  return text;
}

template <class Tag>
std::string BitMask<Tag>::toStrepCli() const {
  std::string out;
  for (unsigned bit = 0; bit < 16; ++bit) {
    std::uint16_t const flag = static_cast<std::uint16_t>(1u << bit);
    if (!(mask_ & flag)) {
      continue;
    }
    out += out.empty() ? "" : " ";
    out += (value_ & flag) ? "" : "!";
    if (char const* name = Tag::bitName(bit)) {
      out += name;
    } else {
      char hex[8];
      std::snprintf(hex, sizeof hex, "0x%x", flag);
      out += hex;
    }
  }
  return out;
}

template class BitMask<TcpBitMaskTag>;
template class BitMask<IpBitMaskTag>;

}  // namespace Flowspec
