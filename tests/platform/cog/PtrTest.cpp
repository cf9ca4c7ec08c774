#include <gtest/gtest.h>

#include "platform/cog/Ptr.h"

namespace {

struct Base : Cog::Object {
  explicit Base(int* counter) : deleted(counter) {}
  ~Base() override { ++*deleted; }
  int* deleted;
};
struct Derived : Base {
  using Base::Base;
};

TEST(CogPtr, CountsReferencesAndDeletesWithTheLast) {
  int deleted = 0;
  {
    Cog::Ptr<Derived> a = Cog::make<Derived>(&deleted);
    Cog::Ptr<Base const> b = a;  // to const and to base
    Cog::Ptr<Base> c = std::move(a);
    EXPECT_EQ(a, nullptr);
    EXPECT_EQ(b->refCount(), 2u);
    EXPECT_EQ(b, c);
    c = nullptr;
    EXPECT_EQ(b->refCount(), 1u);
    EXPECT_EQ(deleted, 0);
  }
  EXPECT_EQ(deleted, 1);
}

TEST(CogPtr, CastsKeepTheCount) {
  int deleted = 0;
  Cog::Ptr<Base> base = Cog::make<Derived>(&deleted);
  Cog::Ptr<Derived> derived = Cog::ptrDynamicCast<Derived>(base);
  ASSERT_TRUE(derived);
  EXPECT_EQ(base->refCount(), 2u);
}

}  // namespace
