// The value types' limits and texts: VRF names, DSCP values, next-hop texts, keys.
#include <gtest/gtest.h>

#include <string>

#include "models/l3name/VrfName.h"
#include "models/pbr/ResolvedNexthopInfo.h"
#include "models/policymap/PolicyMapSmKey.h"
#include "models/policymap/PolicyMapTypes.h"
#include "platform/cog/Errors.h"

namespace {

Nwk::IpGenAddr addr(char const* text) { return *Nwk::IpGenAddr::parse(text); }

template <class F>
std::string rangeErrorText(F&& build) {
  try {
    build();
  } catch (Cog::RangeError const& error) {
    return error.what();
  }
  return "no error";
}

TEST(VrfName, HundredBytesAcceptedOneMoreRejectedWithFixedText) {
  EXPECT_EQ(L3::VrfName(std::string(100, 'v')).value().size(), 100u);
  EXPECT_EQ(rangeErrorText([] { L3::VrfName(std::string(101, 'v')); }),
            "VrfName::value::bytes > VrfName::maxLength not allowed");
  // The limit counts bytes: 50 two-byte characters fit, one more does not.
  std::string twoByte;
  for (int i = 0; i < 50; ++i) {
    twoByte += "\xc3\xa9";
  }
  EXPECT_EQ(L3::VrfName(twoByte).value(), twoByte);
  EXPECT_EQ(rangeErrorText([&] { L3::VrfName(twoByte + "\xc3\xa9"); }),
            "VrfName::value::bytes > VrfName::maxLength not allowed");
}

TEST(VrfName, DefaultIsEmptyAndOrderIsByText) {
  EXPECT_EQ(L3::VrfName().value(), "");
  EXPECT_EQ(L3::VrfName("red").toStrep(), "red");
  EXPECT_TRUE(L3::VrfName("blue") < L3::VrfName("red"));
  EXPECT_EQ(L3::VrfName("red"), L3::VrfName("red"));
}

TEST(Dscp, ZeroToSixtyThreeAcceptedAboveRejectedWithFixedText) {
  EXPECT_EQ(PolicyMap::Dscp(0).value(), 0);
  EXPECT_EQ(PolicyMap::Dscp(63).value(), 63);
  for (unsigned const bad : {64u, 255u, 256u, 256u + 5u}) {
    // 256 + 5 would wrap to a valid 5 if the check ran after narrowing.
    EXPECT_EQ(rangeErrorText([bad] { PolicyMap::Dscp{bad}; }),
              "Dscp::value < 0 or > 63 not allowed")
        << bad;
  }
}

TEST(ResolvedNexthopInfo, TextListsNexthopsInAddressOrder) {
  Pbr::NexthopSet set{"red", {addr("10.0.0.9"), addr("10.0.0.10"), addr("2001:db8::1")}};
  Pbr::ResolvedNexthopInfo const info(set);
  EXPECT_EQ(info.toStrep(), "vrf red 10.0.0.9 10.0.0.10 2001:db8::1");
  EXPECT_EQ(Pbr::ResolvedNexthopInfo().toStrep(), "vrf ");
  EXPECT_EQ(Pbr::ResolvedNexthopInfo(Pbr::NexthopSet()), Pbr::ResolvedNexthopInfo());
  EXPECT_EQ(info, Pbr::ResolvedNexthopInfo(set));
  set.nexthops.erase(addr("10.0.0.9"));
  EXPECT_FALSE(info == Pbr::ResolvedNexthopInfo(set));
}

}  // namespace
