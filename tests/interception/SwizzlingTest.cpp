#include "interception/Swizzling.h"

#include "simulator/Phone.h"

#include <gtest/gtest.h>

namespace lumora {
namespace {

int64_t one(id, SEL) { return 1; }
int64_t three(id, SEL) { return 3; }
std::string text(id, SEL) { return "text"; }

Slot<int64_t(id, SEL)> valueIMP;
int64_t hooked(id self, SEL _cmd) { return 10 + valueIMP(self, _cmd); }
int64_t replaced(id, SEL) { return 20; }

class SwizzlingTest : public testing::Test {
protected:
    Phone phone { {} };
    Class parent { ClassBuilder("Parent", classOf<NSObject>())
                       .method("value"_sel, &one)
                       .classMethod("kind"_sel, &one)
                       .build() };
    Class child { ClassBuilder("Child", parent).build() };

    static int64_t value(Class cls) { return send<int64_t>(class_createInstance(cls).get(), "value"_sel); }
};

TEST_F(SwizzlingTest, AnInheritedMethodIsHookedOnTheSubclassAlone)
{
    EXPECT_EQ(class_swizzleMethodAndStore(child, "value"_sel, &hooked, &valueIMP), 1);
    EXPECT_EQ(value(child), 11);
    EXPECT_EQ(value(parent), 1);
    EXPECT_EQ(valueIMP.load(phone.process().classes()), IMP { &one }.function);
}

TEST_F(SwizzlingTest, WithoutASlotTheMethodIsReplacedAllTheSame)
{
    EXPECT_EQ(class_swizzleMethodAndStore(parent, "value"_sel, &replaced, nullptr), 1);
    EXPECT_EQ(value(parent), 20);
}

TEST_F(SwizzlingTest, WhatIsNotThereStaysAway)
{
    EXPECT_EQ(class_swizzleMethodAndStore(parent, "missing"_sel, &hooked, &valueIMP), 0);
    EXPECT_FALSE(class_getInstanceMethod(parent, "missing"_sel));
    EXPECT_EQ(class_swizzleMethodAndStore(nullptr, "value"_sel, &hooked, &valueIMP), 0);
    EXPECT_EQ(class_swizzleMethodAndStore(parent, "value"_sel, &text, nullptr), 0)
        << "a method that changed its types";
    EXPECT_EQ(value(parent), 1);
    EXPECT_FALSE(send(static_cast<id>(nullptr), sel::swizzle, "value"_sel, IMP { &hooked }, &valueIMP));
}

TEST_F(SwizzlingTest, AClassMethodIsHookedAndAnInstanceMethodAppears)
{
    EXPECT_TRUE(send(parent, sel::classSwizzle, "kind"_sel, IMP { &hooked }, &valueIMP));
    EXPECT_EQ(send<int64_t>(parent, "kind"_sel), 11);
    EXPECT_EQ(send<int64_t>(class_createInstance(parent).get(), "kind"_sel), 11)
        << "the instance side runs the hook too";
    EXPECT_EQ(class_swizzleClassMethodAndStore(parent, "missing"_sel, &hooked, nullptr), 0);
}

TEST_F(SwizzlingTest, AnInstanceMethodOfTheNameShieldsTheClassMethod)
{
    class_addMethod(parent, "kind"_sel, &three);
    EXPECT_EQ(class_swizzleClassMethodAndStore(parent, "kind"_sel, &hooked, &valueIMP), 1);
    EXPECT_EQ(send<int64_t>(parent, "kind"_sel), 1);
    EXPECT_EQ(send<int64_t>(class_createInstance(parent).get(), "kind"_sel), 13);
}

TEST_F(SwizzlingTest, EveryClassTakesSwizzleMethods)
{
    for (Class cls : { parent, classOf<NSObject>(), NSClassFromString("UIView") })
        EXPECT_NO_THROW(send(cls, sel::swizzleMethods));
}

TEST_F(SwizzlingTest, AnExceptionOfTheHostPassesThrough)
{
    static const auto raise = +[](id, SEL) -> int64_t { throw std::runtime_error("host"); };
    const Class cls = ClassBuilder("Raising", classOf<NSObject>()).method("value"_sel, raise).build();
    class_swizzleMethodAndStore(cls, "value"_sel, &hooked, &valueIMP);
    EXPECT_THROW(value(cls), std::runtime_error);
}

} // namespace
} // namespace lumora
