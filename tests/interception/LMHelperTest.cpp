#include "lumora/Swizzling.h"
#include "simulator/Phone.h"

#include <gtest/gtest.h>

namespace lumora {
namespace {

int64_t one(id, SEL) { return 1; }
std::string text(id, SEL, const std::string&) { return {}; }

TEST(LMHelperTest, OwnMethodsAreLoggedInTheirOrder)
{
    const Phone phone { {} };
    const Class helper = NSClassFromString("LMHelper");
    const Class parent = ClassBuilder("Parent", classOf<NSObject>())
                             .method("value"_sel, &one)
                             .method("text:"_sel, &text)
                             .build();
    const Class child = ClassBuilder("Child", parent).classMethod("kind"_sel, &one).build();
    for (const std::string name : { "Parent", "Child", "Nobody" }) {
        send<void>(helper, "getMethodsFromClass:"_sel, name);
        send<void>(helper, "getMethodsFromAbstractClass:"_sel, name);
    }
    EXPECT_EQ(phone.console().lines(),
        (std::vector<std::string> { "2 methods of Parent", "Method no #0: value",
            "Method no #1: text:", "0 methods of Parent", "0 methods of Child", "1 methods of Child",
            "Method no #0: kind", "0 methods of Nobody", "0 methods of Nobody" }));

    testing::internal::CaptureStdout();
    for (id object : { static_cast<id>(child), static_cast<id>(nullptr) })
        send<void>(helper, "dumpClassMethods:"_sel, object);
    DumpObjcMethods(class_createInstance(parent).get());
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
        "Found 1 methods on 'Child'\n"
        "\t'Child' has method named 'kind' of encoding 'q@:'\n"
        "Found 0 methods on 'nil'\n"
        "Found 2 methods on 'Parent'\n"
        "\t'Parent' has method named 'value' of encoding 'q@:'\n"
        "\t'Parent' has method named 'text:' of encoding '@\"NSString\"@:@\"NSString\"'\n");
}

} // namespace
} // namespace lumora
