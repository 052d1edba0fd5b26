#include "core/Reachability.h"

#include "core/LMInternetReachabilityChecker.h"
#include "core/TDDeviceInformation.h"
#include "platform/foundation/NSNotificationCenter.h"
#include "platform/objc/Message.h"
#include "report/LMFontsLoader.h"
#include "simulator/Phone.h"
#include "tests/platform/TestProcess.h"

#include <gtest/gtest.h>
#include <set>
#include <thread>

namespace lumora {
namespace {

using test::TestProcess;

/// What a picture means that starts like this, with the cellular link counted and not; the first one holds.
constexpr struct {
    const char* letters;
    int status;
    int statusWithoutWWAN;
    bool viaWiFi;
    bool viaWWAN;
} meanings[] = {
    { "R-ct", 0, 0, true, false },
    { "RWct", 0, 0, false, true },
    { "R-", 2, 2, true, false },
    { "RW", 1, 0, false, true },
    { "-", 0, 0, false, false },
};

constexpr std::pair<char, uint32_t> bits[] = { { 'R', 2 }, { 'W', 0x40000 }, { 'c', 4 }, { 't', 1 },
    { 'i', 16 }, { 'C', 8 }, { 'D', 32 }, { 'l', 0x10000 }, { 'd', 0x20000 } };

struct ReachabilityTest : testing::Test {
    test::TemporaryFolder home;
    TestProcess process { home.path };
    std::shared_ptr<Reachability> internet { Reachability::reachabilityForInternetConnection() };
};

TEST_F(ReachabilityTest, EveryPictureOfFlagsHasItsMeaning)
{
    for (uint32_t combination = 0; combination < 512; combination++) {
        uint32_t flags = 0;
        std::string picture;
        for (size_t i = 0; i < std::size(bits); i++) {
            const bool isSet = combination & (1u << i);
            flags |= isSet ? bits[i].second : 0;
            picture += isSet ? bits[i].first : '-';
        }
        auto shows = [&](const char* letters) { return picture.find_first_of(letters) != std::string::npos; };
        const auto* meaning = std::find_if(std::begin(meanings), std::end(meanings),
            [&](const auto& row) { return picture.starts_with(row.letters); });
        process.network->set(flags);
        std::swap(picture[0], picture[1]);
        const std::string shown = picture.substr(0, 2) + " " + picture.substr(2);
        for (const bool onWWAN : { true, false }) {
            SCOPED_TRACE(picture + (onWWAN ? "" : " without WWAN"));
            const int status = onWWAN ? meaning->status : meaning->statusWithoutWWAN;
            internet->setReachableOnWWAN(onWWAN);
            EXPECT_EQ(internet->isReachable(), status != 0);
            EXPECT_EQ(internet->currentReachabilityStatus(), status);
            EXPECT_EQ(internet->isReachableViaWiFi(), meaning->viaWiFi);
            EXPECT_EQ(internet->isReachableViaWWAN(), meaning->viaWWAN);
            EXPECT_EQ(internet->isConnectionRequired(), shows("c"));
            EXPECT_EQ(internet->isConnectionOnDemand(), shows("c") && shows("CD"));
            EXPECT_EQ(internet->isInterventionRequired(), shows("c") && shows("i"));
            EXPECT_EQ(internet->reachabilityFlags(), flags);
            EXPECT_EQ(internet->currentReachabilityFlags(), shown);
        }
        EXPECT_EQ(LMInternetReachabilityChecker::isInternetAvailable(), meaning->status != 0) << picture;
    }
}

TEST_F(ReachabilityTest, WatchesTheTargetItWasMadeFor)
{
    EXPECT_FALSE(Reachability::reachabilityWithHostName("no host"));
    EXPECT_FALSE(Reachability::reachabilityWithAddress("no address"));
    process.network->set(0x40002);
    const struct {
        const char* name;
        std::shared_ptr<Reachability> made;
        const char* picture;
        const char* text;
    } rows[] = {
        { "internet", internet, "WR -------", "Cellular" },
        { "host", Reachability::reachabilityWithHostName("service.example"), "WR -------", "Cellular" },
        { "this machine", Reachability::reachabilityWithHostname("localhost"), "-R -----l-", "WiFi" },
        { "address", Reachability::reachabilityWithAddress("192.0.2.7"), "WR -------", "Cellular" },
        { "link", Reachability::reachabilityForLocalWiFi(), "-- -------", "No Connection" },
        { "none", make<Reachability>(), "-- -------", "No Connection" },
    };
    for (const auto& row : rows) {
        EXPECT_EQ(row.made->currentReachabilityFlags(), row.picture) << row.name;
        EXPECT_EQ(row.made->currentReachabilityString(), row.text) << row.name;
        EXPECT_TRUE(row.made->description().starts_with("<Reachability: 0x")) << row.name;
        EXPECT_TRUE(row.made->description().ends_with(std::string { " (" } + row.picture + ")>")) << row.name;
        EXPECT_EQ(row.made->startNotifier(), row.made->reachabilityRef() != nullptr) << row.name;
        row.made->stopNotifier();
    }
}

/// Hears the notification.
class Hearer final : public NSObject {
public:
    static const ClassDescription& classDescription()
    {
        static const ClassDescription description
            = ClassDescription::of<Hearer, NSObject>("TestHearer").method<&Hearer::heard>("heard:"_sel);
        return description;
    }
    void heard(NSNotification* notification)
    {
        EXPECT_TRUE(Process::current().isMainThread());
        senders.insert(notification->object().get());
        posts++;
        if (onHeard)
            onHeard();
    }
    static std::shared_ptr<Hearer> registered()
    {
        auto hearer = make<Hearer>();
        NSNotificationCenter::defaultCenter().addObserver(
            hearer, "heard:"_sel, kReachabilityChangedNotification, nullptr);
        return hearer;
    }

