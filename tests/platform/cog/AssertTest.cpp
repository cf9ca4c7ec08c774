#include <gtest/gtest.h>

#include "platform/cog/Assert.h"
#include "platform/cog/Errors.h"
#include "platform/cog/Ptr.h"

namespace {

TEST(CogAssert, TextIsTheAssertedExpression) {
  int numRuleFilter = 0;
  try {
    COG_ASSERT(numRuleFilter > 0);
    FAIL();
  } catch (Cog::AssertionError const& e) {
    EXPECT_STREQ(e.what(), "numRuleFilter > 0");
  }
  try {
    COG_ASSERT(false && "unknown address-family");
    FAIL();
  } catch (Cog::AssertionError const& e) {
    EXPECT_STREQ(e.what(), "false && \"unknown address-family\"");
  }
}

TEST(CogAssertDeathTest, AbortsInTheAgent) {
  EXPECT_DEATH(
      {
        Cog::assertModeIs(Cog::AssertMode::abortProcess);
        COG_ASSERT(1 == 2);
      },
      "assertion failed: 1 == 2");
}

TEST(CogErrors, FixedTexts) {
  EXPECT_STREQ(Cog::ReinstantiationError("flowspecVrfConfigSm").what(),
               "Reinstantiation of flowspecVrfConfigSm with different arguments not allowed");
  EXPECT_STREQ(Cog::NullArgumentError("vrfRuleStatus").what(), "Null vrfRuleStatus not allowed");
  Cog::Ptr<int>* none = nullptr;
  EXPECT_THROW(Cog::requireNonNull(none, "x"), Cog::NullArgumentError);
}

}  // namespace
