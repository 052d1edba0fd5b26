#include "platform/foundation/NSFileManager.h"
#include "platform/foundation/NSPropertyList.h"
#include "platform/foundation/NSUserDefaults.h"
#include "tests/platform/TestProcess.h"

#include <gtest/gtest.h>
#include <thread>

namespace lumora {

namespace fs = std::filesystem;

namespace {

struct UserDefaults : testing::Test {
    test::TemporaryFolder home;
    fs::path file { home.path / "Library/Preferences/com.example.host.plist" };

    /// Runs something in a fresh process on the same home folder.
    template <typename F> void inProcess(F&& use)
    {
        test::TestProcess process(home.path);
        use(NSUserDefaults::standardUserDefaults());
    }
    Value stored() { return propertyListWithData(contentsOfFile(file)->view()).value(); }
};

} // namespace

TEST_F(UserDefaults, OutliveTheProcess)
{
    inProcess([](NSUserDefaults& defaults) {
        EXPECT_TRUE(defaults.objectForKey("events").isNothing());
        EXPECT_FALSE(defaults.boolForKey("first"));
        defaults.setObject(NSData { { 1, 2, 3 } }, "events");
        defaults.setBool(true, "first");
        defaults.setObject(1, "gone");
        defaults.removeObjectForKey("gone");
        defaults.setObject(Value {}, "absent");
    });
    inProcess([](NSUserDefaults& defaults) {
        EXPECT_EQ(defaults.objectForKey("events"), (Value { NSData { { 1, 2, 3 } } }));
        EXPECT_TRUE(defaults.boolForKey("first"));
        EXPECT_TRUE(defaults.objectForKey("gone").isNothing());
    });
}

TEST_F(UserDefaults, AreOnDiskWhenASetReturns)
{
    inProcess([&](NSUserDefaults& defaults) {
        defaults.setObject(1, "b");
        defaults.setObject(2, "a");
        std::string keys;
        const Value onDisk = stored();
        for (const auto& [key, value] : *onDisk.dictionary())
            keys += key;
        EXPECT_EQ(keys, "ab");
        EXPECT_EQ(fs::status(file).permissions(), fs::perms::owner_read | fs::perms::owner_write);
        EXPECT_EQ(std::distance(fs::directory_iterator(file.parent_path()), {}), 1)
            << "no temporary file is left";
    });
}

TEST_F(UserDefaults, SetEveryDamagedFileAside)
{
    const std::pair<const char*, std::string> rows[]
        = { { ".damaged", "" }, { ".damaged.1", "bplist00 no more" }, { ".damaged.2", "<?xml?>" } };
    for (const auto& row : rows) {
        const std::string& damage = row.second;
        writeToFile(file, damage);
        inProcess([&](NSUserDefaults& defaults) {
            EXPECT_TRUE(defaults.objectForKey("k").isNothing());
            defaults.setObject(damage, "k");
        });
        EXPECT_EQ(contentsOfFile(file.string() + row.first)->view(), damage);
        inProcess([&](NSUserDefaults& defaults) { EXPECT_EQ(defaults.objectForKey("k"), Value { damage }); });
    }
}

TEST_F(UserDefaults, WaitForAFileThatCannotBeReadNow)
{
    inProcess([](NSUserDefaults& defaults) { defaults.setObject("stored", "k"); });
    const fs::path elsewhere = home.path / "elsewhere";
    fs::rename(file, elsewhere);
    // A link to itself cannot be followed.
    fs::create_symlink(file, file);
    inProcess([&](NSUserDefaults& defaults) {
        EXPECT_TRUE(defaults.objectForKey("k").isNothing());
        defaults.setObject("later", "other");
        EXPECT_FALSE(defaults.boolForKey("other"));
        fs::rename(elsewhere, file);
        EXPECT_EQ(defaults.objectForKey("k"), Value { "stored" });
        EXPECT_TRUE(defaults.objectForKey("other").isNothing()) << "what was stored comes first";
    });
}

TEST_F(UserDefaults, KeepAFormerFileWhenAWriteFails)
{
    // A folder where the new file would be written keeps even a privileged user out.
    const fs::path blocked = file.string() + ".new";
    inProcess([&](NSUserDefaults& defaults) {
        defaults.setObject("former", "k");
        fs::create_directories(blocked / "full");
        defaults.setObject("later", "k");
        EXPECT_EQ(defaults.objectForKey("k"), Value { "later" });
        EXPECT_EQ((*stored().dictionary())["k"], Value { "former" });
        EXPECT_FALSE(defaults.synchronize());
        fs::remove_all(blocked);
        EXPECT_TRUE(defaults.synchronize());
        EXPECT_EQ((*stored().dictionary())["k"], Value { "later" });
    });
}

TEST_F(UserDefaults, NeverOverwriteADamagedFileThatCannotBeMoved)
{
    writeToFile(file, "damage");
    std::vector<std::string> blocked { file.string() + ".damaged" };
    for (int i = 1; i < 10; i++)
        blocked.push_back(blocked[0] + "." + std::to_string(i));
    for (const std::string& name : blocked)
        fs::create_directories(name + "/full");
    inProcess([&](NSUserDefaults& defaults) {
        defaults.setObject(1, "k");
        EXPECT_EQ(contentsOfFile(file)->view(), "damage");
        fs::remove_all(blocked[9]);
        EXPECT_TRUE(defaults.synchronize());
        EXPECT_EQ((*stored().dictionary())["k"], Value { 1 });
    });
}

TEST_F(UserDefaults, RefuseWhatAPropertyListCannotHold)
{
    test::TestProcess process(home.path);
    NSUserDefaults& defaults = NSUserDefaults::standardUserDefaults();
    defaults.setObject(1, "k");
    defaults.setObject(NSArray { NSNull {} }, "k");
    defaults.setObject(NSURLValue { "https://h" }, "new");
    EXPECT_EQ(defaults.objectForKey("k"), Value { 1 });
    EXPECT_TRUE(defaults.objectForKey("new").isNothing());
    EXPECT_EQ(process.console->lines().size(), 2u);
    defaults.setObject("Yes", "k");
    EXPECT_TRUE(defaults.boolForKey("k"));
}

TEST_F(UserDefaults, TakeWritesFromSeveralThreads)
{
    test::TestProcess process(home.path);
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; thread++) {
        threads.emplace_back([&, thread] {
            Process::Scope scope(process.process);
            for (int i = 0; i < 10; i++)
                NSUserDefaults::standardUserDefaults().setObject(i, std::to_string(thread * 10 + i));
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(stored().dictionary()->size(), 40u);
}

} // namespace lumora
