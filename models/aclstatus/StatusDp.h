#pragma once

#include <cstdint>

#include "platform/cog/Record.h"

namespace Acl {

// The ACL features that report unsupported qualifiers; 2 is flowspec.
using AclFeature = std::uint8_t;
inline constexpr AclFeature aclFeatureFlowspec = 2;
// The ACL types: 0 IPv4, 1 IPv6.
using AclType = std::uint8_t;
inline constexpr AclType aclTypeIpv4 = 0;
inline constexpr AclType aclTypeIpv6 = 1;

// One unsupported component reported by a line card: its qualifier entries (values are
// qualifier names such as "l4-src-port").
class UnsupportedComponent : public Cog::Entity {
 public:
  explicit UnsupportedComponent(Cog::String name) : name_(std::move(name)) {}
  COG_RECORD(UnsupportedComponent, (orderedMap, Cog::String, Cog::String, qualifier, Qualifier));
  Cog::String const& name() const { return name_; }

 private:
  Cog::String name_;
};

// What one line card cannot match for one ACL type.
class AclTypeUnsupportedComponent : public Cog::Entity {
 public:
  explicit AclTypeUnsupportedComponent(AclType aclType) : aclType_(aclType) {}
  COG_RECORD(AclTypeUnsupportedComponent,
             (orderedChildren, Cog::String, UnsupportedComponent, unsupportedComponent,
              UnsupportedComponent));
  AclType aclType() const { return aclType_; }

 private:
  AclType aclType_;
};

// What one line card cannot match, per ACL type.
class LinecardUnsupportedComponent : public Cog::Entity {
 public:
  explicit LinecardUnsupportedComponent(Cog::String name) : name_(std::move(name)) {}
  COG_RECORD(LinecardUnsupportedComponent,
             (orderedChildren, AclType, AclTypeUnsupportedComponent, aclType, AclType));
  Cog::String const& name() const { return name_; }

 private:
  Cog::String name_;
};

// What the line cards cannot match for one ACL feature.
class FeatureUnsupportedComponent : public Cog::Entity {
 public:
  explicit FeatureUnsupportedComponent(AclFeature feature) : feature_(feature) {}
  COG_RECORD(FeatureUnsupportedComponent,
             (orderedChildren, Cog::String, LinecardUnsupportedComponent, linecard, Linecard));
  AclFeature feature() const { return feature_; }

 private:
  AclFeature feature_;
};

// The ACL status of the data plane: unsupported qualifiers per feature.
class StatusDp : public Cog::Entity {
 public:
  explicit StatusDp(Cog::String name) : name_(std::move(name)) {}
  COG_RECORD(StatusDp,
             (orderedChildren, AclFeature, FeatureUnsupportedComponent,
              featureUnsupportedComponent, FeatureUnsupportedComponent));
  Cog::String const& name() const { return name_; }

 private:
  Cog::String name_;
};

}  // namespace Acl
