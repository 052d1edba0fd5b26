#include "apps/hash/Pictures.h"

#include <cstdio>
#include <iostream>
#include <unistd.h>

namespace {

using namespace lumora;

constexpr const char* usage = R"(lumora-hash [--quiet] PICTURE|FOLDER...
lumora-hash [--quiet] --compare PICTURE PICTURE
lumora-hash [--quiet] --pairs PICTURE|FOLDER...

Prints the perceptual hashes of PNG and JPEG files, those in folders and below included: a line each of file, aHash,
pHash and dHash with tabs between. A file that is no picture has "-", "-" and -1.
  --compare  how far two pictures are apart by each hash, and by which of them they are similar
  --pairs    the same for every pair that is similar by at least one
  --quiet    no progress on a terminal
Ends with 0; with 1 when a picture could not be read, or the two of --compare are similar by no hash; with 2 when it
was called wrongly.
)";

enum class Mode { List, Compare, Pairs };

void printDistances(const Picture& a, const Picture& b, const Distances& distances)
{
    const std::string by = distances.similarBy();
    std::cout << a.path.string() << '\t' << b.path.string() << "\taHash " << distances.aHash << "\tpHash "
              << distances.pHash << "\tdHash " << distances.dHash << "\tsimilar by "
              << (by.empty() ? "none" : by) << '\n';
}

void printHashes(const Picture& picture)
{
    const ImageHashes hashes = picture.hashes.value_or(ImageHashes { "-", "-", OSHashTypeError });
    std::cout << picture.path.string() << '\t' << hashes.aHash << '\t' << hashes.pHash << '\t' << hashes.dHash
              << '\n';
}

void printSimilarPairs(const std::vector<Picture>& pictures)
{
    for (size_t i = 0; i < pictures.size(); i++) {
        for (size_t j = i + 1; pictures[i].hashes && j < pictures.size(); j++) {
            if (!pictures[j].hashes)
                continue;
            const Distances distances(*pictures[i].hashes, *pictures[j].hashes);
            if (!distances.similarBy().empty())
                printDistances(pictures[i], pictures[j], distances);
        }
    }
}

int run(Mode mode, const std::vector<std::string>& names, bool showsProgress)
{
    std::vector<Picture> pictures = picturesAt(names);
    hashPictures(pictures, [&](size_t done) {
        if (showsProgress)
            std::fprintf(stderr, "\r%zu of %zu", done, pictures.size());
    });
    if (showsProgress)
        std::fprintf(stderr, "\r\033[K");

    bool allRead = true;
    for (const Picture& picture : pictures) {
        if (!picture.hashes)
            std::cerr << "lumora-hash: " << picture.path.string() << ": no picture\n";
        allRead = allRead && picture.hashes;
    }
    bool isSimilar = true;
    if (mode == Mode::List) {
        for (const Picture& picture : pictures)
            printHashes(picture);
    } else if (mode == Mode::Pairs) {
        printSimilarPairs(pictures);
    } else if (allRead) {
        const Distances distances(*pictures[0].hashes, *pictures[1].hashes);
        printDistances(pictures[0], pictures[1], distances);
        isSimilar = !distances.similarBy().empty();
    }
    std::cout.flush();
    if (!std::cout)
        throw std::runtime_error("cannot write the output");
    return allRead && isSimilar ? 0 : 1;
}

} // namespace

int main(int count, char** arguments)
{
    Mode mode = Mode::List;
    bool showsProgress = isatty(STDERR_FILENO) != 0;
    std::vector<std::string> names;
    bool isWrong = false;
    for (int i = 1; i < count; i++) {
        const std::string argument = arguments[i];
        if (argument == "--help") {
            std::cout << usage;
            return 0;
        }
        if (argument == "--compare")
            mode = Mode::Compare;
        else if (argument == "--pairs")
            mode = Mode::Pairs;
        else if (argument == "--quiet")
            showsProgress = false;
        else if (argument.starts_with("--"))
            isWrong = true;
        else
            names.push_back(argument);
    }
    const bool areTwoFiles = names.size() == 2 && !std::filesystem::is_directory(names[0])
        && !std::filesystem::is_directory(names[1]);
    if (isWrong || names.empty() || (mode == Mode::Compare && !areTwoFiles)) {
        std::cerr << usage;
        return 2;
    }
    try {
        return run(mode, names, showsProgress);
    } catch (const std::exception& error) {
        std::cerr << "lumora-hash: " << error.what() << '\n';
        return 1;
    }
}
