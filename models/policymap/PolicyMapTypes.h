#pragma once

#include <compare>
#include <cstdint>
#include <string>

namespace PolicyMap {

// The kind of a policy-map configuration tree; the flowspec feature has its own.
struct MapType {
  std::uint8_t value = 0;
  auto operator<=>(MapType const&) const = default;
};
inline constexpr MapType mapTypeFlowspec{4};

enum class ActionType : std::uint8_t {
  actionNone = 0,
  actionPolice = 1,
  actionSetDscp = 2,
  actionPbrForward = 3,
  actionPermit = 4,
  actionDeny = 5,
};

using ClassPriority = std::uint32_t;

// A DSCP value, 0 to 63.
class Dscp {
 public:
  explicit Dscp(unsigned value);  // range error "Dscp::value < 0 or > 63 not allowed"
  std::uint8_t value() const { return value_; }
  bool operator==(Dscp const&) const = default;

 private:
  std::uint8_t value_;
};

// A police rate in bits per second; `burst` is always written as 0 by flowspec.
struct PoliceRate {
  std::uint64_t rate = 0;
  std::uint64_t burst = 0;
  bool operator==(PoliceRate const&) const = default;
};

// Which ACL match of a class-map: IPv4 or IPv6.
enum class ClassMapMatchOption : std::uint8_t { matchIpAccessGroup = 0, matchIpv6AccessGroup = 1 };

enum class InstalledState : std::uint8_t { unknown = 0, installed = 1, failed = 2 };

enum class ClassState : std::uint8_t {
  classStateUnknown = 0,
  classStatePending = 1,
  classStateInstalled = 2,
  classStatePartial = 3,
  classStateFailed = 4,
  classStateRemoved = 5,
};

enum class OperationProgress : std::uint8_t {
  notStarted = 0,
  pending = 1,
  inProgress = 2,
  succeeded = 3,
  failed = 4,
};

// Whether a policy is installed on an interface for one match option, and why not.
struct InstalledStatus {
  InstalledState state = InstalledState::unknown;
  std::string errorText;
  bool operator==(InstalledStatus const&) const = default;
};

}  // namespace PolicyMap
