#include "platform/foundation/NSBundle.h"
#include "platform/foundation/NSFileManager.h"
#include "tests/platform/TestProcess.h"

#include <gtest/gtest.h>

namespace lumora {

namespace fs = std::filesystem;

TEST(NSBundle, FindsTheLibraryByItsIdentifier)
{
    test::TemporaryFolder home;
    writeToFile(home.path / "bundle/Info.json",
        R"({"CFBundleIdentifier":"com.lumora.framework","CFBundleVersion":"45"})");
    writeToFile(home.path / "bundle/Localizable.json", R"({"WiFi":"WLAN"})");
    test::TestProcess process(home.path,
        { .mainBundleInfo = { { "CFBundleVersion", "7" } }, .libraryBundle = home.path / "bundle" });

    const auto bundle = NSBundle::bundleWithIdentifier("com.lumora.framework");
    ASSERT_TRUE(bundle);
    EXPECT_EQ(bundle->objectForInfoDictionaryKey("CFBundleVersion"), Value { "45" });
    EXPECT_TRUE(bundle->objectForInfoDictionaryKey("missing").isNothing());
    EXPECT_EQ(bundle->pathForResource("Info", "json"), home.path / "bundle/Info.json");
    EXPECT_FALSE(bundle->pathForResource("Info", "png"));
    EXPECT_EQ(bundle->localizedString("WiFi"), "WLAN");
    EXPECT_EQ(bundle->localizedString("Cellular"), "Cellular");
    EXPECT_EQ(
        NSBundle::bundleWithIdentifier("com.example.host")->objectForInfoDictionaryKey("CFBundleVersion"),
        Value { "7" });
    EXPECT_EQ(NSBundle::mainBundle().localizedString("WiFi"), "WiFi");
}

TEST(NSBundle, IsNothingWithoutItsFolder)
{
    test::TemporaryFolder home;
    test::TestProcess process(home.path, { .libraryBundle = home.path / "missing" });
    EXPECT_FALSE(NSBundle::bundleWithIdentifier("com.lumora.framework"));
    EXPECT_FALSE(NSBundle::bundleWithIdentifier(""));
    EXPECT_EQ(NSBundle::bundleForLibrary().bundleIdentifier(), "");
    EXPECT_FALSE(NSBundle::bundleForLibrary().pathForResource("Info", "json"));
    EXPECT_FALSE(NSBundle::mainBundle().pathForResource("Info", "json"));
    writeToFile(home.path / "missing/Info.json", R"({"CFBundleIdentifier":"com.lumora.framework"})");
    EXPECT_TRUE(NSBundle::bundleWithIdentifier("com.lumora.framework")) << "a failure is not kept";
    removeFile(home.path / "missing/Info.json");
    EXPECT_TRUE(NSBundle::bundleWithIdentifier("com.lumora.framework")) << "what was read is";
}

TEST(NSFileManager, AppendsOnlyToWhatExists)
{
    test::TemporaryFolder home;
    const fs::path log = home.path / "Documents/log";
    EXPECT_FALSE(appendToFile(log, "x"));
    EXPECT_TRUE(writeToFile(log, "one"));
    EXPECT_FALSE(appendToFile(home.path / "Documents/other", "x"));
    EXPECT_TRUE(appendToFile(log, "two\n"));
    EXPECT_TRUE(appendToFile(log, "three\n"));
    EXPECT_EQ(contentsOfFile(log)->view(), "onetwo\nthree\n");
    EXPECT_TRUE(writeToFile(log, ""));
    EXPECT_EQ(contentsOfFile(log), NSData {});
    removeFile(log);
    removeFile(log);
    EXPECT_FALSE(contentsOfFile(log));
}

TEST(NSFileManager, AnswersFailureWithoutExceptions)
{
    test::TemporaryFolder home;
    writeToFile(home.path / "file", "x");
    EXPECT_FALSE(contentsOfFile(home.path));
    EXPECT_FALSE(writeToFile(home.path, "x"));
    EXPECT_FALSE(writeToFile(home.path / "file/below", { "x" }));
    EXPECT_FALSE(replaceFile(home.path / "file/below", { "x" }));
    EXPECT_FALSE(appendToFile(home.path, "x"));
    if (fs::exists("/dev/full")) {
        EXPECT_FALSE(writeToFile("/dev/full", "x")) << "a full disk shows";
        EXPECT_TRUE(appendToFile("/dev/full", "x")) << "it opened: nobody is to make it anew";
    }
}

TEST(Completed, KeepsTheVendorIdentifierInTheHomeFolder)
{
    test::TemporaryFolder home;
    auto identifier = [&] { return completed({ .home = home.path }).device.identifierForVendor; };
    const std::string first = identifier();
    EXPECT_EQ(first.size(), 36u);
    EXPECT_EQ(identifier(), first);
    writeToFile(home.path / "Library/identifier", "damaged");
    const std::string second = identifier();
    EXPECT_NE(second, first);
    EXPECT_EQ(identifier(), second);
}

} // namespace lumora
