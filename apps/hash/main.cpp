#include "apps/hash/Pictures.h"

#include <array>
#include <cstdio>
#include <getopt.h>
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

/// What went wrong with the call itself.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct Options {
    Mode mode { Mode::List };
    bool showsProgress { isatty(STDERR_FILENO) != 0 };
    bool asksForHelp { false };
    std::vector<std::string> names {};
};

Options optionsIn(int count, char** arguments)
{
    constexpr std::array known { option { "compare", no_argument, nullptr, 'c' },
        option { "pairs", no_argument, nullptr, 'p' }, option { "quiet", no_argument, nullptr, 'q' },
        option { "help", no_argument, nullptr, 'h' }, option { nullptr, 0, nullptr, 0 } };
    Options options;
    // Before there is a second thread.
    auto next
        = [&] { return getopt_long(count, arguments, "h", known.data(), nullptr); }; // NOLINT(concurrency-*)
    for (int c = next(); c != -1; c = next()) {
        if (c == 'q')
            options.showsProgress = false;
        else if (c == 'h')
            options.asksForHelp = true;
        else if (c == '?')
            throw UsageError("try --help");
        else if (options.mode != Mode::List)
            throw UsageError("one of --compare and --pairs");
        else
            options.mode = c == 'c' ? Mode::Compare : Mode::Pairs;
    }
    options.names.assign(arguments + optind, arguments + count);
    if (options.names.empty() && !options.asksForHelp)
        throw UsageError("which pictures? Try --help");
    return options;
}

void print(const Picture& picture)
{
    const ImageHashes hashes = picture.hashes.value_or(ImageHashes { "-", "-", OSHashTypeError });
    std::cout << picture.path.string() << '\t' << hashes.aHash << '\t' << hashes.pHash << '\t' << hashes.dHash
              << '\n';
}

void print(const Picture& a, const Picture& b, const Distances& distances)
{
    std::cout << a.path.string() << '\t' << b.path.string() << "\taHash " << distances.aHash << "\tpHash "
              << distances.pHash << "\tdHash " << distances.dHash << "\tsimilar by " << distances.similarBy()
              << '\n';
}

int run(const Options& options)
{
    if (options.asksForHelp) {
        std::cout << usage;
        return 0;
    }
    std::vector<Picture> pictures = picturesAt(options.names);
    if (options.mode == Mode::Compare && (options.names.size() != 2 || pictures.size() != 2))
        throw UsageError("--compare takes two pictures");
    auto progress = [&](const char* what) -> Progress {
        return [&, what](size_t done) {
            if (options.showsProgress)
                std::fprintf(stderr, "\r%s %zu of %zu%s", what, done, pictures.size(),
                    done == pictures.size() ? "\r\033[K" : "");
        };
    };
    hashPictures(pictures, progress("hashed"));
    bool allRead = true;
    for (const Picture& picture : pictures) {
        if (!picture.hashes)
            std::cerr << "lumora-hash: " << picture.path.string() << ": no picture\n";
        allRead = allRead && picture.hashes;
    }
    if (options.mode == Mode::Compare) {
        if (!allRead)
            return 1;
        const Distances distances(pictures[0], pictures[1]);
        print(pictures[0], pictures[1], distances);
        return distances.isSimilar() ? 0 : 1;
    }
    if (options.mode == Mode::List) {
        for (const Picture& picture : pictures)
            print(picture);
    } else {
        for (const SimilarPair& pair : similarPairs(pictures, progress("compared")))
            print(pictures[pair.first], pictures[pair.second], pair.distances);
    }
    return allRead ? 0 : 1;
}

} // namespace

int main(int count, char** arguments)
{
    try {
        const int ending = run(optionsIn(count, arguments));
        if (!std::cout.flush())
            throw std::runtime_error("cannot write the output");
        return ending;
    } catch (const UsageError& error) {
        std::cerr << "lumora-hash: " << error.what() << '\n';
        return 2;
    } catch (const std::exception& error) {
        std::cerr << "lumora-hash: " << error.what() << '\n';
        return 1;
    }
}
