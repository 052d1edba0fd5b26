#include "service/LMEventsSaver.h"

#include "platform/foundation/NSFileManager.h"
#include "platform/foundation/NSKeyedArchiver.h"
#include "platform/foundation/NSUserDefaults.h"
#include "simulator/Phone.h"
#include "tests/service/Events.h"

#include <cmath>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/resource.h>

namespace lumora {
namespace {

namespace fs = std::filesystem;

constexpr const char* backupKey = "com.lumora.event.module.saver.ud";

using test::eventOf;

/// An archive that does not name that class.
NSData damaged(const NSArray& events, std::string_view name)
{
    NSData archive = archivedDataWithRootObject(events);
    for (size_t at = 0; (at = archive.view().find(name)) != std::string_view::npos;)
        archive.bytes[at] = 'X';
    return archive;
}

class LMEventsSaverTest : public testing::Test {
protected:
    fs::path file() const
    {
        return NSHomeDirectory() / "Library/Preferences"
            / (phone.process().configuration().mainBundleIdentifier + ".plist");
    }
    void restart()
    {
        phone.kill();
        phone.boot();
    }
    std::vector<std::string> typesStored()
    {
        std::vector<std::string> types;
        for (const auto& event : LMEventsSaverUserDefaultsProvider().getAllEvents())
            types.push_back(event->type().value_or("(null)"));
        return types;
    }
    /// What python's reader of property lists makes of the store.
    std::string readByPython() const
    {
        const std::string command
            = "python3 " LUMORA_TESTS_DIR "/service/read_store.py '" + file().string() + "' 2>&1";
        FILE* pipe = popen(command.c_str(), "r");
        std::string output;
        std::array<char, 4096> chunk {};
        while (const size_t length = fread(chunk.data(), 1, chunk.size(), pipe))
            output.append(chunk.data(), length);
        EXPECT_EQ(pclose(pipe), 0) << output;
        return output;
    }

