// Reads and validates volume headers.
#include "media/volume_file.h"

#include <algorithm>

namespace pixelforge {
namespace {

constexpr std::uint8_t kMark[] = {'B', 'I', 'N'};
constexpr std::size_t kChannelsOffset = 16;

/// Little-endian.
std::uint32_t WordAt(std::span<const std::uint8_t> file, std::size_t index) noexcept {
    const auto bytes = file.subspan(index * 4, 4);
    return std::uint32_t{bytes[0]} | std::uint32_t{bytes[1]} << 8 | std::uint32_t{bytes[2]} << 16 |
           std::uint32_t{bytes[3]} << 24;
}

/// Four channels, too, are read at one byte per voxel.
std::uint64_t BytesReadPerVoxel(std::uint8_t channels) noexcept {
    return channels == 2 ? 2 : 1;
}

bool HoldsVoxels(const VolumeHeader& header, std::uint64_t bytes) noexcept {
    const std::uint64_t voxels = bytes / BytesReadPerVoxel(header.channels);
    const std::uint64_t slice = std::uint64_t{header.width} * header.height;
    return slice <= voxels && header.depth <= voxels / slice;
}

}  // namespace

std::optional<VolumeHeader> ReadVolumeHeader(std::span<const std::uint8_t> file) noexcept {
    if (file.size() < kVolumeHeaderBytes || !std::equal(std::begin(kMark), std::end(kMark), file.begin())) {
        return std::nullopt;
    }
    return VolumeHeader{WordAt(file, 1), WordAt(file, 2), WordAt(file, 3), file[kChannelsOffset]};
}

std::uint64_t TextureBytesOfVolume(const VolumeHeader& header) noexcept {
    return std::uint64_t{header.width} * header.height * header.depth * header.channels;
}

const char* FaultOfVolume(const VolumeHeader& header, std::uint64_t fileBytes,
                          std::uint32_t largestSide) noexcept {
    const auto [shortest, longest] = std::minmax({header.width, header.height, header.depth});
    if (shortest == 0 || longest > largestSide) {
        return "a side of the volume is 0 or above the driver's limit";
    }
    if (header.channels != 1 && header.channels != 2 && header.channels != 4) {
        return "a volume must have 1, 2 or 4 channels";
    }
    if (fileBytes < kVolumeHeaderBytes || !HoldsVoxels(header, fileBytes - kVolumeHeaderBytes)) {
        return "the file has fewer voxels than its header claims";
    }
    return nullptr;
}

}  // namespace pixelforge
