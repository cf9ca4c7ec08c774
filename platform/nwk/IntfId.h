#pragma once

#include <compare>
#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>

namespace Nwk {

// An interface, identified by its name ("Ethernet1", "Vlan10", "Port-Channel5").
class IntfId {
 public:
  IntfId() = default;
  explicit IntfId(std::string name) : name_(std::move(name)) {}

  // A name of 1 to 64 characters of [A-Za-z0-9/._:-] starting with a letter; anything else
  // (hostile bytes, empty, too long) is refused.
  static std::optional<IntfId> parse(std::string_view text);

  std::string const& name() const { return name_; }
  bool valid() const { return !name_.empty(); }
  std::string const& toStrep() const { return name_; }

  auto operator<=>(IntfId const&) const = default;
  bool operator==(IntfId const&) const = default;

 private:
  std::string name_;
};

inline std::ostream& operator<<(std::ostream& os, IntfId const& intf) { return os << intf.name(); }

}  // namespace Nwk

template <>
struct std::hash<Nwk::IntfId> {
  std::size_t operator()(Nwk::IntfId const& intf) const noexcept {
    return std::hash<std::string>()(intf.name());
  }
};
