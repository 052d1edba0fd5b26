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

TEST(LMHelperTest, OwnMethodsAreLoggedInTheirOrder)
{
    const Phone phone { {} };
    const Class helper = NSClassFromString("LMHelper");
    const Class child = ClassBuilder("Child", classOf<Listed>()).classMethod("kind"_sel, &one).build();
    for (const std::string name : { "TestListed", "Child", "Nobody" }) {
        send<void>(helper, "getMethodsFromClass:"_sel, name);
        send<void>(helper, "getMethodsFromAbstractClass:"_sel, name);
    }
    EXPECT_EQ(phone.console().lines(),
        (std::vector<std::string> { "3 methods of TestListed", "Method no #0: value",
            "Method no #1: text:", "Method no #2: value", "0 methods of TestListed", "0 methods of Child",
            "1 methods of Child", "Method no #0: kind", "0 methods of Nobody", "0 methods of Nobody" }));

    testing::internal::CaptureStdout();
    for (id object : { static_cast<id>(child), static_cast<id>(nullptr) })
        send<void>(helper, "dumpClassMethods:"_sel, object);
    DumpObjcMethods(alloc<Listed>().get());
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
        "Found 1 methods on 'Child'\n"
        "\t'Child' has method named 'kind' of encoding 'q@:'\n"
        "Found 0 methods on 'nil'\n"
        "Found 3 methods on 'TestListed'\n"
        "\t'TestListed' has method named 'value' of encoding 'q@:'\n"
        "\t'TestListed' has method named 'text:' of encoding '@\"NSString\"@:@\"NSString\"'\n"
        "\t'TestListed' has method named 'value' of encoding 'q@:'\n");
}

} // namespace
} // namespace lumora
