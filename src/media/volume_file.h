// Volume files: a 20-byte header, then the voxels. docs/volume_files.md describes the layout.
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

/// std::nullopt if the bytes do not start with a complete header. Its values are not validated.
std::optional<VolumeHeader> ReadVolumeHeader(std::span<const std::uint8_t> file) noexcept;

/// Of a valid volume. One with four channels has four bytes per voxel, although its file is read at one.
std::uint64_t TextureBytesOfVolume(const VolumeHeader& header) noexcept;

/// Why a volume cannot be shown, as one clause; null for a valid one: sides of 1 to `largestSide`, 1, 2 or 4
/// channels, and a file of `fileBytes` bytes that holds every voxel to be read.
const char* FaultOfVolume(const VolumeHeader& header, std::uint64_t fileBytes,
                          std::uint32_t largestSide) noexcept;

}  // namespace pixelforge
