#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <vector>

#include "models/acl/IpFilter.h"
#include "models/policymap/PolicyMapTypes.h"
#include "platform/cog/SharedPrefetch.h"
#include "platform/cog/SharedString.h"
#include "platform/cog/System.h"
#include "platform/kiln/UniqueId.h"
#include "platform/nwk/AddressFamily.h"
#include "platform/nwk/IpGenAddr.h"

namespace Pbr {

// What a class does with the packets it matches, as the dataplane applies it. The default
// permits: the packet goes on unchanged. Deny wins over every other action. A redirect is kept
// aside, shared and never changed (most classes have none), and compared by value.
struct ActionSpec {
  struct Redirect {
    Cog::String vrfName;
    std::set<Nwk::IpGenAddr> nexthops;
    bool operator==(Redirect const&) const = default;
  };

  bool deny = false;
  std::optional<std::uint64_t> policeRateBps;
  std::optional<std::uint8_t> setDscp;
  std::shared_ptr<Redirect const> redirect;

  bool operator==(ActionSpec const& other) const {
    return deny == other.deny && policeRateBps == other.policeRateBps && setDscp == other.setDscp &&
           (redirect == other.redirect ||
            (redirect && other.redirect && *redirect == *other.redirect));
  }
};

// The ACL entries of one class for one address family, in sequence order. Shared, never
// changed once built: the machinery hands the same object again for a class whose class-map
// version has not changed, so a dataplane may keep such a class in place across versions.
using IpEntries = std::vector<Acl::IpFilter>;
using Ip6Entries = std::vector<Acl::Ip6Filter>;

// One class of a program: its name, the class-map version its entries come from, its entries
// (of the program's address family only) and its action. Its priority is its place in the
// program, so a class that only moves is the same object in the next version.
struct ClassProgram {
  Cog::SharedString name;
  Kiln::UniqueId cmapVersion;
  ActionSpec action;
  std::shared_ptr<IpEntries const> ipEntries;
  std::shared_ptr<Ip6Entries const> ip6Entries;

  // The same name, entries object and action: what a dataplane may keep in place.
  bool samePlacement(ClassProgram const& other) const {
    return this == &other || (name == other.name && ipEntries == other.ipEntries &&
                              ip6Entries == other.ip6Entries && action == other.action);
  }
};

// Classes are shared, never changed once built: consecutive versions hand the dataplane the
// same object for a class that did not change.
using ClassPrograms = std::vector<std::shared_ptr<ClassProgram const>>;
inline ClassPrograms sharedClasses(std::vector<ClassProgram> classes) {
  ClassPrograms out;
  out.reserve(classes.size());
  for (auto& cls : classes) {
    out.push_back(std::make_shared<ClassProgram const>(std::move(cls)));
  }
  return out;
}

// One policy version for one address family, as the dataplane programs it on an interface:
// classes in priority order (first match wins), and how to install it.
struct PolicyProgram {
  Cog::String policyName;
  Kiln::UniqueId version;
  Nwk::AddressFamily af = Nwk::AddressFamily::none;
  ClassPrograms classes;
  // Program beside the version in place and switch once done (otherwise remove it first).
  bool makeBeforeBreak = true;
  // Install every class or none.
  bool atomic = false;

  PolicyProgram() = default;
  PolicyProgram(PolicyProgram const&) = default;
  PolicyProgram(PolicyProgram&&) = default;
  PolicyProgram& operator=(PolicyProgram const&) = default;
  PolicyProgram& operator=(PolicyProgram&&) = default;
  // Releases its classes asking for their reference counts ahead: a program of many classes
  // would otherwise stall on each of them.
  ~PolicyProgram() { Cog::releaseShared(classes); }
};

// The outcome of programming one class on one interface.
struct ClassResult {
  bool installed = false;
  Cog::String errorText;  // why it failed
  bool operator==(ClassResult const&) const = default;
};

// The outcome of one program request: one result per class of the program, in its order.
using ProgramResult = std::vector<ClassResult>;

}  // namespace Pbr
