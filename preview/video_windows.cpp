// Colour conversion, and writes to the file or pipe.
#include "preview/video.h"

#include <fcntl.h>
#include <io.h>

#include <cstdio>

#include "base/file.h"
#include "base/text.h"
#include "preview/host/file_paths.h"
#include "preview/host/host_error.h"

namespace pixelforge::preview {
namespace {

/// Weights of red, green and blue, times 65536, for 8-bit values of limited range (BT.601).
struct Weights {
    std::int32_t red;
    std::int32_t green;
    std::int32_t blue;
};
constexpr Weights kLuma = {16829, 33039, 6416};
constexpr Weights kChromaBlue = {-9714, -19070, 28784};
constexpr Weights kChromaRed = {28784, -24103, -4681};
constexpr std::int32_t kBlack = 16;
constexpr std::int32_t kNoColor = 128;

/// Sums of colour bytes; `shift` is 16 and two more for the mean of four pixels.
struct Sums {
    std::int32_t red = 0;
    std::int32_t green = 0;
    std::int32_t blue = 0;

    void Add(const std::uint8_t* bgra) {
        blue += bgra[0];
        green += bgra[1];
        red += bgra[2];
    }

    std::uint8_t Weighted(const Weights& weights, std::int32_t offset, int shift) const {
        const std::int32_t sum = weights.red * red + weights.green * green + weights.blue * blue;
        return static_cast<std::uint8_t>(((sum + (1 << (shift - 1))) >> shift) + offset);
    }
};

void AppendLuma(const FramePixels& pixels, std::vector<std::uint8_t>& frame) {
    for (std::int32_t y = 0; y < pixels.height; ++y) {
        const auto row = pixels.Row(y);
        for (std::size_t at = 0; at < row.size(); at += 4) {
            Sums sums;
            sums.Add(&row[at]);
            frame.push_back(sums.Weighted(kLuma, kBlack, 16));
        }
    }
}

void AppendChroma(const FramePixels& pixels, const Weights& weights, std::vector<std::uint8_t>& frame) {
    for (std::int32_t y = 0; y < pixels.height; y += 2) {
        const auto upper = pixels.Row(y);
        const auto lower = pixels.Row(y + 1);
        for (std::size_t at = 0; at < upper.size(); at += 8) {
            Sums sums;
            for (const std::uint8_t* pixel : {&upper[at], &upper[at + 4], &lower[at], &lower[at + 4]}) {
                sums.Add(pixel);
            }
            frame.push_back(sums.Weighted(weights, kNoColor, 18));
        }
    }
}

/// Standard output itself becomes a copy of standard error.
UniqueKernelHandle ReserveStandardOutput() {
    const auto output = reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(stdout)));
    DWORD mode = 0;
    if (GetConsoleMode(output, &mode)) {
        throw HostError(ExitStatus::WrongUsage,
                        "--video: standard output is a terminal; pipe it into another program");
    }
    HANDLE reserved = nullptr;
    const HANDLE process = GetCurrentProcess();
    std::fflush(stdout);
    if (!DuplicateHandle(process, output, process, &reserved, 0, FALSE, DUPLICATE_SAME_ACCESS) ||
        _dup2(_fileno(stderr), _fileno(stdout)) != 0) {
        throw HostError(ExitStatus::Failed, WithLastError("cannot use standard output"));
    }
    return UniqueKernelHandle(reserved);
}

UniqueKernelHandle OpenTarget(const std::wstring& path) {
    if (path == kStandardOutput) {
        return ReserveStandardOutput();
    }
    auto file = AdoptFileHandle(CreateFileW(LongPath(path).c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                            CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file) {
        throw HostError(ExitStatus::Failed, WithLastError("cannot write " + ToUtf8(path)));
    }
    return file;
}

}  // namespace

std::string Y4mHeader(std::int32_t width, std::int32_t height, std::int32_t framesPerSecond) {
    return "YUV4MPEG2 W" + std::to_string(width) + " H" + std::to_string(height) + " F" +
           std::to_string(framesPerSecond) + ":1 Ip A1:1 C420jpeg XCOLORRANGE=LIMITED XMATRIX=BT.601\n";
}

std::vector<std::uint8_t> Y4mFrame(const FramePixels& pixels) {
    constexpr std::string_view kFrameHeader = "FRAME\n";
    std::vector<std::uint8_t> frame(kFrameHeader.begin(), kFrameHeader.end());
    frame.reserve(frame.size() + pixels.bytes.size() / 8 * 3);
    AppendLuma(pixels, frame);
    AppendChroma(pixels, kChromaBlue, frame);
    AppendChroma(pixels, kChromaRed, frame);
    return frame;
}

VideoWriter::VideoWriter(const std::wstring& path, std::int32_t framesPerSecond)
    : target_(OpenTarget(path)),
      name_(path == kStandardOutput ? "standard output" : ToUtf8(path)),
      framesPerSecond_(framesPerSecond) {}

void VideoWriter::WriteBytes(std::span<const std::uint8_t> bytes) {
    if (WriteAll(target_.Get(), bytes)) {
        return;
    }
    const DWORD error = GetLastError();
    const bool readerEnded =
        error == ERROR_BROKEN_PIPE || error == ERROR_NO_DATA || error == ERROR_PIPE_NOT_CONNECTED;
    throw HostError(ExitStatus::Failed, readerEnded
                                            ? "--video: the program that reads " + name_ + " has ended"
                                            : WithLastError("--video: cannot write " + name_));
}

void VideoWriter::Write(const FramePixels& pixels) {
    if (width_ == 0) {
        width_ = pixels.width;
        height_ = pixels.height;
        WriteBytes(BytesOf(Y4mHeader(width_, height_, framesPerSecond_)));
    }
    if (pixels.width != width_ || pixels.height != height_) {
        throw HostError(ExitStatus::Failed, "--video: the frame size has changed, which a video cannot");
    }
    WriteBytes(Y4mFrame(pixels));
}

}  // namespace pixelforge::preview
