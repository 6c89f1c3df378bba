// Pixel kernels against memcpy, and tiling against its reference implementation, on one thread.
// Bytes moved are memory traffic: what a kernel reads from source and destination and what it writes. Its
// memcpy peer moves the same number, half of them read and half written.
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "bench/paired_runner.h"
#include "post/compositing.h"
#include "post/tile_remap.h"
#include "tests/post/reference_kernels.h"

namespace pixelforge::bench {
namespace {

constexpr double kCopyLimit = 1.3;
constexpr double kTileLimit = 2.0;
constexpr double kPlainLoopLimit = 0.1;

struct PathName {
    VectorPath path;
    const char* name;
};

constexpr PathName kPaths[] = {
    {VectorPath::Portable, "portable"}, {VectorPath::Sse2, "sse2"}, {VectorPath::Avx2, "avx2"}};

/// Source and destination, each 1.5 times the picture's size, so that memcpy can move as many bytes as a
/// kernel that also reads its destination.
struct Pictures {
    Pictures(std::int32_t pictureWidth, std::int32_t pictureHeight)
        : width(pictureWidth),
          height(pictureHeight),
          pixels(static_cast<std::size_t>(width) * static_cast<std::size_t>(height)),
          source(pixels * 3 / 2),
          destination(pixels * 3 / 2, 0x00123456) {
        std::uint32_t state = 1;
        for (std::uint32_t& pixel : source) {
            state = state * 1664525 + 1013904223;
            pixel = state >> 30 == 0 ? 0xFF000000 : state;  // one quarter black
        }
    }

    std::string Label(const std::string& kernel, const char* path) const {
        return kernel + " " + std::to_string(width) + "x" + std::to_string(height) + " " + path;
    }

    std::int32_t width;
    std::int32_t height;
    std::size_t pixels;
    std::vector<std::uint32_t> source;
    std::vector<std::uint32_t> destination;
};

Side MemcpyMoving(Pictures& pictures, std::size_t bytesMovedPerPixel) {
    const std::size_t bytes = pictures.pixels * bytesMovedPerPixel / 2;
    return {"memcpy, " + std::to_string(bytesMovedPerPixel) + " B/pixel moved",
            [&pictures, bytes] { std::memcpy(pictures.destination.data(), pictures.source.data(), bytes); }};
}

void CompareCompositing(Pictures& p, const PathName& path, int rounds, Report& report) {
    const auto limit = path.path == BestVectorPath() ? std::optional(kCopyLimit) : std::nullopt;
    const auto count = static_cast<std::uint32_t>(p.pixels);
    const Side foreground = {p.Label("ForegroundCopy", path.name), [&p, path, count] {
                                 ForegroundCopy(p.source.data(), p.destination.data(), count, path.path);
                             }};
    report.Add(Compare(foreground, MemcpyMoving(p, 12), rounds, limit));
    report.Add(Compare(foreground, MemcpyMoving(p, 8), rounds, std::nullopt));
    for (const std::int32_t only : {0, 1}) {
        const std::string kernel = only != 0 ? "LevelCopy foreground" : "LevelCopy";
        const Side level = {p.Label(kernel, path.name), [&p, path, count, only] {
                                LevelCopy(p.source.data(), p.destination.data(), count, 7, only, path.path);
                            }};
        report.Add(Compare(level, MemcpyMoving(p, only != 0 ? 12 : 8), rounds, limit));
    }
}

void CompareTiling(Pictures& p, const PathName& path, int rounds, Report& report) {
    const bool best = path.path == BestVectorPath();
    constexpr std::int32_t kGrids[][2] = {{1, 2}, {2, 1}, {2, 2}, {3, 3}, {5, 4}, {8, 8}};
    for (const auto& [tilesX, tilesY] : kGrids) {
        const PixelView output = {p.destination.data(), p.width, p.height};
        const ConstPixelView frame = {p.source.data(), p.width, p.height};
        const TileGrid grid = {p.width, p.height, tilesX, tilesY, 1};
        const std::string kernel = "TileRemap " + std::to_string(tilesX) + "x" + std::to_string(tilesY);
        const Side tiling = {p.Label(kernel, path.name),
                             [output, frame, grid, path] { TileRemap(output, frame, grid, path.path); }};
        report.Add(
            Compare(tiling, MemcpyMoving(p, 8), rounds, best ? std::optional(kTileLimit) : std::nullopt));
        if (best) {
            const Side plain = {"plain loop",
                                [output, frame, grid] { reference::TileRemap(output, frame, grid); }};
            report.Add(Compare(tiling, plain, 3, kPlainLoopLimit));
        }
    }
}

void CompareAll(int rounds, Report& report) {
    for (const auto& [width, height] : {std::pair(1920, 1080), std::pair(3840, 2160)}) {
        Pictures pictures(width, height);
        for (const PathName& path : kPaths) {
            if (path.path <= BestVectorPath()) {
                CompareCompositing(pictures, path, rounds, report);
                CompareTiling(pictures, path, rounds, report);
            }
        }
    }
}

}  // namespace
}  // namespace pixelforge::bench

int main(int argc, char** argv) {
    using namespace pixelforge::bench;
    return RunBench(argc, argv, 31, CompareAll);
}
