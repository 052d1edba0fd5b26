// The perceptual hashes beside what they are measured by, in one run each: the transform beside its
// definition and, where its package is present, beside the hash of a well-known library; a whole screenshot
// beside its decoding; three hashes beside one. And the writing of a screenshot beside the usual library's.
// Read the ratios.

#include "hashing/HashKernels.h"
#include "hashing/UIImageHashing.h"
#include "platform/coregraphics/CGContext.h"
#include "simulator/Phone.h"
#include "tests/hashing/DirectDCT.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cmath>
#include <cstring>
#include <png.h>

#ifdef LUMORA_BENCH_OPENCV
#include <opencv2/img_hash.hpp>
#endif

namespace lumora {
namespace {

using Clock = std::chrono::steady_clock;

template <typename F> double microseconds(F&& work)
{
    const auto start = Clock::now();
    work();
    return std::chrono::duration<double, std::micro>(Clock::now() - start).count();
}

constexpr int screenWidth = 1170;
constexpr int screenHeight = 2532;

uint32_t hashed(int x, int y)
{
    uint32_t hash = static_cast<uint32_t>(x) * 0x85EBCA6BU ^ static_cast<uint32_t>(y) * 0xC2B2AE35U;
    hash = (hash ^ hash >> 15) * 0x2C1B3C6DU;
    return (hash ^ hash >> 13) * 0x297A2D39U;
}

/// Light and shade as a photograph has them: shapes of all sizes, each half as strong as those twice as
/// large.
double lightAt(int x, int y)
{
    double light = 0;
    for (int size = 256, strength = 80; size > 1; size /= 2, strength /= 2) {
        auto corner
            = [&](int dx, int dy) { return hashed(x / size + dx, y / size + dy + 9 * size) / 4294967296.0; };
        const double right = double(x % size) / size, down = double(y % size) / size;
        light += strength
            * ((corner(0, 0) * (1 - right) + corner(1, 0) * right) * (1 - down)
                + (corner(0, 1) * (1 - right) + corner(1, 1) * right) * down);
    }
    return light;
}

/// A page with texts and a picture, as a full-screen ad has them.
UIImage screenshot()
{
    const Phone phone { {} };
    const auto context = makeBitmapContext({ screenWidth, screenHeight }, 1);
    context->fillPath(UIBezierPath::bezierPathWithRect(CGRectMake(0, 0, screenWidth, screenHeight)),
        UIColor { 1, 1, 1, 1 });
    constexpr int side = 1050;
    std::vector<uint8_t> photo;
    for (int i = 0; i < side * side; i++) {
        const double light = lightAt(i % side, i / side);
        const int grain = static_cast<int>(hashed(i, 7) >> 30);
        for (const double hue : { 60.0, 50.0, 40.0 })
            photo.push_back(static_cast<uint8_t>(std::clamp(hue + light, 0.0, 250.0) + grain));
        photo.push_back(255);
    }
    context->drawImage(UIImage { side, side, photo }, CGRectMake(60, 200, side, side));
    for (int line = 0; line < 24; line++) {
        const TextStyle style { { "Roboto-Regular", 36 }, UIColor { 0.1, 0.1, 0.2, 1 } };
        context->drawText("All the text of a page, a sentence of it, and another one: three words more.",
            style, CGRectMake(60, 1300 + 46 * line, 1050, 46));
    }
    return context->makeImage();
}

void transform(benchmark::State& state)
{
    std::vector<double> in = test::matrixNumber(0);
    std::vector<double> out(1024);
    double direct = 0;
    double ours = 0;
    for (auto _ : state) {
        constexpr int each = 50;
        direct += microseconds([&] { test::directDCT(in.data(), out.data()); });
        ours += microseconds([&] {
            for (int i = 0; i < each; i++) {
                in[0] += 1;
                dct_rgba_32_32(in.data(), out.data());
                benchmark::DoNotOptimize(out.data());
            }
        }) / each;
    }
    const auto rounds = static_cast<double>(state.iterations());
    state.counters["us"] = ours / rounds;
    state.counters["direct us"] = direct / rounds;
    state.counters["ratio"] = direct / ours;
}
BENCHMARK(transform)->Iterations(400);

#ifdef LUMORA_BENCH_OPENCV
/// From 32 x 32 greys to the bits, on both sides.
void pHashKernel(benchmark::State& state)
{
    std::vector<double> in = test::matrixNumber(0);
    cv::Mat picture(32, 32, CV_8UC1);
    for (int i = 0; i < 1024; i++)
        picture.data[i] = static_cast<uint8_t>(in[size_t(i)]);
    const auto theirs = cv::img_hash::PHash::create();
    std::vector<double> out(1024);
    cv::Mat hash;
    double oursTime = 0;
    double theirTime = 0;
    for (auto _ : state) {
        oursTime += microseconds([&] {
            dct_rgba_32_32(in.data(), out.data());
            benchmark::DoNotOptimize(phash_rgba_8_8(out.data(), fast_avg_no_first_el_rgba_8_8(out.data())));
        });
        theirTime += microseconds([&] { theirs->compute(picture, hash); });
    }
    const auto rounds = static_cast<double>(state.iterations());
    state.counters["us"] = oursTime / rounds;
    state.counters["OpenCV us"] = theirTime / rounds;
    state.counters["ratio"] = theirTime / oursTime;
}
BENCHMARK(pHashKernel)->Iterations(20'000);
#endif

void hashesOfAFile(benchmark::State& state, NSData (*encode)(const UIImage&))
{
    const NSData file = encode(screenshot());
    double decoding = 0;
    double hashing = 0;
    for (auto _ : state) {
        std::optional<UIImage> image;
        decoding += microseconds([&] { image = UIImage::imageWithData(file); });
        hashing += microseconds([&] { benchmark::DoNotOptimize(hashesOfImage(*image)); });
    }
    const auto rounds = static_cast<double>(state.iterations());
    state.counters["decoding ms"] = decoding / rounds / 1000;
    state.counters["hashing ms"] = hashing / rounds / 1000;
    state.counters["% outside"] = 100 * hashing / (hashing + decoding);
}
BENCHMARK_CAPTURE(hashesOfAFile, png, UIImagePNGRepresentation)->Iterations(30);
BENCHMARK_CAPTURE(hashesOfAFile, jpeg, [](const UIImage& image) {
    return UIImageJPEGRepresentation(image, 0.9);
})->Iterations(30);

void threeHashesInOnePass(benchmark::State& state)
{
    const UIImage image = screenshot();
    double all = 0;
    double a = 0;
    double d = 0;
    double p = 0;
    for (auto _ : state) {
        all += microseconds([&] { benchmark::DoNotOptimize(hashesOfImage(image)); });
        a += microseconds([&] { benchmark::DoNotOptimize(getAHash(image)); });
        d += microseconds([&] { benchmark::DoNotOptimize(getDHash(image)); });
        p += microseconds([&] { benchmark::DoNotOptimize(getPHash(image)); });
    }
    const auto rounds = static_cast<double>(state.iterations());
    state.counters["all us"] = all / rounds;
    state.counters["dearest us"] = std::max({ a, d, p }) / rounds;
    state.counters["ratio"] = all / std::max({ a, d, p });
}
BENCHMARK(threeHashesInOnePass)->Iterations(100);

std::string writtenByLibpng(const UIImage& image)
{
    png_image png {};
    png.version = PNG_IMAGE_VERSION;
    png.width = static_cast<png_uint_32>(image.pixelWidth());
    png.height = static_cast<png_uint_32>(image.pixelHeight());
    png.format = PNG_FORMAT_RGBA;
    png_alloc_size_t size = PNG_IMAGE_PNG_SIZE_MAX(png);
    std::string bytes(size, '\0');
    png_image_write_to_memory(&png, bytes.data(), &size, 0, image.pixels(), 0, nullptr);
    bytes.resize(size);
    return bytes;
}

/// Also reads what was written, by the library, and compares.
void writingAScreenshot(benchmark::State& state)
{
    const UIImage image = screenshot();
    NSData written;
    std::string reference;
    double ours = 0;
    double theirs = 0;
    for (auto _ : state) {
        ours += microseconds([&] { written = UIImagePNGRepresentation(image); });
        theirs += microseconds([&] { reference = writtenByLibpng(image); });
    }
    png_image png {};
    png.version = PNG_IMAGE_VERSION;
    png_image_begin_read_from_memory(&png, written.bytes.data(), written.bytes.size());
    png.format = PNG_FORMAT_RGBA;
    std::vector<uint8_t> pixels(PNG_IMAGE_SIZE(png));
    png_image_finish_read(&png, nullptr, pixels.data(), 0, nullptr);
    if (pixels.size() != size_t { 4 } * screenWidth * screenHeight
        || std::memcmp(pixels.data(), image.pixels(), pixels.size()) != 0)
        state.SkipWithError("the library reads other pixels");
    const auto rounds = static_cast<double>(state.iterations());
    state.counters["ms"] = ours / rounds / 1000;
    state.counters["libpng ms"] = theirs / rounds / 1000;
    state.counters["ratio"] = theirs / ours;
    state.counters["% more bytes"]
        = 100 * (static_cast<double>(written.bytes.size()) / static_cast<double>(reference.size()) - 1);
}
BENCHMARK(writingAScreenshot)->Iterations(5);

} // namespace
} // namespace lumora
