#include <cctype>
#include <cstdio>

#include "platform/cog/Errors.h"
#include "platform/nwk/AddressFamily.h"
#include "platform/nwk/HexDigit.h"
#include "platform/nwk/IntfId.h"
#include "platform/nwk/IpGenAddr.h"
#include "platform/nwk/IpGenPrefix.h"

namespace Nwk {

char const* toStrep(AddressFamily af) {
  switch (af) {
    case AddressFamily::ipv4:
      return "ipv4";
    case AddressFamily::ipv6:
      return "ipv6";
    default:
      return "none";
  }
}

std::ostream& operator<<(std::ostream& os, AddressFamily af) { return os << toStrep(af); }

std::optional<IntfId> IntfId::parse(std::string_view text) {
  if (text.empty() || text.size() > 64 || !std::isalpha(static_cast<unsigned char>(text[0]))) {
    return std::nullopt;
  }
  for (char c : text) {
    bool const ok = std::isalnum(static_cast<unsigned char>(c)) || c == '/' || c == '.' ||
                    c == '_' || c == ':' || c == '-';
    if (!ok) {
      return std::nullopt;
    }
  }
  return IntfId(std::string(text));
}

IpGenAddr IpGenAddr::ipv4(std::uint32_t hostOrder) {
  IpGenAddr addr;
  addr.af_ = AddressFamily::ipv4;
  for (int i = 0; i < 4; ++i) {
    addr.bytes_[i] = static_cast<std::uint8_t>(hostOrder >> (24 - 8 * i));
  }
  return addr;
}

IpGenAddr IpGenAddr::ipv6(Bytes const& bytes) {
  IpGenAddr addr;
  addr.af_ = AddressFamily::ipv6;
  addr.bytes_ = bytes;
  return addr;
}

IpGenAddr IpGenAddr::zero(AddressFamily af) {
  IpGenAddr addr;
  addr.af_ = af;
  return addr;
}

bool IpGenAddr::isZero() const {
  for (std::uint8_t b : bytes_) {
    if (b != 0) {
      return false;
    }
  }
  return true;
}

std::uint32_t IpGenAddr::v4() const {
  return (std::uint32_t{bytes_[0]} << 24) | (std::uint32_t{bytes_[1]} << 16) |
         (std::uint32_t{bytes_[2]} << 8) | bytes_[3];
}

namespace {

std::optional<std::uint32_t> parseV4(std::string_view text) {
  std::uint32_t value = 0;
  int parts = 0;
  std::size_t i = 0;
  while (parts < 4) {
    if (i >= text.size() || !std::isdigit(static_cast<unsigned char>(text[i]))) {
      return std::nullopt;
    }
    std::uint32_t part = 0;
    std::size_t const start = i;
    while (i < text.size() && std::isdigit(static_cast<unsigned char>(text[i]))) {
      part = part * 10 + static_cast<std::uint32_t>(text[i] - '0');
      if (part > 255 || i - start >= 3) {
        return std::nullopt;
      }
      ++i;
    }
    if (i - start > 1 && text[start] == '0') {
      return std::nullopt;  // no leading zeros: they read as octal elsewhere
    }
    value = value << 8 | part;
    ++parts;
    if (parts < 4) {
      if (i >= text.size() || text[i] != '.') {
        return std::nullopt;
      }
      ++i;
    }
  }
  return i == text.size() ? std::optional<std::uint32_t>(value) : std::nullopt;
}

std::optional<IpGenAddr::Bytes> parseV6(std::string_view text) {
  std::uint16_t head[8];
  std::uint16_t tail[8];
  int headCount = 0;
  int tailCount = 0;
  bool compressed = false;
  std::size_t i = 0;
  if (text.substr(0, 2) == "::") {
    compressed = true;
    i = 2;
  } else if (!text.empty() && text[0] == ':') {
    return std::nullopt;
  }
  while (i < text.size()) {
    int const total = headCount + tailCount;
    // An embedded dotted quad ends the address and takes two groups.
    std::size_t const end = text.find(':', i);
    std::string_view const group = text.substr(i, end == std::string_view::npos ? end : end - i);
    if (group.find('.') != std::string_view::npos) {
      auto const v4 = parseV4(group);
      if (!v4 || end != std::string_view::npos || total > 6) {
        return std::nullopt;
      }
      std::uint16_t* out = compressed ? tail : head;
      int& count = compressed ? tailCount : headCount;
      out[count++] = static_cast<std::uint16_t>(*v4 >> 16);
      out[count++] = static_cast<std::uint16_t>(*v4 & 0xFFFF);
      i = text.size();
      break;
    }
    if (group.empty() || group.size() > 4 || total >= 8) {
      return std::nullopt;
    }
    std::uint16_t value = 0;
    for (char c : group) {
      int const digit = hexDigit(c);
      if (digit < 0) {
        return std::nullopt;
      }
      value = static_cast<std::uint16_t>(value << 4 | digit);
    }
    (compressed ? tail[tailCount++] : head[headCount++]) = value;
    i += group.size();
    if (i == text.size()) {
      break;
    }
    // text[i] == ':'
    if (text.substr(i, 2) == "::") {
      if (compressed) {
        return std::nullopt;
      }
      compressed = true;
      i += 2;
    } else {
      ++i;
      if (i == text.size()) {
        return std::nullopt;  // trailing single colon
      }
    }
  }
  int const total = headCount + tailCount;
  if ((!compressed && total != 8) || (compressed && total > 7)) {
    return std::nullopt;
  }
  IpGenAddr::Bytes bytes{};
  for (int g = 0; g < headCount; ++g) {
    bytes[2 * g] = static_cast<std::uint8_t>(head[g] >> 8);
    bytes[2 * g + 1] = static_cast<std::uint8_t>(head[g]);
  }
  for (int g = 0; g < tailCount; ++g) {
    int const pos = 8 - tailCount + g;
    bytes[2 * pos] = static_cast<std::uint8_t>(tail[g] >> 8);
    bytes[2 * pos + 1] = static_cast<std::uint8_t>(tail[g]);
  }
  return bytes;
}

}  // namespace

std::optional<IpGenAddr> IpGenAddr::parse(std::string_view text) {
  if (text.find(':') != std::string_view::npos) {
    auto const bytes = parseV6(text);
    return bytes ? std::optional<IpGenAddr>(ipv6(*bytes)) : std::nullopt;
  }
  auto const v4 = parseV4(text);
  return v4 ? std::optional<IpGenAddr>(ipv4(*v4)) : std::nullopt;
}

namespace {

// Addresses are printed by the hundred thousand (class-map names, statuses, shows): digits are
// written directly into a buffer, and the text appended at once, rather than through printf or
// a character at a time.
char* writeDecimal(char* p, unsigned value) {
  if (value >= 100) {
    *p++ = static_cast<char>('0' + value / 100);
  }
  if (value >= 10) {
    *p++ = static_cast<char>('0' + value / 10 % 10);
  }
  *p++ = static_cast<char>('0' + value % 10);
  return p;
}

char* writeHex(char* p, unsigned value) {
  static constexpr char kDigits[] = "0123456789abcdef";
  bool started = false;
  for (int shift = 12; shift >= 0; shift -= 4) {
    unsigned const digit = value >> shift & 0xf;
    if (started || digit != 0 || shift == 0) {
      *p++ = kDigits[digit];
      started = true;
    }
  }
  return p;
}

// The longest text of an address, "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff", and of a
// prefix length after it, "/128".
constexpr std::size_t kMaxAddrText = 39;
constexpr std::size_t kMaxLenText = 4;

// The text of `addr` written at p; the end of it.
char* writeAddr(char* p, IpGenAddr const& addr) {
  IpGenAddr::Bytes const& bytes = addr.bytes();
  if (addr.af() == AddressFamily::ipv4) {
    for (int i = 0; i < 4; ++i) {
      if (i > 0) {
        *p++ = '.';
      }
      p = writeDecimal(p, bytes[i]);
    }
    return p;
  }
  if (addr.af() != AddressFamily::ipv6) {
    return p;
  }
  std::uint16_t groups[8];
  for (int g = 0; g < 8; ++g) {
    groups[g] = static_cast<std::uint16_t>(bytes[2 * g] << 8 | bytes[2 * g + 1]);
  }
  // RFC 5952: compress the longest run of two or more zero groups, the first on ties.
  int bestStart = -1;
  int bestLength = 1;
  for (int g = 0; g < 8;) {
    if (groups[g] != 0) {
      ++g;
      continue;
    }
    int end = g;
    while (end < 8 && groups[end] == 0) {
      ++end;
    }
    if (end - g > bestLength) {
      bestStart = g;
      bestLength = end - g;
    }
    g = end;
  }
  char const* const start = p;
  for (int g = 0; g < 8; ++g) {
    if (g == bestStart) {
      *p++ = ':';
      *p++ = ':';
      g += bestLength - 1;
      continue;
    }
    if (p > start && p[-1] != ':') {
      *p++ = ':';
    }
    p = writeHex(p, groups[g]);
  }
  return p;
}

}  // namespace

void IpGenAddr::appendTo(std::string& out) const {
  char text[kMaxAddrText];
  out.append(text, writeAddr(text, *this));
}

std::string IpGenAddr::toStrep() const {
  std::string out;
  appendTo(out);
  return out;
}

std::ostream& operator<<(std::ostream& os, IpGenAddr const& addr) { return os << addr.toStrep(); }

IpGenPrefix::IpGenPrefix(IpGenAddr const& addr, std::uint8_t len) : addr_(addr), len_(len) {
  unsigned const maxLen = addr.af() == AddressFamily::ipv4 ? 32 : 128;
  if (addr.af() == AddressFamily::none || len > maxLen) {
    throw Cog::RangeError("IpGenPrefix::len > maxLen not allowed");
  }
  IpGenAddr::Bytes bytes = addr.bytes();
  for (unsigned i = 0; i < bytes.size(); ++i) {
    unsigned const first = i * 8;  // the first bit of byte i
    if (first >= len) {
      bytes[i] = 0;
    } else if (len - first < 8) {
      bytes[i] &= static_cast<std::uint8_t>(0xFF00u >> (len - first));  // its first len-first bits
    }
  }
  addr_ = addr.af() == AddressFamily::ipv4
              ? IpGenAddr::ipv4(static_cast<std::uint32_t>(bytes[0]) << 24 |
                                static_cast<std::uint32_t>(bytes[1]) << 16 |
                                static_cast<std::uint32_t>(bytes[2]) << 8 | bytes[3])
              : IpGenAddr::ipv6(bytes);
}

std::optional<IpGenPrefix> IpGenPrefix::parse(std::string_view text) {
  std::size_t const slash = text.find('/');
  auto const addr = IpGenAddr::parse(text.substr(0, slash));
  if (!addr) {
    return std::nullopt;
  }
  unsigned const maxLen = addr->af() == AddressFamily::ipv4 ? 32 : 128;
  unsigned len = maxLen;
  if (slash != std::string_view::npos) {
    std::string_view const digits = text.substr(slash + 1);
    if (digits.empty() || digits.size() > 3) {
      return std::nullopt;
    }
    len = 0;
    for (char c : digits) {
      if (!std::isdigit(static_cast<unsigned char>(c))) {
        return std::nullopt;
      }
      len = len * 10 + static_cast<unsigned>(c - '0');
    }
    if (len > maxLen) {
      return std::nullopt;
    }
  }
  return IpGenPrefix(*addr, static_cast<std::uint8_t>(len));
}

bool IpGenPrefix::contains(IpGenAddr const& addr) const {
  if (isEmpty() || addr.af() != af()) {
    return false;
  }
  return IpGenPrefix(addr, len_) == *this;
}

void IpGenPrefix::appendTo(std::string& out) const {
  if (isEmpty()) {
    return;
  }
  char text[kMaxAddrText + kMaxLenText];
  char* p = writeAddr(text, addr_);
  *p++ = '/';
  out.append(text, writeDecimal(p, len_));
}

std::string IpGenPrefix::toStrep() const {
  std::string out;
  appendTo(out);
  return out;
}

std::ostream& operator<<(std::ostream& os, IpGenPrefix const& prefix) {
  return os << prefix.toStrep();
}

}  // namespace Nwk

std::size_t std::hash<Nwk::IpGenAddr>::operator()(Nwk::IpGenAddr const& addr) const noexcept {
  std::size_t h = static_cast<std::size_t>(addr.af()) * 0x9E3779B97F4A7C15ull;
  for (std::uint8_t b : addr.bytes()) {
    h = (h ^ b) * 0x100000001B3ull;
  }
  return h;
}
