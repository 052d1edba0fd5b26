#include "hashing/UIImageHashing.h"
#include "platform/foundation/NSFileManager.h"
#include "tests/platform/TestProcess.h"
#include "tests/platform/drawing/Pixels.h"

#include <cmath>
#include <sys/wait.h>

namespace lumora::test {

namespace {

/// Upright waves of light, or a field of hills.
UIImage waves(bool hills)
{
    std::vector<uint8_t> pixels;
    for (int i = 0; i < 64 * 64; i++) {
        const double x = i % 64, y = i / 64;
        const double height = hills ? std::sin(x * 0.21 + 1) * std::sin(y * 0.3 + 2) : std::sin(x * 0.2);
        const auto level = static_cast<uint8_t>(128 + 120 * height);
        pixels.insert(pixels.end(), { level, level, level, 255 });
    }
    return { 64, 64, std::move(pixels) };
}

class LumoraHash : public testing::Test {
protected:
    LumoraHash()
    {
        std::filesystem::create_directory(folder.path / "more");
        write("a.png", UIImagePNGRepresentation(waves(false)));
        write("more/again.JPG", UIImageJPEGRepresentation(waves(false), 0.5));
        write("more/other.png", UIImagePNGRepresentation(waves(true)));
        write("notes.txt", NSData::fromText("no picture, and not asked for"));
    }
    void write(const std::string& name, const NSData& data) const
    {
        writeToFile(folder.path / name, data.view());
    }
    /// What the program prints, and how it ended.
    std::string run(const std::string& arguments) const
    {
        const std::string command
            = "cd '" + folder.path.string() + "' && '" LUMORA_HASH "' " + arguments + " 2>&1";
        FILE* output = popen(command.c_str(), "r");
        std::string text;
        std::array<char, 4096> part {};
        while (const size_t size = fread(part.data(), 1, part.size(), output))
            text.append(part.data(), size);
        return text + "ended with " + std::to_string(WEXITSTATUS(pclose(output)));
    }

    TemporaryFolder folder;
};

} // namespace

TEST_F(LumoraHash, PrintsTheHashesOfFilesAndFolders)
{
    const UIImage other = waves(true);
    const std::string line = "\t" + getAHash(other) + "\t" + getPHash(other) + "\t" + getDHash(other) + "\n";
    EXPECT_EQ(run("more/other.png"), "more/other.png" + line + "ended with 0");
    write("broken.png", NSData::fromText("\x89PNG\r\n\x1a\n and no more"));
    const std::string all = run(".");
    EXPECT_NE(all.find("./more/other.png" + line), std::string::npos) << all;
    EXPECT_NE(all.find("./broken.png\t-\t-\t-1\n"), std::string::npos) << all;
    EXPECT_TRUE(all.starts_with("lumora-hash: ./broken.png: no picture\n") && all.ends_with("ended with 1"))
        << all;
    EXPECT_EQ(all.find("notes"), std::string::npos);
}

TEST_F(LumoraHash, FindsWhatIsSimilar)
{
    const std::string near = run("--pairs .");
    EXPECT_TRUE(near.starts_with("./a.png\t./more/again.JPG\taHash 0\t")) << near;
    EXPECT_TRUE(near.ends_with("\tsimilar by aHash,pHash,dHash\nended with 0")) << near;
    const std::string far = run("--compare a.png more/other.png");
    EXPECT_TRUE(far.ends_with("similar by none\nended with 1")) << far;
    for (const char* wrong : { "", "--compare a.png", "--compare a.png more", "--pears a.png" })
        EXPECT_TRUE(run(wrong).ends_with("ended with 2")) << wrong;
    EXPECT_TRUE(run("absent.png").ends_with("ended with 1"));
}

} // namespace lumora::test
