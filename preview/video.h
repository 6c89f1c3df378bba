// Frames as uncompressed video (YUV4MPEG2, "Y4M") for a file or a pipe.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

#include "preview/host/host_surface.h"
#include "preview/options.h"

namespace pixelforge::preview {

/// 4:2:0 with the chroma sample in the middle of its four pixels, limited range. The format has no field for
/// the matrix; it is BT.601, which ffmpeg assumes.
class VideoWriter {
public:
    /// Creates the file, or reserves standard output (`kStandardOutput`): whatever else the program prints
    /// there goes to standard error from then on. Throws `HostError`: `WrongUsage` if standard output is a
    /// terminal, `Failed` if the file cannot be created.
    VideoWriter(const UserPath& target, std::int32_t framesPerSecond);

    /// Both sides are even. Throws `HostError` with `Failed` for a frame of another size than the first, and
    /// if the target cannot be written: a program that reads a pipe may have ended.
    void Write(const FramePixels& pixels);

private:
    void WriteBytes(const std::string& bytes);

    std::unique_ptr<std::FILE, int (*)(std::FILE*)> target_;
    std::string name_;
    std::int32_t framesPerSecond_;
    std::int32_t width_ = 0;
    std::int32_t height_ = 0;
};

}  // namespace pixelforge::preview
