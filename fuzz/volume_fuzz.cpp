// Volume headers and bitmap rows with any claimed size.
#include <cstring>
#include <vector>

#include "fuzz/fuzz_input.h"
#include "media/volume_file.h"
#include "render/bitmap_packing.h"

namespace pixelforge::fuzz {
namespace {

/// Computes how many bytes the upload would read.
void CheckVolume(std::span<const std::uint8_t> file) {
    constexpr std::uint32_t kLargestSide = 2048;
    const auto header = ReadVolumeHeader(file);
    if (!header || FaultOfVolume(*header, file.size(), kLargestSide)) {
        return;
    }
    const std::uint64_t voxels = std::uint64_t{header->width} * header->height * header->depth;
    const std::uint64_t bytes = header->channels == 2 ? 2 * voxels : voxels;
    Require(bytes >= 1 && bytes <= file.size() - kVolumeHeaderBytes, "an accepted volume holds its voxels");
}

/// The input starts with the sizes; the rest are the rows.
void PackHostileRows(std::span<std::uint8_t> input) {
    std::int32_t sizes[3] = {};
    if (input.size() < sizeof(sizes) + 1) {
        return;
    }
    std::memcpy(sizes, input.data(), sizeof(sizes));
    const SectionPixels pixels = {sizes[0], sizes[1], sizes[2], input.subspan(sizeof(sizes) + 1)};
    if (PackBitmapRows(pixels, input[sizeof(sizes)] & 1)) {
        const std::size_t size = PackedBytes(pixels);
        Require(size >= 1 && size <= pixels.bytes.size(), "packed rows fit in the padded ones");
    }
}

}  // namespace

void TryInput(std::string_view input) {
    // A copy of exactly the input's size, so that reads past the end are detected.
    std::vector<std::uint8_t> bytes(input.begin(), input.end());
    CheckVolume(bytes);
    PackHostileRows(bytes);
}

}  // namespace pixelforge::fuzz
