#include "lumora/Swizzling.h"
#include "simulator/networks/StandIns.h"
#include "tests/world/World.h"

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

using tests::World;

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

// The SDKs' own methods, which two rival libraries replace, each at two occasions, around our start-up.

constexpr int occasions = 4;

std::map<std::tuple<int, Class, SEL>, IMP::Function> s_replaced;
std::vector<std::string> s_rivalsRan;

std::string runText(int occasion, const std::string& message)
{
    return std::to_string(occasion) + " " + message.substr(0, message.find(']') + 1);
}

template <int Occasion, typename F> struct Rival;
template <int Occasion, typename R, typename... A> struct Rival<Occasion, R(A...)> {
    static R run(id self, SEL _cmd, A... arguments)
    {
        s_rivalsRan.push_back(runText(Occasion, messageText(self, _cmd, {})));
        Class owner = self->isa();
        while (!s_replaced.contains({ Occasion, owner, _cmd }))
            owner = owner->superclass();
        return callImplementation<R, A...>(
            s_replaced.at({ Occasion, owner, _cmd }), self, _cmd, static_cast<A>(arguments)...);
    }
};

using Text = const std::string&;
template <int Occasion, typename... F> std::vector<IMP> rivalsOfTypes()
{
    return { IMP { &Rival<Occasion, F>::run }... };
}
template <int Occasion> std::vector<IMP> rivals()
{
    return rivalsOfTypes<Occasion, void(), void(id), void(bool), void(double), void(id, id), void(id, double),
        void(id, Text), void(id, Text, double), void(id, id, Text), bool(id),
        void(Text, Text, Text, int64_t, const NSDictionary&), bool(id, id, const Value&, void*),
        void(id, id, id, const std::function<void(int64_t)>&), id(Text, id, id, id),
        std::shared_ptr<Object>(id), std::shared_ptr<Object>(void*)>();
}

// Where a method stands that a message went to.
std::pair<Class, SEL> methodOf(const std::string& message)
{
    const bool toInstance = message[1] == '<';
    const size_t start = toInstance ? 2 : 1, space = message.rfind(' ', message.find(']'));
    const SEL selector = sel_registerName(message.substr(space + 1, message.find(']') - space - 1));
    Class owner = NSClassFromString(message.substr(start, message.find_first_of(": ", start) - start));
    if (!toInstance)
        owner = owner->isa();
    while (class_getInstanceMethod(owner->superclass(), selector) == class_getInstanceMethod(owner, selector))
        owner = owner->superclass();
    return { owner, selector };
}

void replaceAsARivalDoes(const std::pair<Class, SEL>& method, int occasion, bool whereItStands)
{
    static const std::vector<IMP> all[] = { rivals<0>(), rivals<1>(), rivals<2>(), rivals<3>() };
    Method found = class_getInstanceMethod(method.first, method.second);
    const auto rival = std::find_if(all[occasion].begin(), all[occasion].end(),
        [&](const IMP& candidate) { return candidate.types == found->types; });
    ASSERT_NE(rival, all[occasion].end()) << sel_getName(method.second) << " " << found->types->text;
    s_replaced[{ occasion, method.first, method.second }]
        = (whereItStands ? method_setImplementation(found, *rival)
                         : class_replaceMethod(method.first, method.second, *rival, found->types))
              .function;
}

struct Shown {
    std::vector<std::string> sent;
    std::ptrdiff_t buttons { 0 };
    size_t impressions { 0 };
};

Shown show(World& world, const StandInFormat& format)
{
    world.phone.wait(1);
    takeReceived();
    s_rivalsRan.clear();
    const size_t before = world.service.impressions().size();
    StandInAd ad(*world.phone.window().rootViewController());
    format.show(ad);
    world.phone.wait(1.5);
    EXPECT_EQ(takeReceived(), ad.sent()) << "each original runs once, with what was sent";
    std::vector<std::string> runs;
    for (const std::string& message : ad.sent()) {
        const auto [owner, selector] = methodOf(message);
        for (int occasion = 0; occasion < occasions; occasion++) {
            if (s_replaced.contains({ occasion, owner, selector }))
                runs.push_back(runText(occasion, message));
        }
    }
    std::sort(runs.begin(), runs.end());
    std::sort(s_rivalsRan.begin(), s_rivalsRan.end());
    EXPECT_EQ(s_rivalsRan, runs);
    const auto on = ad.adView ? ad.adView->subviews() : std::vector<std::shared_ptr<UIView>> {};
    return { ad.sent(),
        std::count_if(on.begin(), on.end(), [](auto& view) { return as<TDReportButtonView>(view); }),
        world.service.impressions().size() - before };
}

// The world of a host that carries these SDKs.
tests::World::Options with(std::vector<const StandInNetwork*> networks)
{
    return { .adjust = [networks](Phone::Options& phone) {
        phone.onBoot = [networks] {
            for (const StandInNetwork* network : networks)
                network->install();
        };
    } };
}

TEST(RivalLibrariesTest, EveryLibraryAndTheOriginalRunOncePerMessageWhateverTheOrder)
{
    std::map<const StandInFormat*, Shown> alone;
    {
        World world(with(allStandIns()));
        world.start();
        for (const StandInNetwork* network : allStandIns()) {
            for (const StandInFormat& format : network->formats)
                alone[&format] = show(world, format);
        }
    }
    for (unsigned seed = 1; seed <= 25; seed++) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::mt19937 random(seed);
        auto present = allStandIns();
        std::shuffle(present.begin(), present.end(), random);
        present.resize(1 + random() % present.size());
        World world(with(present));
        std::set<std::pair<Class, SEL>> methods;
        for (const StandInNetwork* network : present) {
            for (const StandInFormat& format : network->formats) {
                for (const std::string& message : alone[&format].sent)
                    methods.insert(methodOf(message));
            }
        }
        // Ours comes twice as well: the second call starts nothing.
        int order[] = { 0, 1, 2, 3, -1, -1 };
        std::shuffle(std::begin(order), std::end(order), random);
        for (int occasion : order) {
            if (occasion < 0)
                world.start();
            for (const auto& method : methods) {
                if (occasion >= 0 && random() % 3)
                    replaceAsARivalDoes(method, occasion, random() % 2);
            }
        }
        for (const StandInNetwork* network : present) {
            for (const StandInFormat& format : network->formats) {
                SCOPED_TRACE(std::string { network->name } + " " + format.name);
                const Shown shown = show(world, format);
                EXPECT_EQ(shown.buttons, alone[&format].buttons);
                EXPECT_EQ(shown.impressions, alone[&format].impressions);
            }
        }
        s_replaced.clear();
    }
}

} // namespace
} // namespace lumora
