#include "core/TDActivationManager.h"
#include "lumora/LMLog.h"
#include "lumora/LMLogManager.h"
#include "service/LMEventsManager.h"
#include "tests/world/World.h"

#include <fstream>
#include <gtest/gtest.h>
#include <set>
#include <thread>

namespace lumora {
namespace {

using test::World;

/// Counts what it hears.
class Listener final : public NSObject {
public:
    static const ClassDescription& classDescription()
    {
        static const auto& description
            = *new ClassDescription(ClassDescription::of<Listener, NSObject>("StormListener")
                                        .method<&Listener::newConfigArrived>(sel::newConfigArrived));
        return description;
    }
    void newConfigArrived(id config) { heard += as<TDConfig>(config) ? 1 : 0; }
    std::atomic<int> heard { 0 };
};

constexpr int threads = 8;
constexpr int rounds = 40;

/// What one thread does, again and again.
void storm(int thread, std::atomic<int>& answers, std::atomic<int>& heard)
{
    TDActivationManager& gate = TDActivationManager::sharedInstance();
    for (int i = 0; i < rounds; i++) {
        auto event = make<TDEventModel>();
        event->setVideo(std::to_string(thread) + "." + std::to_string(i));
        if (i % 4 == 3) {
            LMEventsManager::shared().handleEventAsPending(event, nullptr);
            LMEventsManager::shared().sendBackupEvents();
        } else {
            LMEventsManager::shared().handleEvent(event, nullptr);
        }
        gate.checkActivationWithBlock([&](bool) { answers++; });
        const auto listener = make<Listener>();
        gate.addNewConfigListener(listener);
        if (i % 8 == thread)
            gate.getNewConfig();
        gate.sendMessageToAllListenersWithConfig(gate.getConfig());
        LMLog::logMessage("line " + std::to_string(thread) + "." + std::to_string(i));
        heard += listener->heard > 0 ? 1 : 0;
    }
}

std::multiset<std::string> linesOfTheStorm(const std::filesystem::path& file)
{
    std::multiset<std::string> lines;
    std::ifstream log(file);
    for (std::string line; std::getline(log, line);) {
        if (line.starts_with("line "))
            lines.insert(line);
    }
    return lines;
}

TEST(StormTest, EightThreadsLoseNothing)
{
    World world { { .record
        = R"({"active": true, "ttlConfig": 100000, "retryAfter": 100000, "retryLimit": -1})",
        .adjust = [](Phone::Options& options) { options.virtualTime = false; } } };
    LMLogManager::sharedInstance().setLoggingTTL(100000);
    LMLog::logMessage("\n");
    Lumora::initiateTrackerWithKey(test::validKey);
    ASSERT_TRUE(world.phone.waitUntil(
        [] { return TDActivationManager::sharedInstance().getConfig() != nullptr; }, 20));
    std::atomic<int> answers { 0 };
    std::atomic<int> heard { 0 };
    std::atomic<int> running { threads };
    std::vector<std::thread> storming;
    for (int i = 0; i < threads; i++) {
        storming.emplace_back([&, i] {
            Process::Scope scope(world.phone.process());
            storm(i, answers, heard);
            running--;
        });
    }
    EXPECT_TRUE(world.phone.waitUntil([&] { return running == 0; }, 60));
    for (std::thread& thread : storming)
        thread.join();
    // What a closed gate held back goes with the next pass.
    auto isEmpty = [] { return LMEventsSaverUserDefaultsProvider().eventsCount() == 0; };
    for (int pass = 0; pass < 30 && !world.phone.waitUntil(isEmpty, 1); pass++)
        LMEventsManager::shared().sendBackupEvents();
    std::set<std::string> delivered;
    for (const Arrival& report : world.service.reports())
        delivered.insert(soleObjectIn(report.body)["video"].stringOrEmpty());
    EXPECT_EQ(delivered.size(), size_t { threads * rounds });
    EXPECT_TRUE(world.phone.waitUntil([&] { return answers == threads * rounds; }, 20));
    EXPECT_EQ(heard, threads * rounds) << "each listener, from its own walk at least";
    std::multiset<std::string> whole;
    for (int i = 0; i < threads * rounds; i++)
        whole.insert("line " + std::to_string(i / rounds) + "." + std::to_string(i % rounds));
    EXPECT_EQ(linesOfTheStorm(LMLogManager::getFullPathToLogFile()), whole);
}

} // namespace
} // namespace lumora
