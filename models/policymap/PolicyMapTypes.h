#pragma once

#include <compare>
#include <cstdint>
#include <string>

namespace PolicyMap {

// The kind of a policy-map configuration tree; each feature that classifies traffic has its
// own, and the flowspec feature's is 4.
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
// The dump text of an action type: "police", "set-dscp", "pbr-forward", "permit", "deny",
// "none" (also for values outside the enumeration).
char const* actionTypeText(ActionType type);

// The position of a class in its policy-map: lower values match first.
using ClassPriority = std::uint32_t;

// A DSCP value, 0 to 63.
class Dscp {
 public:
  // Range error "Dscp::value < 0 or > 63 not allowed" above 63.
  explicit Dscp(unsigned value);
  std::uint8_t value() const { return value_; }
  bool operator==(Dscp const&) const = default;

 private:
  std::uint8_t value_;
};

// A police rate in bits per second. The hardware takes a burst size too, but flowspec rate
// limits carry none, so the system always writes 0 and leaves the choice to the programming
// machinery.
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

// How far the programming of a policy has got.
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
