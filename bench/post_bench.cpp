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

constexpr double kCopyLimit = 1.1;
constexpr double kPlainLoopLimit = 0.1;

struct Grid {
    std::int32_t tilesX;
    std::int32_t tilesY;
    double limit;  ///< at 3840 x 2160
};

/// Rows repeat wherever there are tiles below each other.
constexpr Grid kGrids[] = {{1, 2, 1.3}, {2, 1, 1.6}, {2, 2, 1.3}, {3, 3, 1.3}, {5, 4, 1.3}, {8, 8, 1.3}};

/// Both pictures of 1920 x 1080 may fit into the processor's cache, which makes memcpy much faster.
constexpr double kCachedTileLimit = 2.0;

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

    std::string Label(const std::string& kernel) const {
        return kernel + " " + std::to_string(width) + "x" + std::to_string(height);
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

void CompareCompositing(Pictures& p, int rounds, Report& report) {
    const auto count = static_cast<std::uint32_t>(p.pixels);
    const Side foreground = {p.Label("ForegroundCopy"),
                             [&p, count] { ForegroundCopy(p.source.data(), p.destination.data(), count); }};
    report.Add(Compare(foreground, MemcpyMoving(p, 12), rounds, kCopyLimit));
    report.Add(Compare(foreground, MemcpyMoving(p, 8), rounds, std::nullopt));
    for (const std::int32_t only : {0, 1}) {
        const std::string kernel = only != 0 ? "LevelCopy foreground" : "LevelCopy";
        const Side level = {p.Label(kernel), [&p, count, only] {
                                LevelCopy(p.source.data(), p.destination.data(), count, 7, only);
                            }};
        report.Add(Compare(level, MemcpyMoving(p, only != 0 ? 12 : 8), rounds, kCopyLimit));
    }
}

void CompareTiling(Pictures& p, int rounds, Report& report) {
    for (const auto& [tilesX, tilesY, limit] : kGrids) {
        const PixelView output = {p.destination.data(), p.width, p.height};
        const ConstPixelView frame = {p.source.data(), p.width, p.height};
        const TileGrid grid = {p.width, p.height, tilesX, tilesY, 1};
        const std::string kernel = "TileRemap " + std::to_string(tilesX) + "x" + std::to_string(tilesY);
        const Side tiling = {p.Label(kernel), [output, frame, grid] { TileRemap(output, frame, grid); }};
        const Side plain = {"plain loop",
                            [output, frame, grid] { reference::TileRemap(output, frame, grid); }};
        report.Add(Compare(tiling, MemcpyMoving(p, 8), rounds, p.width < 3840 ? kCachedTileLimit : limit));
        report.Add(Compare(tiling, plain, 3, kPlainLoopLimit));
    }
}

void CompareAll(int rounds, Report& report) {
    for (const auto& [width, height] : {std::pair(1920, 1080), std::pair(3840, 2160)}) {
        Pictures pictures(width, height);
        CompareCompositing(pictures, rounds, report);
        CompareTiling(pictures, rounds, report);
    }
}

}  // namespace
}  // namespace pixelforge::bench

int main(int argc, char** argv) {
    using namespace pixelforge::bench;
    return RunBench(argc, argv, 31, CompareAll);
}
