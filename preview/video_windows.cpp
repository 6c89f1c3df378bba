// Colour conversion, and writes to the file or pipe.
#include "preview/video.h"

#include <windows.h>

#include <fcntl.h>
#include <io.h>

#include <cerrno>
#include <cstring>

#include "preview/host/file_paths.h"
#include "preview/host/host_error.h"

namespace pixelforge::preview {
namespace {

/// One plane of 8-bit values of limited range (BT.601). The weights are multiplied by 65536.
struct Plane {
    std::int32_t red;
    std::int32_t green;
    std::int32_t blue;
    std::int32_t offset;
    std::int32_t step;  ///< each value is the mean of this many pixels across and down
};
constexpr Plane kPlanes[] = {
    {16829, 33039, 6416, 16, 1}, {-9714, -19070, 28784, 128, 2}, {28784, -24103, -4681, 128, 2}};

/// Of the pixels from this position, counted from the upper left.
char ValueAt(const Plane& plane, const FramePixels& pixels, std::int32_t x, std::int32_t y) {
    std::int32_t sum = 0;
    for (std::int32_t row = y; row < y + plane.step; ++row) {
        const std::uint8_t* bgra = pixels.Row(row).data() + std::size_t{4} * static_cast<std::size_t>(x);
        for (std::int32_t i = 0; i < plane.step; ++i, bgra += 4) {
            sum += plane.red * bgra[2] + plane.green * bgra[1] + plane.blue * bgra[0];
        }
    }
    const std::int32_t divisor = 65536 * plane.step * plane.step;
    return static_cast<char>((sum + plane.offset * divisor + divisor / 2) / divisor);
}

/// The frame's header and its three planes, Y, Cb, Cr, rows from the top.
std::string FrameBytes(const FramePixels& pixels) {
    std::string frame = "FRAME\n";
    frame.reserve(frame.size() + pixels.bytes.size() / 8 * 3);
    for (const Plane& plane : kPlanes) {
        for (std::int32_t y = 0; y < pixels.height; y += plane.step) {
            for (std::int32_t x = 0; x < pixels.width; x += plane.step) {
                frame.push_back(ValueAt(plane, pixels, x, y));
            }
        }
    }
    return frame;
}

/// Standard output itself becomes a copy of standard error.
std::FILE* ReserveStandardOutput() {
    DWORD mode = 0;
    if (GetConsoleMode(reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(stdout))), &mode)) {
        throw HostError(ExitStatus::WrongUsage,
                        "--video: standard output is a terminal; pipe it into another program");
    }
    std::fflush(stdout);
    std::FILE* reserved = _fdopen(_dup(_fileno(stdout)), "wb");
    _dup2(_fileno(stderr), _fileno(stdout));
    return reserved;
}

}  // namespace

VideoWriter::VideoWriter(const UserPath& target, std::int32_t framesPerSecond)
    : target_(target.name == kStandardOutput ? ReserveStandardOutput()
                                             : _wfopen(LongPath(target.path).c_str(), L"wb"),
              std::fclose),
      name_(target.name == kStandardOutput ? "standard output" : target.name),
      framesPerSecond_(framesPerSecond) {
    if (!target_) {
        throw HostError(ExitStatus::Failed, "--video: cannot write " + name_);
    }
}

void VideoWriter::WriteBytes(const std::string& bytes) {
    if (std::fwrite(bytes.data(), 1, bytes.size(), target_.get()) == bytes.size() &&
        std::fflush(target_.get()) == 0) {
        return;
    }
    const bool readerEnded = errno == EPIPE || (errno == EINVAL && name_ == "standard output");
    throw HostError(ExitStatus::Failed,
                    readerEnded ? "--video: the program that reads " + name_ + " has ended"
                                : "--video: cannot write " + name_ + " (" + std::strerror(errno) + ")");
}

void VideoWriter::Write(const FramePixels& pixels) {
    if (width_ == 0) {
        width_ = pixels.width;
        height_ = pixels.height;
        WriteBytes("YUV4MPEG2 W" + std::to_string(width_) + " H" + std::to_string(height_) + " F" +
                   std::to_string(framesPerSecond_) +
                   ":1 Ip A1:1 C420jpeg XCOLORRANGE=LIMITED XMATRIX=BT.601\n");
    }
    if (pixels.width != width_ || pixels.height != height_) {
        throw HostError(ExitStatus::Failed, "--video: the frame size has changed, which a video cannot");
    }
    WriteBytes(FrameBytes(pixels));
}

}  // namespace pixelforge::preview
