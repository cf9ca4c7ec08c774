#pragma once

#include <cstdint>

#include "models/acl/IpFilter.h"
#include "models/policymap/PolicyMapTypes.h"
#include "platform/cog/Record.h"

namespace PolicyMap {

// The ACL rules of one match option of a class-map version, by sequence number (the order in
// which the hardware evaluates them). An IPv4 match fills only `ipRule`, an IPv6 match only
// `ip6Rule`.
class ClassMapMatch : public Cog::Entity {
 public:
  explicit ClassMapMatch(ClassMapMatchOption option) : option_(option) {}
  COG_RECORD(ClassMapMatch, (smallMap, std::uint32_t, Acl::IpRuleConfig, ipRule, IpRule),
             (smallMap, std::uint32_t, Acl::Ip6RuleConfig, ip6Rule, Ip6Rule));

  ClassMapMatchOption option() const { return option_; }

 private:
  ClassMapMatchOption option_;
};

}  // namespace PolicyMap
