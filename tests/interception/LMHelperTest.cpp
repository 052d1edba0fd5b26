#include "lumora/Swizzling.h"
#include "simulator/Phone.h"

#include <gtest/gtest.h>

namespace lumora {
namespace {

int64_t one(id, SEL) { return 1; }
std::string text(id, SEL, const std::string&) { return {}; }

class Listed : public NSObject {
public:
    static const ClassDescription& classDescription()
    {
        static const auto description = ClassDescription::of<Listed, NSObject>("TestListed")
                                            .method("value"_sel, &one)
                                            .method("text:"_sel, &text)
                                            .method("value"_sel, &one);
        return description;
    }
};

class LMHelperTest : public testing::Test {
protected:
    Phone phone { {} };
    Class child { ClassBuilder("Child", classOf<Listed>()).classMethod("kind"_sel, &one).build() };
    Class helper { NSClassFromString("LMHelper") };

    template <typename Argument>
    std::vector<std::string> logged(const char* operation, const Argument& argument)
    {
        const size_t before = phone.console().lines().size();
        send<void>(helper, sel_registerName(operation), argument);
        std::vector<std::string> lines = phone.console().lines();
        lines.erase(lines.begin(), lines.begin() + static_cast<ptrdiff_t>(before));
        return lines;
    }
};

TEST_F(LMHelperTest, OwnMethodsAreLoggedInTheirOrder)
{
    using Lines = std::vector<std::string>;
    EXPECT_EQ(logged("getMethodsFromClass:", std::string { "TestListed" }),
        (Lines { "3 methods of TestListed", "Method no #0: value",
            "Method no #1: text:", "Method no #2: value" }));
    EXPECT_EQ(logged("getMethodsFromAbstractClass:", std::string { "Child" }),
        (Lines { "1 methods of Child", "Method no #0: kind" }));
    for (const char* operation : { "getMethodsFromClass:", "getMethodsFromAbstractClass:" })
        EXPECT_EQ(logged(operation, std::string { "Nobody" }), (Lines { "0 methods of Nobody" }));
    EXPECT_EQ(logged("getMethodsFromClass:", std::string { "Child" }), (Lines { "0 methods of Child" }))
        << "inherited ones are not listed";
}

TEST_F(LMHelperTest, MethodsArePrintedWithTheirEncodings)
{
    const auto listed = alloc<Listed>();
    testing::internal::CaptureStdout();
    for (id object : { static_cast<id>(listed.get()), static_cast<id>(child), static_cast<id>(nullptr) })
        send<void>(helper, "dumpClassMethods:"_sel, object);
    DumpObjcMethods(class_createInstance(child).get());
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
        "Found 3 methods on 'TestListed'\n"
        "\t'TestListed' has method named 'value' of encoding 'q@:'\n"
        "\t'TestListed' has method named 'text:' of encoding '@\"NSString\"@:@\"NSString\"'\n"
        "\t'TestListed' has method named 'value' of encoding 'q@:'\n"
        "Found 1 methods on 'Child'\n"
        "\t'Child' has method named 'kind' of encoding 'q@:'\n"
        "Found 0 methods on 'nil'\n"
        "Found 0 methods on 'Child'\n");
}

} // namespace
} // namespace lumora