    size_t posts { 0 };
    std::set<const Object*> senders;
    std::function<void()> onHeard;
};

struct NotifierTest : testing::Test {
    Phone phone { {} };
    std::string log;
    std::shared_ptr<Hearer> hearer { Hearer::registered() };
    std::shared_ptr<Reachability> reachability { Reachability::reachabilityForInternetConnection() };

    NotifierTest()
    {
        hearer->onHeard = [this] { log += "posted "; };
        auto logged = [this](std::string text) {
            EXPECT_FALSE(Process::current().isMainThread());
            log += text + " ";
        };
        reachability->setReachableBlock([logged](const auto&) { logged("reachable"); });
        reachability->setUnreachableBlock([logged](const auto&) { logged("unreachable"); });
        reachability->setReachabilityBlock(
            [logged](const auto&, uint32_t flags) { logged("flags=" + std::to_string(flags)); });
    }
    ~NotifierTest() override { hearer.reset(); }
    std::string after(Radio::Link link)
    {
        log.clear();
        phone.radio().connect(link);
        phone.wait(0);
        return log;
    }
};

TEST_F(NotifierTest, TellsItsBlocksAndThenTheWorld)
{
    EXPECT_EQ(after(Radio::Link::None), "") << "not started";
    EXPECT_TRUE(reachability->startNotifier());
    EXPECT_TRUE(reachability->startNotifier()) << "started already";
    EXPECT_EQ(reachability->reachabilityObject(), reachability);
    EXPECT_EQ(after(Radio::Link::Cellular), "reachable flags=262146 posted ");
    EXPECT_EQ(after(Radio::Link::Cellular), "") << "no change";
    EXPECT_EQ(after(Radio::Link::None), "unreachable flags=0 posted ");
    reachability->setReachableOnWWAN(false);
    EXPECT_EQ(after(Radio::Link::Cellular), "unreachable flags=262146 posted ");
    reachability->setUnreachableBlock(nullptr);
    EXPECT_EQ(after(Radio::Link::None), "flags=0 posted ");
    EXPECT_EQ(hearer->senders, std::set<const Object*> { reachability.get() });
    reachability->stopNotifier();
    reachability->stopNotifier();
    EXPECT_FALSE(reachability->reachabilityObject());
    EXPECT_EQ(after(Radio::Link::WiFi), "");
    EXPECT_TRUE(reachability->startNotifier());
    EXPECT_EQ(after(Radio::Link::None), "flags=0 posted ") << "once, though started for the second time";
    after(Radio::Link::Cellular);
    EXPECT_FALSE(reachability->isReachable());
    EXPECT_EQ(TDDeviceInformation::getConnectionType(), "mobile internet") << "asks an object of its own";
}

TEST_F(NotifierTest, HearsEveryChangeInOrder)
{
    reachability->startNotifier();
    phone.radio().connect(Radio::Link::None);
    phone.radio().connect(Radio::Link::Cellular);
    phone.wait(0);
    EXPECT_EQ(log, "unreachable flags=0 reachable flags=262146 posted posted ");
}

TEST_F(NotifierTest, AThrowingBlockStopsNothingElse)
{
    reachability->startNotifier();
    reachability->setUnreachableBlock([](const auto&) { throw std::runtime_error("of the host"); });
    reachability->setReachabilityBlock([](const auto&, uint32_t) { throw 1; });
    EXPECT_EQ(after(Radio::Link::None), "posted ");
    EXPECT_TRUE(phone.console().contains("of the host"));
}

TEST_F(NotifierTest, LivesUntilItIsStopped)
{
    const std::weak_ptr<Reachability> weakly = reachability;
    reachability->startNotifier();
    reachability.reset();
    EXPECT_EQ(after(Radio::Link::None), "unreachable flags=0 posted ");
    weakly.lock()->setReachableBlock([](const auto& self) { self->stopNotifier(); });
    EXPECT_EQ(after(Radio::Link::WiFi), "flags=2 posted ") << "what had begun ends";
    EXPECT_TRUE(weakly.expired());
}

TEST_F(NotifierTest, DoesNotStartWhileTheProcessGoes)
{
    std::optional<bool> hasStarted;
    std::shared_ptr<void> last { nullptr, [&hasStarted](void*) {
                                    const auto late = Reachability::reachabilityForInternetConnection();
                                    hasStarted = late->startNotifier() || late->reachabilityObject();
                                } };
    reachability->setReachabilityBlock([held = std::move(last)](const auto&, uint32_t) {});
    reachability->startNotifier();
    reachability.reset();
    EXPECT_FALSE(hasStarted);
    hearer.reset();
    phone.kill();
    EXPECT_EQ(hasStarted, false);
}

TEST_F(NotifierTest, EveryAskedConnectionTypeIsToldUntilTheProcessEnds)
{
    const std::weak_ptr<Reachability> started = reachability;
    reachability->startNotifier();
    reachability.reset();
    const std::pair<Radio::Link, const char*> rows[] = { { Radio::Link::Cellular, "mobile internet" },
        { Radio::Link::None, "no internet" }, { Radio::Link::WiFi, "WIFI" } };
    size_t objects = 1;
    for (const auto& [link, type] : rows) {
        hearer->posts = 0;
        hearer->senders.clear();
        after(link);
        EXPECT_EQ(hearer->posts, objects);
        EXPECT_EQ(hearer->senders.size(), objects);
        for (int i = 0; i < 100; i++, objects++)
            EXPECT_EQ(TDDeviceInformation::getConnectionType(), type);
    }
    phone.radio().connect(Radio::Link::None);
    hearer.reset();
    phone.kill();
    EXPECT_TRUE(started.expired()) << "and not beyond";
}

size_t entries(const char* folder)
{
    return static_cast<size_t>(
        std::distance(std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator {}));
}

TEST(ConnectionTypeTest, CostsNoThreadAndNoDescriptorHoweverOftenItIsAsked)
{
    test::TemporaryFolder home;
    Process process { { .home = home.path } };
    Process::Scope scope(process);
    // What every process opens once in its background, a file for each font.
    LMFontsLoader::load();
    const std::string type = TDDeviceInformation::getConnectionType();
    const size_t threads = entries("/proc/self/task");
    const size_t files = entries("/proc/self/fd");
    for (int i = 0; i < 100'000; i++)
        ASSERT_EQ(TDDeviceInformation::getConnectionType(), type);
    EXPECT_LE(entries("/proc/self/task"), threads);
    EXPECT_LE(entries("/proc/self/fd"), files);
}

TEST(ConnectionTypeTest, ManyObjectsAreToldWithoutHoldingUpTheMainQueue)
{
    constexpr size_t objects = 100'000;
    Phone phone { { .virtualTime = false } };
    auto hearer = Hearer::registered();
    for (size_t i = 0; i < objects; i++)
        TDDeviceInformation::getConnectionType();
    // The main loop asks after every task of the main queue.
    size_t before = 0;
    size_t most = 0;
    phone.radio().connect(Radio::Link::None);
    EXPECT_TRUE(phone.waitUntil(
        [&] {
            most = std::max(most, hearer->posts - before);
            before = hearer->posts;
            return hearer->posts == objects;
        },
        100));
    EXPECT_EQ(most, 1u) << "each post is a task of its own";
    EXPECT_EQ(hearer->senders.size(), objects);
    hearer.reset();
}

TEST(ConnectionTypeTest, IsAskedWhileTheNetworkChangesAndTheProcessGoes)
{
    Phone phone { { .virtualTime = false } };
    std::atomic<bool> isOver { false };
    std::thread changes([&] {
        for (int i = 0; !isOver; i++)
            phone.radio().connect(i % 2 ? Radio::Link::WiFi : Radio::Link::None);
    });
    for (int run = 0; run < 5; run++) {
        const auto shared = Reachability::reachabilityForInternetConnection();
        auto work = [&] {
            TDDeviceInformation::getConnectionType();
            shared->startNotifier();
            shared->setReachabilityBlock([](const auto& self, uint32_t) { self->stopNotifier(); });
        };
        std::atomic<int> done { 0 };
        for (int i = 0; i < 200; i++)
            dispatch_get_global_queue().async([&] { work(), done++; });
        EXPECT_TRUE(phone.waitUntil([&] { return done == 200; }, 60));
        shared->stopNotifier();
        phone.kill();
        phone.boot();
    }
    isOver = true;
    changes.join();
}

} // namespace
} // namespace lumora
