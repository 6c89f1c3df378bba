// Volume headers and the rows of bitmaps, whatever sizes they claim.
#include <cstring>
#include <vector>

#include "fuzz/fuzz_input.h"
#include "library/volume_file.h"
#include "render/bitmap_packing.h"

namespace pixelforge::fuzz {
namespace {

constexpr std::uint32_t kLargestVolumeSide = 2048;

/// Reads every voxel that the upload would read.
void ReadVolume(std::span<const std::uint8_t> file) {
    const auto header = ReadVolumeHeader(file);
    if (!header || FaultOfVolume(*header, file.size(), kLargestVolumeSide)) {
        return;
    }
    const std::uint64_t voxels = std::uint64_t{header->width} * header->height * header->depth;
    const std::uint64_t bytes = header->channels == 2 ? 2 * voxels : voxels;
    Require(bytes >= 1 && bytes <= file.size() - kVolumeHeaderBytes, "an accepted volume holds its voxels");
    std::vector<std::uint8_t> upload(bytes);
    std::memcpy(upload.data(), file.data() + kVolumeHeaderBytes, bytes);
}

/// The input's first words are the sizes; the rest are the rows.
void PackHostileRows(std::span<std::uint8_t> input) {
    std::int32_t sizes[3] = {};
    if (input.size() < sizeof(sizes) + 1) {
        return;
    }
    std::memcpy(sizes, input.data(), sizeof(sizes));
    const SectionPixels pixels = {sizes[0], sizes[1], sizes[2], input.subspan(sizeof(sizes) + 1)};
    const bool flip = input[sizeof(sizes)] & 1;
    const HeapBytes packed = PackRows(pixels, flip);
    if (!packed) {
        return;
    }
    const std::size_t size = PackedBytes(pixels);
    Require(size >= 1 && size <= pixels.bytes.size(), "packed rows are no longer than padded ones");
    if (sizes[2] == 32) {
        const std::size_t last = size - static_cast<std::size_t>(sizes[0]) * 4;
        Require(packed[0] == pixels.bytes[flip ? last : 0], "the first row is the one asked for");
    }
}

}  // namespace
}  // namespace pixelforge::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // Copies of exactly the input's size, so that a read behind it is seen.
    const std::vector<std::uint8_t> file(data, data + size);
    std::vector<std::uint8_t> rows(data, data + size);
    pixelforge::fuzz::ReadVolume(file);
    pixelforge::fuzz::PackHostileRows(rows);
    return 0;
}
