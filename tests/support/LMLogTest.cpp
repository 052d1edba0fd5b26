#include "lumora/LMLog.h"

#include "lumora/LMLogManager.h"
#include "platform/foundation/NSFileManager.h"
#include "simulator/Phone.h"
#include "tests/platform/TestProcess.h"
#include "tests/world/World.h"

#include <gtest/gtest.h>

namespace lumora {
namespace {

class LMLogTest : public testing::Test {
protected:
    std::vector<std::string> printed(const std::string& message)
    {
        const size_t before = phone.console().lines().size();
        LMLog::logMessage(message);
        const auto lines = phone.console().lines();
        return { lines.begin() + static_cast<std::ptrdiff_t>(before), lines.end() };
    }
    std::string file() const
    {
        const auto content = contentsOfFile(LMLogManager::getFullPathToLogFile());
        return content ? std::string { content->view() } : "(none)";
    }

    Phone phone { {} };
};

TEST_F(LMLogTest, LevelsOfTheOperations)
{
    LMLog::logMessage("a");
    LMLog::logErrorMessage("b");
    LMLog::logImportantMessage("c");
    LMLog::logFuckupMessage();
    EXPECT_TRUE(phone.console().lines().empty());
    LMLog::setLogLevel(10);
    LMLog::logMessage("zero");
    LMLog::logErrorMessage("ten");
    LMLog::logError(nullptr);
    LMLog::logImportantMessage("fifteen");
    LMLog::logDebug("never");
    LMLog::log("nine", 9);
    LMLog::setLogLevel(35);
    LMLog::logImportantMessage("below");
    LMLog::logFuckupMessage();
    EXPECT_EQ(phone.console().lines(),
        (std::vector<std::string> { "[Lumora] ten", "[Lumora] error - (null)", "[Lumora] fifteen",
            "[Lumora] WARNING! LUMORA FRAMEWORK WAS NOT INITIALIZED!" }));
}

TEST_F(LMLogTest, LongLinesAreCut)
{
    LMLog::setLogLevel(0);
    EXPECT_EQ(printed(std::string(503, 'x')), std::vector { "[Lumora] " + std::string(503, 'x') })
        << "512 characters are whole";
    EXPECT_EQ(printed(std::string(504, 'x')),
        (std::vector<std::string> {
            "[Lumora] MESSAGE BELOW WAS CUTTED FROM 504 CHARACTERS", "[Lumora] " + std::string(502, 'x') }));
    LMLog::setLogLevel(16);
    LMLog::log(std::string(600, 'x'), 20);
    EXPECT_EQ(phone.console().lines().back(), "[Lumora] " + std::string(502, 'x'));
    EXPECT_EQ(phone.console().lines().size(), 4u) << "the notice has a level of its own";
}

TEST_F(LMLogTest, PercentSignsCountTwiceAndPrintOnce)
{
    LMLog::setLogLevel(0);
    EXPECT_EQ(printed("100%"), std::vector<std::string> { "[Lumora] 100%" });
    EXPECT_EQ(printed("%@ %s %n"), std::vector<std::string> { "[Lumora] %@ %s %n" });
    // 9 + 1 + 2 * 252 = 514 escaped characters; the cut at 511 splits the last pair it keeps.
    EXPECT_EQ(printed("x" + std::string(252, '%')).back(), "[Lumora] x" + std::string(251, '%'));
}

TEST_F(LMLogTest, ASurrogatePairIsNeverSplit)
{
    LMLog::setLogLevel(0);
    const std::string face = "\xF0\x9F\x98\x80";
    // The pair stands at units 511 and 512 of the line.
    const std::string line = printed(std::string(501, 'x') + face + "yyyy").back();
    EXPECT_EQ(line, "[Lumora] " + std::string(501, 'x'));
}

TEST_F(LMLogTest, TheFileTakesEveryLineAsItIs)
{
    LMLog::logMessage("before");
    LMLogManager::sharedInstance().setLoggingTTL(60);
    LMLog::logMessage("one 100%");
    EXPECT_EQ(file(), "one 100%") << "no break after the first";
    LMLog::logMessage("two");
    LMLog::logDebug("never");
    LMLog::logMessage("three");
    EXPECT_EQ(file(), "one 100%two\nthree\n");
}

TEST_F(LMLogTest, TimesToLive)
{
    auto& manager = LMLogManager::sharedInstance();
    auto timers = [&] {
        phone.clock().drain();
        return test::timersNamed(phone, "sendLog]");
    };
    for (int64_t ttl : { 20, 30, 60 })
        manager.setLoggingTTL(ttl);
    EXPECT_EQ(timers(), std::vector<double> { 60 }) << "for the newest only";
    phone.wait(10);
    manager.setLoggingTTL(60);
    EXPECT_EQ(timers(), std::vector<double> { 50 }) << "the same again changes nothing";
    LMLog::logMessage("kept until now");
    manager.setLoggingTTL(-5);
    EXPECT_EQ(file(), "(none)");
    EXPECT_TRUE(timers().empty());
    LMLog::logMessage("written all the same");
    EXPECT_EQ(file(), "written all the same");
    manager.setLoggingTTL(-1);
    LMLog::logMessage("off");
    EXPECT_EQ(file(), "(none)");
    manager.setLoggingTTL(0);
    phone.wait(0.01);
    EXPECT_EQ(timers().size(), 1u) << "hot, yet time goes on";
}

TEST_F(LMLogTest, ALineThatIsNoTextSpoilsNoUpload)
{
    LMLogManager::sharedInstance().setLoggingTTL(60);
    LMLog::logMessage("a\xFFz");
    EXPECT_EQ(file(), "a\xEF\xBF\xBDz");
    EXPECT_EQ(LMLogManager::sharedInstance().takeLogFile(), "a\xEF\xBF\xBDz");
    EXPECT_EQ(file(), "(none)") << "taken in one step";
    EXPECT_FALSE(LMLogManager::sharedInstance().takeLogFile());
    LMLog::logMessage("again");
    EXPECT_EQ(file(), "again");
    writeToFile(LMLogManager::getFullPathToLogFile(), "one\ncut \xE2\x82two\n");
    EXPECT_EQ(LMLogManager::sharedInstance().takeLogFile(), "one\ncut \uFFFD\uFFFDtwo\n") << "by a full disk";
    EXPECT_EQ(file(), "(none)");
}

TEST_F(LMLogTest, AFolderThatIsNoneIsSilent)
{
    std::filesystem::remove_all(LMLogManager::GetDocumentDirectory());
    writeToFile(LMLogManager::GetDocumentDirectory(), "a file where the folder should be");
    LMLogManager::sharedInstance().setLoggingTTL(60);
    EXPECT_NO_THROW(LMLog::logMessage("lost"));
    LMLogManager::sharedInstance().setLoggingTTL(-1);
    EXPECT_TRUE(phone.console().lines().empty());
}

TEST(LMLogUploadTest, TheTimerUploadsAndEmptiesTheFile)
{
    const auto transport = std::make_shared<test::HeldTransport>();
    const auto& sent = transport->requests;
    Phone phone { { .makeTransport = [&] { return transport; } } };
    LMLogManager::sharedInstance().setLoggingTTL(60);
    LMLog::logMessage("one");
    phone.wait(59);
    EXPECT_TRUE(sent.empty());
    phone.wait(62);
    ASSERT_EQ(sent.size(), 1u) << "the second round finds no file";
    EXPECT_EQ(sent.front().method, "POST");
    EXPECT_TRUE(sent.front().url.ends_with("/logs"));
    EXPECT_EQ(sent.front().body, "one");
    EXPECT_EQ(sent.front().headers.find("Authorization"), nullptr) << "nobody set a key";
}

} // namespace
} // namespace lumora
