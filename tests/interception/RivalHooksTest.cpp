#include "lumora/Swizzling.h"
#include "simulator/Phone.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <map>
#include <numeric>
#include <random>
#include <set>

// Random class trees, on whose classes we and two other libraries install hooks on one method in random
// order.

namespace lumora {
namespace {

constexpr int classCount = 8;
constexpr int libraries = 3;

// What ran, in order: the number of a hook, or of the class whose original it was less 100.
std::vector<int> s_ran;

template <int K> int64_t original(id, SEL)
{
    s_ran.push_back(K - 100);
    return K;
}
template <int K> Slot<int64_t(id, SEL)> slot;
template <int K> int64_t ourHook(id self, SEL _cmd)
{
    s_ran.push_back(K);
    return slot<K>(self, _cmd);
}
// A rival keeps what it replaced in a variable of its own.
template <int Library, int K> IMP kept;
template <int Library, int K> int64_t rivalHook(id self, SEL _cmd)
{
    s_ran.push_back(Library * classCount + K);
    return callImplementation<int64_t>(kept<Library, K>.function, self, _cmd);
}

struct Functions {
    IMP original, ours, first, second;
    const SlotBase* slot;
    IMP *keptByFirst, *keptBySecond;
};
template <int... K> std::array<Functions, classCount> allFunctions(std::integer_sequence<int, K...>)
{
    return { Functions { &original<K>, &ourHook<K>, &rivalHook<1, K>, &rivalHook<2, K>, &slot<K>, &kept<1, K>,
        &kept<2, K> }... };
}

class Tree {
public:
    explicit Tree(std::mt19937& random)
    {
        for (int k = 0; k < classCount; k++) {
            const Class superclass = k ? m_classes[random() % m_classes.size()] : classOf<NSObject>();
            ClassBuilder builder("Class" + std::to_string(k), superclass);
            builder.method("other"_sel, &original<0>).classMethod("value"_sel, &original<0>);
            if (!k || random() % 2) {
                builder.method("value"_sel, m_functions[k].original);
                m_expected[builder.build()] = { k - 100 };
            }
            m_classes.push_back(builder.build());
        }
        for (Class cls : m_classes)
            m_before[cls] = tables(cls);
    }

    void install(int library, int k)
    {
        const Class cls = m_classes[k];
        const Functions& with = m_functions[k];
        Method found = class_getInstanceMethod(cls, "value"_sel);
        Class changed = cls;
        if (library == 0)
            ASSERT_EQ(class_swizzleMethodAndStore(cls, "value"_sel, with.ours, with.slot), 1);
        else if (library == 1) {
            *with.keptByFirst = method_getImplementation(found);
            class_replaceMethod(cls, "value"_sel, with.first, method_getTypeEncoding(found));
        } else {
            // A careless one: sets the method that it found, also when that is a superclass's.
            changed = owner(cls);
            *with.keptBySecond = method_setImplementation(found, with.second);
        }
        std::vector<int> runs = m_expected[owner(cls)];
        runs.insert(runs.begin(), library * classCount + k);
        m_expected[changed] = std::move(runs);
        m_hooked.insert(changed);
    }

    void check() const
    {
        for (Class cls : m_classes) {
            s_ran.clear();
            send<int64_t>(class_createInstance(cls).get(), "value"_sel);
            EXPECT_EQ(s_ran, m_expected.at(owner(cls))) << cls->name();
            EXPECT_EQ(std::set<int>(s_ran.begin(), s_ran.end()).size(), s_ran.size()) << "once each";
            EXPECT_EQ(std::count_if(s_ran.begin(), s_ran.end(), [](int ran) { return ran < 0; }), 1);
            if (!m_hooked.contains(cls))
                EXPECT_EQ(tables(cls), m_before.at(cls)) << cls->name();
        }
    }

private:
    using Table = std::vector<std::tuple<SEL, IMP::Function, std::string>>;

    // The methods of a class and of its metaclass, in their order.
    static Table tables(Class cls)
    {
        Table table;
        for (Class side : { cls, cls->isa() }) {
            for (Method method : class_copyMethodList(side))
                table.emplace_back(
                    method->name, method_getImplementation(method).function, method->types->text);
        }
        return table;
    }
    Class owner(Class cls) const
    {
        while (!m_expected.contains(cls))
            cls = cls->superclass();
        return cls;
    }

    const std::array<Functions, classCount> m_functions { allFunctions(
        std::make_integer_sequence<int, classCount> {}) };
    std::vector<Class> m_classes;
    std::map<Class, Table> m_before;
    std::map<Class, std::vector<int>> m_expected;
    std::set<Class> m_hooked;
};

TEST(RivalHooksTest, EveryHookAndOneOriginalRunOnceAndOtherClassesKeepTheirMethods)
{
    for (unsigned seed = 1; seed <= 25; seed++) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::mt19937 random(seed);
        const Phone phone { {} };
        Tree tree(random);
        std::vector<int> hooks(libraries * classCount);
        std::iota(hooks.begin(), hooks.end(), 0);
        std::shuffle(hooks.begin(), hooks.end(), random);
        for (int hook : hooks) {
            tree.install(hook / classCount, hook % classCount);
            tree.check();
        }
    }
}

} // namespace
} // namespace lumora
