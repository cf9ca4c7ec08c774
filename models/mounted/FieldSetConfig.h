#pragma once

#include <cstdint>
#include <set>

#include "platform/cog/Record.h"
#include "platform/nwk/IpGenPrefix.h"

namespace Classification {

using PrefixSet = std::set<Nwk::IpGenPrefix>;
using PortSet = std::set<std::uint16_t>;

// Named field sets (prefix lists and port lists) that ACL rules may refer to instead of a
// literal value. Mounted read-only for the policy programming machinery.
class FieldSetConfig : public Cog::Entity {
 public:
  explicit FieldSetConfig(Cog::String name) : name_(std::move(name)) {}
  COG_RECORD(FieldSetConfig, (orderedMap, Cog::String, PrefixSet, prefixFieldSet, PrefixFieldSet),
             (orderedMap, Cog::String, PortSet, l4PortFieldSet, L4PortFieldSet));

  Cog::String const& name() const { return name_; }

 private:
  Cog::String name_;
};

}  // namespace Classification
