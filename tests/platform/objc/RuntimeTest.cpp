#include "platform/dispatch/VirtualExecutor.h"
#include "platform/objc/NSException.h"
#include "platform/objc/Slot.h"
#include "platform/process/ProcessLocal.h"
#include "simulator/Phone.h"

#include <gtest/gtest.h>
#include <thread>

namespace lumora {
namespace {

int64_t one(id, SEL) { return 1; }
int64_t two(id, SEL) { return 2; }
int64_t echo(id, SEL, int64_t value) { return value; }
const TypeEncoding* typesOfOne() { return &methodEncoding<int64_t>(); }

class RuntimeTest : public testing::Test {
protected:
    Phone phone { {} };
    Class parent { ClassBuilder("Parent", classOf<NSObject>())
                       .method("value"_sel, &one)
                       .classMethod("kind"_sel, &one)
                       .build() };
    Class child { ClassBuilder("Child", parent).build() };

    static std::shared_ptr<Object> instance(Class cls) { return class_createInstance(cls); }
    static int64_t value(Class cls) { return send<int64_t>(instance(cls).get(), "value"_sel); }
};

TEST_F(RuntimeTest, ReplacesAndAddsInTheClassItself)
{
    EXPECT_FALSE(class_replaceMethod(child, "value"_sel, &two, typesOfOne()));
    EXPECT_EQ(value(child), 2);
    EXPECT_EQ(value(parent), 1);
    EXPECT_EQ(class_copyMethodList(child).size(), 1u);
    EXPECT_FALSE(class_addMethod(child, "value"_sel, &one)) << "its own since it was replaced";
    const Class other = ClassBuilder("OtherChild", parent).build();
    EXPECT_EQ(class_replaceMethod(parent, "value"_sel, &two, typesOfOne()), IMP { &one });
    EXPECT_EQ(value(other), 2) << "what a class inherits follows";
    EXPECT_TRUE(class_addMethod(other, "value"_sel, &one));
    EXPECT_EQ(value(other), 1);
}

TEST_F(RuntimeTest, ALookUpBeforeAnAdditionDoesNotHideIt)
{
    const auto object = instance(child);
    const std::tuple<const char*, Class, id> additions[] = {
        { "to its own class", child, object.get() },
        { "to the superclass", parent, object.get() },
        { "to the root", classOf<NSObject>(), object.get() },
        { "to the root, for a class", classOf<NSObject>(), child },
        { "to the superclass's metaclass", parent->isa(), child },
    };
    for (const auto& [where, cls, receiver] : additions) {
        const SEL selector = sel_registerName(where);
        EXPECT_FALSE(respondsToSelector(receiver, selector)) << where;
        EXPECT_THROW(send<int64_t>(receiver, selector), NSException) << where;
        class_addMethod(cls, selector, &one);
        EXPECT_EQ(send<int64_t>(receiver, selector), 1) << where;
    }
    EXPECT_EQ(value(child), 1);
    class_replaceMethod(child, "value"_sel, &two, typesOfOne());
    EXPECT_EQ(value(child), 2) << "a replacement that adds";
}

TEST_F(RuntimeTest, ClassMethodsAreMethodsOfTheMetaclass)
{
    EXPECT_EQ(send<int64_t>(child, "kind"_sel), 1);
    EXPECT_EQ(class_getClassMethod(child, "kind"_sel), class_getInstanceMethod(child->isa(), "kind"_sel));
    class_replaceMethod(child->isa(), "kind"_sel, &two, typesOfOne());
    EXPECT_EQ(send<int64_t>(child, "kind"_sel), 2);
    EXPECT_EQ(send<int64_t>(parent, "kind"_sel), 1);
    EXPECT_TRUE(respondsToSelector(parent, sel::init)) << "a class answers the root's instance methods";
}

TEST_F(RuntimeTest, NilAnswersZeroAndStrangersRaise)
{
    EXPECT_EQ(send<int64_t>(static_cast<id>(nullptr), "value"_sel), 0);
    EXPECT_EQ(send<std::string>(static_cast<id>(nullptr), "name"_sel), "");
    EXPECT_THROW(send<void>(instance(child).get(), "unheardOf"_sel), NSException);
    EXPECT_THROW(send<int64_t>(instance(child).get(), "value"_sel, int64_t { 3 }), NSException)
        << "other types";
    EXPECT_THROW(class_replaceMethod(child, "value"_sel, &echo, typesOfOne()), NSException);
    EXPECT_EQ(value(child), 1) << "a refused replacement changes nothing";
}

TEST_F(RuntimeTest, NothingIsHarmless)
{
    const auto stray = std::make_shared<NSObject>(); // was not allocated by the runtime
    EXPECT_THROW(send(stray, sel::init), NSException);
    EXPECT_FALSE(respondsToSelector(stray.get(), sel::init) || isKindOfClass(stray.get(), parent));
    EXPECT_THROW(send<int64_t>(instance(child).get(), SEL {}), NSException);
    for (Class cls : { Class {}, child }) {
        EXPECT_FALSE(class_getInstanceMethod(cls, nullptr) || class_getClassMethod(cls, nullptr));
        EXPECT_FALSE(class_addMethod(cls, nullptr, &one) || class_addMethod(cls, "value"_sel, nullptr));
        EXPECT_FALSE(class_replaceMethod(cls, nullptr, &one, typesOfOne()));
        EXPECT_TRUE(class_copyMethodList(cls).empty());
    }
    EXPECT_FALSE(method_getImplementation(nullptr) || method_setImplementation(nullptr, &one));
    EXPECT_EQ(method_getTypeEncoding(nullptr), nullptr);
    for (Class cls : { Class {}, child->isa(), NSClassFromString("ReportButtonDelegate") })
        EXPECT_THROW(class_createInstance(cls), NSException) << NSStringFromClass(cls);
}

TEST_F(RuntimeTest, KeysAreFoundInTheirOrder)
{
    const auto object = instance(ClassBuilder("Keyed", parent).method("both"_sel, &one).build());
    object_setInstanceVariable(*object, "_both", "variable");
    object_setInstanceVariable(*object, "_under", "with");
    object_setInstanceVariable(*object, "under", "without");
    object_setInstanceVariable(*object, "plain", 5);
    EXPECT_EQ(object->valueForKey("both"), Value { 1 }) << "an accessor wins";
    EXPECT_EQ(object->valueForKey("under"), Value { "with" }) << "the underscore wins";
    EXPECT_EQ(object->valueForKey("plain"), Value { 5 });
    EXPECT_THROW(object->valueForKey("missing"), NSException);
    EXPECT_THROW(object->setValueForKey(1, "missing"), NSException);
}

TEST_F(RuntimeTest, PathsGoThroughObjectsDictionariesAndArrays)
{
    const auto object = instance(child);
    const auto inner = instance(child);
    object_setInstanceVariable(*inner, "_n", 7);
    object_setInstanceVariable(*object, "_a", NSDictionary { { "list", NSArray { inner, inner } } });
    object_setInstanceVariable(*object, "_nil", Value {});
    object_setInstanceVariable(*object, "_weak", Value::weak(instance(child)));
    EXPECT_EQ(object->valueForKeyPath("a.list.n"), (Value { NSArray { 7, 7 } }));
    EXPECT_TRUE(object->valueForKeyPath("nil.anything").isNothing());
    EXPECT_TRUE(object->valueForKeyPath("weak.anything").isNothing()) << "a dead weak object is nil";
    EXPECT_TRUE(object->valueForKeyPath("a.missing").isNothing());
    EXPECT_THROW(object->valueForKeyPath("a.list.missing"), NSException);
}

TEST_F(RuntimeTest, AnOverriddenUndefinedKeyIsAskedFirst)
{
    static const auto answer = +[](id, SEL, const std::string& key) { return Value { "no " + key }; };
    class_addMethod(child, sel::valueForUndefinedKey, answer);
    EXPECT_EQ(instance(child)->valueForKey("missing"), Value { "no missing" });
}

TEST_F(RuntimeTest, TwoOfOneNameAreListedAndTheFirstAnswers)
{
    class Twice : public NSObject {
    public:
        static const ClassDescription& classDescription()
        {
            static const ClassDescription description = ClassDescription::of<Twice, NSObject>("TestTwice")
                                                            .method("value"_sel, &one)
                                                            .method("value"_sel, &two);
            return description;
        }
    };
    const std::vector<Method> both = class_copyMethodList(classOf<Twice>());
    ASSERT_EQ(both.size(), 2u);
    EXPECT_EQ(value(classOf<Twice>()), 1);
    static const auto three = +[](id, SEL) -> int64_t { return 3; };
    EXPECT_EQ(class_replaceMethod(classOf<Twice>(), "value"_sel, three, typesOfOne()), IMP { &one });
    EXPECT_EQ(value(classOf<Twice>()), 3);
    EXPECT_EQ(method_getImplementation(both[1]), IMP { &two }) << "the second stays as it was";
}

TEST_F(RuntimeTest, ProcessesShareNothingThatWasChanged)
{
    static const Slot<int64_t(id, SEL)> slot;
    slot.store(phone.process().classes(), IMP { &one }.function);
    class_addMethod(classOf<NSObject>(), "added"_sel, &one);
    Phone other { {} };
    EXPECT_FALSE(class_getInstanceMethod(classOf<NSObject>(), "added"_sel));
    EXPECT_FALSE(NSClassFromString("Parent"));
    EXPECT_EQ(slot.load(other.process().classes()), nullptr);
    EXPECT_EQ(slot(instance(child).get(), "value"_sel), 1) << "found through the receiver, not the thread";
}

TEST_F(RuntimeTest, AssociatedObjectsLiveAsLongAsTheirOwner)
{
    static const char key = 0;
    static const char otherKey = 0;
    auto owner = instance(child);
    auto strong = instance(parent);
    objc_setAssociatedObject(*owner, &key, strong);
    const std::weak_ptr<Object> tied = std::exchange(strong, nullptr);
    EXPECT_FALSE(tied.expired());
    EXPECT_TRUE(objc_getAssociatedObject(*owner, &otherKey).isNothing());
    owner.reset();
    EXPECT_TRUE(tied.expired());
}

TEST_F(RuntimeTest, ANameIsTakenOnce)
{
    for (const char* taken : { "Child", "NSObject", "UIView" })
        EXPECT_THROW(ClassBuilder(taken, parent), NSException) << taken;
    std::atomic<int> made { 0 };
    auto make = [&] {
        for (int number = 0; number < 200; number++) {
            try {
                ClassBuilder("Racing" + std::to_string(number), parent).method("value"_sel, &two);
                made++;
            } catch (const NSException&) {
            }
        }
    };
    std::thread other(make);
    make();
    other.join();
    EXPECT_EQ(made, 200);
}

} // namespace
} // namespace lumora
