#pragma once

#include <concepts>
#include <cstdint>
#include <ostream>
#include <sstream>
#include <string>
#include <string_view>
#include <type_traits>

// How trace messages and other texts are put together: pieces are concatenated with no
// separator. A piece is a string, a number, a bool ("true"/"false"), an enumeration (its
// number), a value with toStrep(), or a value with a stream operator.
namespace Trace {

// A number printed in hexadecimal without prefix: "value 0x" followed by Hex{v}.
struct Hex {
  std::uint64_t value;
};

namespace detail {

template <class T>
concept HasToStrep = requires(T const& t) {
  { t.toStrep() } -> std::convertible_to<std::string>;
};

template <class T>
concept Streamable = requires(std::ostream& os, T const& t) {
  os << t;
};

inline void append(std::string& out, std::string_view s) { out.append(s); }
inline void append(std::string& out, char const* s) { out.append(s); }
inline void append(std::string& out, std::string const& s) { out.append(s); }
inline void append(std::string& out, char c) { out.push_back(c); }
inline void append(std::string& out, bool b) { out.append(b ? "true" : "false"); }
void append(std::string& out, Hex h);
void append(std::string& out, double d);

template <class T>
void append(std::string& out, T const& value) {
  if constexpr (std::is_array_v<T>) {
    out.append(std::string_view(value));
  } else if constexpr (std::is_same_v<T, float>) {
    append(out, static_cast<double>(value));
  } else if constexpr (std::is_integral_v<T>) {
    if constexpr (std::is_signed_v<T>) {
      out.append(std::to_string(static_cast<long long>(value)));
    } else {
      out.append(std::to_string(static_cast<unsigned long long>(value)));
    }
  } else if constexpr (std::is_enum_v<T>) {
    append(out, static_cast<std::underlying_type_t<T>>(value));
  } else if constexpr (HasToStrep<T>) {
    out.append(value.toStrep());
  } else if constexpr (requires {
                         value.get();
                         value->toStrep();
                       }) {
    // Framework pointers print their object, or "null".
    if (value) {
      out.append(value->toStrep());
    } else {
      out.append("null");
    }
  } else {
    static_assert(Streamable<T>, "trace piece needs toStrep() or a stream operator");
    std::ostringstream os;
    os << value;
    out.append(os.str());
  }
}

}  // namespace detail

template <class... Pieces>
std::string concat(Pieces const&... pieces) {
  std::string out;
  (detail::append(out, pieces), ...);
  return out;
}

}  // namespace Trace
