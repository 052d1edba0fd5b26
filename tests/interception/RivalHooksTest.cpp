#include "simulator/networks/StandIns.h"
#include "tests/world/World.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <map>
#include <random>
#include <set>

namespace lumora {
namespace {

using test::World;

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

/// Shows an ad; gives the messages that its SDK was sent.
std::vector<std::string> show(World& world, const StandInFormat& format)
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
    EXPECT_EQ(std::count_if(
                  on.begin(), on.end(), [](auto& view) { return as<TDReportButtonView>(view) != nullptr; }),
        ad.adView ? 1 : 0);
    EXPECT_EQ(world.service.impressions().size() - before, ad.adView ? 1u : 0u);
    return ad.sent();
}

// The world of a host that carries these SDKs.
test::World::Options with(std::vector<const StandInNetwork*> networks)
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
    std::map<const StandInFormat*, std::vector<std::string>> alone;
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
                for (const std::string& message : alone[&format])
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
                show(world, format);
            }
        }
        s_replaced.clear();
    }
}

} // namespace
} // namespace lumora
