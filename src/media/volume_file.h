// Volume files: a header of 20 bytes and the voxels. docs/volume_files.md describes the layout.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

namespace pixelforge {

inline constexpr std::size_t kVolumeHeaderBytes = 20;

struct VolumeHeader {
    std::uint32_t width;
    std::uint32_t height;
    std::uint32_t depth;
    std::uint8_t channels;
};

/// Nothing for bytes that do not begin with a whole header. What the header says is not judged.
std::optional<VolumeHeader> ReadVolumeHeader(std::span<const std::uint8_t> file) noexcept;

/// Why a volume cannot be shown, as one clause, or null for one that can: its sides are 1 to `largestSide`,
/// its channels 1, 2 or 4, and the `fileBytes` bytes of its file hold every voxel that is read.
const char* FaultOfVolume(const VolumeHeader& header, std::uint64_t fileBytes,
                          std::uint32_t largestSide) noexcept;

}  // namespace pixelforge