    Phone phone { {} };
};

TEST_F(LMEventsSaverTest, AStrangerReadsTheStore)
{
    LMEventsSaverUserDefaultsProvider store;
    NSUserDefaults::standardUserDefaults().setObject(NSArray { -5, 2.5, true }, "of the host");
    const auto gone = eventOf("gone");
    const auto event = eventOf("t");
    event->setCreativeId("c");
    event->setPlacementId("p");
    event->setSdk("s");
    event->setAdFormat("f");
    event->setAdType("a");
    event->setSdkVersion("v");
    event->setScreenshot("shot");
    event->setHtml("<p>\xC3\xA9 \xF0\x9F\x98\x80");
    event->setVideo("mp4");
    event->setRedirectUrl("u");
    event->setAdId("id");
    event->setEventId("E-1");
    event->setTs(-7);
    event->addAdditionalInfo({ { "config", NSDictionary { { "buttonTap", 2 }, { "ratio", 0.5 } } } });
    for (const auto& stored : { gone, event, eventOf("last") })
        store.saveEvent(stored);
    store.removeEvent(gone);
    const std::string read = readByPython();
    EXPECT_TRUE(
        read.starts_with("[('of the host', [-5, 2.5, True])]\n"
                         "{'creativeId': 'c', 'placementId': 'p', 'sdk': 's', 'adFormat': 'f', "
                         "'adType': 'a', 'sdkVersion': 'v', 'type': 't', 'screenshot': 'shot', "
                         "'html': '<p>\xC3\xA9 \xF0\x9F\x98\x80', 'video': 'mp4', 'redirectUrl': 'u', "
                         "'ts': -7, 'additionalInfo': {'config': {'buttonTap': 2, 'ratio': 0.5}}, "
                         "'eventId': 'E-1', 'adId': 'id'}\n"))
        << read;
    EXPECT_EQ(std::count(read.begin(), read.end(), '\n'), 3) << read;
    restart();
    const auto own = LMEventsSaverUserDefaultsProvider().getAllEvents().at(0);
    EXPECT_EQ(own->getEventAsMutableDictionary(), event->getEventAsMutableDictionary());
    EXPECT_EQ(own->eventId(), "E-1");
}

TEST_F(LMEventsSaverTest, AStoreOfAnEarlierBuildOpens)
{
    fs::create_directories(file().parent_path());
    fs::copy_file(LUMORA_TESTS_DIR "/service/data/stored-by-3.0.plist", file());
    LMEventsSaver saver { std::make_unique<LMEventsSaverUserDefaultsProvider>() };
    const Events events = saver.getPendingEventsForRetrySending();
    ASSERT_EQ(events.size(), 3u);
    EXPECT_EQ(events[1]->html(), "<p>\xC3\xA9t\xC3\xA9 \xF0\x9F\x98\x80</p>");
    EXPECT_EQ(events[1]->sdk(), std::nullopt);
    EXPECT_EQ(events[2]->ts(), Value { -7 });
    EXPECT_EQ(valueForKeyPath(*events[0]->additionalInfo(), "config.ratio"), Value { 0.5 });
    saver.saveEvent(eventOf("new"), nullptr);
    saver.removeEvent(events[0]);
    restart();
    EXPECT_EQ(typesStored(), (std::vector<std::string> { "autoplay", "autoplay", "new" }));
    EXPECT_TRUE(NSUserDefaults::standardUserDefaults().boolForKey("lumorahost.user.defaults.first.launch"));
}

TEST_F(LMEventsSaverTest, WhatElseStandsUnderTheKeyIsReplaced)
{
    const std::pair<const char*, Value> rows[] = {
        { "text", "text" },
        { "damaged data", NSData::fromText("bplist00 but not really") },
        { "another archive", archivedDataWithRootObject("text") },
        { "an event and a stranger", archivedDataWithRootObject(NSArray { eventOf("kept"), "stranger" }) },
        { "a damaged archive of none", damaged(NSArray {}, "NSArray") },
        { "an event that does not decode", damaged(NSArray { eventOf("lost") }, "TDEventModel") },
    };
    for (const auto& [name, value] : rows) {
        NSUserDefaults::standardUserDefaults().setObject(value, backupKey);
        LMEventsSaverUserDefaultsProvider store;
        const size_t kept = store.eventsCount();
        EXPECT_EQ(kept, std::string_view { name }.starts_with("an event and") ? 1u : 0u) << name;
        store.saveEvent(eventOf("new"));
        restart();
        EXPECT_EQ(typesStored().size(), kept + 1) << name;
        EXPECT_EQ(typesStored().back(), "new") << name;
    }
}

TEST_F(LMEventsSaverTest, AnOddEventHurtsNoOther)
{
    const std::pair<const char*, std::function<void(TDEventModel&)>> rows[] = {
        { "no time", [](TDEventModel& event) { event.setTs({}); } },
        { "a time that is no number", [](TDEventModel& event) { event.setTs(NAN); } },
        { "no identifier", [](TDEventModel& event) { event.setEventId(std::nullopt); } },
        { "no information", [](TDEventModel& event) { event.setAdditionalInfo(std::nullopt); } },
        { "an object",
            [](TDEventModel& event) {
                event.addAdditionalInfo({ { "o", make<NSObject>() } });
            } },
        { "keys that are no text",
            [](TDEventModel& event) {
                event.addAdditionalInfo({ { "\xFF", 1 }, { "\xFE", 2 } });
            } },
    };
    for (const auto& [name, change] : rows) {
        const auto odd = eventOf("odd");
        change(*odd);
        for (const auto& event : { eventOf("before"), odd, eventOf("after") })
            LMEventsSaverUserDefaultsProvider().saveEvent(event);
        for (int pass = 0; pass < 3; pass++) {
            restart();
            LMEventsSaver saver { std::make_shared<LMEventsSaverUserDefaultsProvider>() };
            for (const auto& event : saver.getPendingEventsForRetrySending())
                saver.keepTakenEvent(event);
            EXPECT_EQ(typesStored(), (std::vector<std::string> { "before", "odd", "after" })) << name;
        }
        LMEventsSaver saver { std::make_shared<LMEventsSaverUserDefaultsProvider>() };
        saver.removeEvents(saver.getPendingEventsForRetrySending());
        EXPECT_TRUE(typesStored().empty()) << name;
    }
}

TEST_F(LMEventsSaverTest, AFullDiskLosesNothingThatWasStored)
{
    LMEventsSaver saver { std::make_unique<LMEventsSaverUserDefaultsProvider>() };
    saver.saveEvent(eventOf("stored"), nullptr);
    // The disk takes the first bytes of the new file and no more.
    rlimit limit {};
    getrlimit(RLIMIT_FSIZE, &limit);
    const rlimit full { .rlim_cur = 1000, .rlim_max = limit.rlim_max };
    const auto former = std::signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &full);
    const auto big = eventOf("big");
    big->setHtml(std::string(100'000, 'x'));
    saver.saveEvent(big, nullptr);
    setrlimit(RLIMIT_FSIZE, &limit);
    std::signal(SIGXFSZ, former);

    EXPECT_EQ(typesStored(), (std::vector<std::string> { "stored", "big" })) << "still in memory";
    const fs::path copy = NSHomeDirectory() / "as it was on the disk";
    fs::copy_file(file(), copy);
    saver.getPendingEventsForRetrySending();
    saver.keepTakenEvent(big);
    restart();
    EXPECT_EQ(typesStored(), (std::vector<std::string> { "stored", "big" })) << "made up for by a pass";
    fs::rename(copy, file());
    restart();
    EXPECT_EQ(typesStored(), std::vector<std::string> { "stored" }) << "a kill on the full disk";
}

} // namespace
} // namespace lumora
