#include "interception/Swizzling.h"

#include "simulator/Phone.h"

#include <gtest/gtest.h>

namespace lumora {
namespace {

int64_t one(id, SEL) { return 1; }
int64_t two(id, SEL) { return 2; }
int64_t three(id, SEL) { return 3; }
std::string text(id, SEL) { return "text"; }

Slot<int64_t(id, SEL)> valueIMP;
int64_t hooked(id self, SEL _cmd) { return 10 + valueIMP(self, _cmd); }

// A class that answers 1 to "value" and 2 as a class, and a subclass that adds nothing.
struct Family {
    Phone phone { {} };
    Class parent { ClassBuilder("Parent", classOf<NSObject>())
                       .method("value"_sel, &one)
                       .classMethod("kind"_sel, &two)
                       .build() };
    Class child { ClassBuilder("Child", parent).build() };

    // What the instances answer, and then the classes themselves: -1 when they do not.
    std::vector<int64_t> answers(SEL selector) const
    {
        const auto parentObject = class_createInstance(parent);
        const auto childObject = class_createInstance(child);
        std::vector<int64_t> all;
        for (id object : { parentObject.get(), childObject.get(), id { parent }, id { child } }) {
            Method method = class_getInstanceMethod(object->isa(), selector);
            const bool counts = method && method->types == &methodEncoding<int64_t>();
            all.push_back(counts ? send<int64_t>(object, selector) : -1);
        }
        return all;
    }
};

struct Row {
    const char* name;
    int (*install)(const Family&);
    int result;
    std::vector<int64_t> answers;
    IMP kept;
};

void check(const std::vector<Row>& rows, const char* selector)
{
    for (const Row& row : rows) {
        const Family family;
        EXPECT_EQ(row.install(family), row.result) << row.name;
        EXPECT_EQ(family.answers(sel_registerName(selector)), row.answers) << row.name;
        EXPECT_EQ(valueIMP.load(family.phone.process().classes()), row.kept.function) << row.name;
    }
}

TEST(SwizzlingTest, InstanceMethods)
{
    const std::vector<int64_t> untouched { 1, 1, -1, -1 };
    static const auto hook = [](Class cls, const char* selector = "value", const IMP& with = &hooked) {
        return class_swizzleMethodAndStore(cls, sel_registerName(selector), with, &valueIMP);
    };
    static const auto rival
        = [](Class cls) { class_replaceMethod(cls, "value"_sel, &three, &methodEncoding<int64_t>()); };
    check(
        { { "own", [](auto& f) { return hook(f.parent); }, 1, { 11, 11, -1, -1 }, &one },
            { "inherited: the superclass stays", [](auto& f) { return hook(f.child); }, 1, { 1, 11, -1, -1 },
                &one },
            { "absent", [](auto& f) { return hook(f.parent, "missing"); }, 0, untouched, nullptr },
            { "a class method is none", [](auto& f) { return hook(f.parent, "kind"); }, 0, untouched,
                nullptr },
            { "other types", [](auto& f) { return hook(f.parent, "value", &text); }, 0, untouched, nullptr },
            { "no replacement", [](auto& f) { return hook(f.parent, "value", nullptr); }, 0, untouched,
                nullptr },
            { "inherited, where a rival has hooked", [](auto& f) { return rival(f.parent), hook(f.child); },
                1, { 3, 13, -1, -1 }, &three },
            { "sent to nobody",
                [](auto&) {
                    return int { send(Class {}, sel::swizzle, "value"_sel, IMP { &hooked }, &valueIMP) };
                },
                0, untouched, nullptr } },
        "value");
}

TEST(SwizzlingTest, ClassMethods)
{
    const std::vector<int64_t> untouched { -1, -1, 2, 2 };
    static const auto hook = [](Class cls, const char* selector = "kind") {
        return class_swizzleClassMethodAndStore(cls, sel_registerName(selector), &hooked, &valueIMP);
    };
    static const auto shield
        = [](const Family& f, const IMP& with) { class_addMethod(f.parent, "kind"_sel, with); };
    check({ { "own: an instance method appears, sent",
                [](auto& f) {
                    return int { send(f.parent, sel::classSwizzle, "kind"_sel, IMP { &hooked }, &valueIMP) };
                },
                1, { 12, 12, 12, 12 }, &two },
              { "inherited: replaced where it stands", [](auto& f) { return hook(f.child); }, 1,
                  { -1, 12, 12, 12 }, &two },
              { "an instance method of its own shields it",
                  [](auto& f) { return shield(f, &three), hook(f.parent); }, 1, { 13, 13, 2, 2 }, &three },
              { "an inherited instance method does not",
                  [](auto& f) { return shield(f, &three), hook(f.child); }, 1, { 3, 12, 12, 12 }, &two },
              { "an instance method of other types", [](auto& f) { return shield(f, &text), hook(f.parent); },
                  0, untouched, nullptr },
              { "an instance method is none", [](auto& f) { return hook(f.parent, "value"); }, 0, untouched,
                  nullptr } },
        "kind");
}

TEST(SwizzlingTest, EveryClassTakesSwizzleMethods)
{
    const Family family;
    for (Class cls :
        { family.parent, classOf<NSObject>(), classOf<NSProxy>(), NSClassFromString("UIView") }) {
        EXPECT_EQ(respondsToSelector(cls, sel::swizzleMethods), cls != classOf<NSProxy>());
        EXPECT_EQ(respondsToSelector(cls, sel::load), cls != classOf<NSProxy>());
    }
    EXPECT_NO_THROW(send(family.parent, sel::swizzleMethods));
}

} // namespace
} // namespace lumora
