// Frames as uncompressed video (YUV4MPEG2, "Y4M") for a file or a pipe.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/win_handles.h"
#include "preview/host/host_surface.h"

namespace pixelforge::preview {

/// The path that stands for standard output.
inline constexpr const wchar_t* kStandardOutput = L"-";

/// The stream header: 4:2:0 with the chroma sample in the middle of its four pixels, limited range. The
/// format has no field for the matrix; it is BT.601, which ffmpeg assumes.
std::string Y4mHeader(std::int32_t width, std::int32_t height, std::int32_t framesPerSecond);

/// A frame's header and its three planes, Y, Cb, Cr, rows from the top. Both sides are even.
std::vector<std::uint8_t> Y4mFrame(const FramePixels& pixels);

class VideoWriter {
public:
    /// Creates the file (an absolute path), or reserves standard output (`kStandardOutput`): whatever else
    /// the program prints there goes to standard error from then on. Throws `HostError`: `WrongUsage` if
    /// standard output is a terminal, `Failed` if the file cannot be created.
    VideoWriter(const std::wstring& path, std::int32_t framesPerSecond);

    /// Throws `HostError` with `Failed` for a frame of another size than the first, and if the target cannot
    /// be written: a program that reads a pipe may have ended.
    void Write(const FramePixels& pixels);

private:
    void WriteBytes(std::span<const std::uint8_t> bytes);

    UniqueKernelHandle target_;
    std::string name_;
    std::int32_t framesPerSecond_;
    std::int32_t width_ = 0;
    std::int32_t height_ = 0;
};

}  // namespace pixelforge::preview
