#include <gtest/gtest.h>

#include "models/acl/IpFilter.h"
#include "platform/cog/Errors.h"

namespace {

template <class F>
std::string error(F&& f) {
  try {
    f();
  } catch (Cog::RangeError const& e) {
    return e.what();
  }
  return "";
}

TEST(AclFilter, RangeLimitTexts) {
  Acl::IpFilter filter;
  EXPECT_EQ(error([&] { filter.tniIs(16777216); }),
            "IpFilterBase::tni < 0 or > 16777215 not allowed");
  EXPECT_EQ(error([&] { filter.vniIs(16777216); }),
            "IpFilterBase::vni < 0 or > 16777215 not allowed");
  EXPECT_EQ(error([&] { filter.dscpIs(64); }), "IpFilter::dscp < 0 or > 63 not allowed");
  EXPECT_EQ(error([&] { filter.dscpIs(63); }), "");
}

TEST(AclFilter, OneLineTexts) {
  EXPECT_EQ(Acl::IpFilter().toStrep(), "ip any");
  EXPECT_EQ(Acl::Ip6Filter().toStrep(), "ipv6 any");
  Acl::IpFilter filter;
  filter.destinationIs(*Nwk::IpGenPrefix::parse("10.0.0.0/8"));
  filter.protocolIs(6);
  filter.protocolMaskIs(0xFE);
  filter.dportIs(Acl::PortSpec(Acl::RangeOperator::range, "1024 2047"));
  filter.ipLenIs(Acl::IpLenSpec(Acl::RangeOperator::eq, "1500"));
  filter.tcpFlagIs(Acl::TcpFlag(0x02));
  filter.tcpFlagMaskIs(Acl::TcpFlag(0x12));
  filter.fragmentsIs(true);
  filter.matchDscpIs(true);
  filter.dscpIs(46);
  filter.dscpMaskIs(63);
  EXPECT_EQ(filter.toStrep(),
            "ip dst 10.0.0.0/255.0.0.0 proto 6/0xfe dport range 1024 2047 len eq 1500 "
            "tcp syn/syn+ack fragments dscp 46/0x3f");
  Acl::Ip6Filter v6;
  v6.destinationIs(Nwk::Ip6AddrWithMask(*Nwk::IpGenAddr::parse("2001:db8::"), 32));
  v6.icmpTypeIs(128);
  v6.trafficClassIs(184);
  v6.trafficClassMaskIs(0xFC);
  EXPECT_EQ(v6.toStrep(), "ipv6 dst 2001:db8::/32 icmp-type 128 tc 184/0xfc");
  EXPECT_EQ(Acl::IpRuleConfig(filter).filter(), filter);
}

TEST(AclFilter, SpecsAndCopiesCompareByValue) {
  EXPECT_EQ(Acl::PortSpec(), Acl::PortSpec(Acl::RangeOperator::any, ""));
  EXPECT_FALSE(Acl::PortSpec());
  EXPECT_NE(Acl::PortSpec(Acl::RangeOperator::eq, "80"),
            Acl::PortSpec(Acl::RangeOperator::range, "80 80"));
  EXPECT_EQ(Acl::PortSpec(Acl::RangeOperator::range, "65535 65535").valueText(), "65535 65535");
  EXPECT_THROW(Acl::IpLenSpec(Acl::RangeOperator::eq, "000000000001500"), Cog::RangeError);
  Acl::IpFilter a;
  a.sportIs(Acl::PortSpec(Acl::RangeOperator::eq, "53"));
  Acl::IpFilter const b = a;
  EXPECT_EQ(a, b);
  EXPECT_EQ(a.hash(), b.hash());
  a.icmpCodeIs(0);  // a set field with value 0 still differs from an unset one
  EXPECT_NE(a, b);
}

}  // namespace
