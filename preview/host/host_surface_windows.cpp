// Pixel access, and PNG files by the Windows Imaging Component.
#include "preview/host/host_surface.h"

#include <windows.h>

#include <wincodec.h>
#include <wrl/client.h>

#include <cstdio>
#include <vector>

#include "base/bitmap.h"
#include "preview/host/file_paths.h"
#include "preview/host/host_error.h"

namespace pixelforge::preview {
namespace {

using Microsoft::WRL::ComPtr;

void Check(HRESULT result, const char* step) {
    if (FAILED(result)) {
        char code[16];
        std::snprintf(code, sizeof code, "0x%08lX", static_cast<unsigned long>(result));
        throw HostError(ExitStatus::Failed, std::string("cannot encode the PNG: ") + step + ", " + code);
    }
}

ComPtr<IWICBitmapEncoder> MakeEncoder(IWICImagingFactory& factory, IStream* target) {
    ComPtr<IWICBitmapEncoder> encoder;
    Check(factory.CreateEncoder(GUID_ContainerFormatPng, nullptr, &encoder), "encoder");
    Check(encoder->Initialize(target, WICBitmapEncoderNoCache), "target");
    return encoder;
}

/// The rows from the top, three bytes a pixel (blue, green, red), without padding.
std::vector<std::uint8_t> OpaqueRows(const FramePixels& pixels) {
    std::vector<std::uint8_t> rows;
    rows.reserve(pixels.bytes.size() / 4 * 3);
    for (std::int32_t y = 0; y < pixels.height; ++y) {
        const auto row = pixels.Row(y);
        for (std::size_t i = 0; i < row.size(); i += 4) {
            rows.insert(rows.end(), {row[i], row[i + 1], row[i + 2]});
        }
    }
    return rows;
}

void EncodeFrame(IWICBitmapEncoder& encoder, const FramePixels& pixels) {
    ComPtr<IWICBitmapFrameEncode> frame;
    Check(encoder.CreateNewFrame(&frame, nullptr), "frame");
    Check(frame->Initialize(nullptr), "frame setup");
    const auto width = static_cast<UINT>(pixels.width);
    const auto height = static_cast<UINT>(pixels.height);
    Check(frame->SetSize(width, height), "size");
    WICPixelFormatGUID format = GUID_WICPixelFormat24bppBGR;
    Check(frame->SetPixelFormat(&format), "pixel format");
    std::vector<std::uint8_t> rows = OpaqueRows(pixels);
    Check(frame->WritePixels(height, width * 3, static_cast<UINT>(rows.size()), rows.data()), "pixels");
    Check(frame->Commit(), "end of frame");
    Check(encoder.Commit(), "end");
}

std::vector<std::uint8_t> StreamBytes(IStream* stream) {
    STATSTG status = {};
    Check(stream->Stat(&status, STATFLAG_NONAME), "length");
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(status.cbSize.QuadPart));
    Check(stream->Seek({}, STREAM_SEEK_SET, nullptr), "rewind");
    ULONG got = 0;
    Check(stream->Read(bytes.data(), static_cast<ULONG>(bytes.size()), &got), "read-back");
    bytes.resize(got);
    return bytes;
}

}  // namespace

std::span<const std::uint8_t> FramePixels::Row(std::int32_t rowFromTop) const {
    const std::size_t pitch = static_cast<std::size_t>(width) * 4;
    const std::int32_t row = bottomUp ? height - 1 - rowFromTop : rowFromTop;
    return bytes.subspan(static_cast<std::size_t>(row) * pitch, pitch);
}

std::uint32_t FramePixels::At(std::int32_t x, std::int32_t rowFromTop) const {
    const auto pixel = Row(rowFromTop).subspan(static_cast<std::size_t>(x) * 4, 4);
    return static_cast<std::uint32_t>(pixel[0]) | static_cast<std::uint32_t>(pixel[1]) << 8 |
           static_cast<std::uint32_t>(pixel[2]) << 16 | static_cast<std::uint32_t>(pixel[3]) << 24;
}

HostSurface::HostSurface(std::int32_t width, std::int32_t height)
    : deviceContext_(CreateCompatibleDC(nullptr)), bitmap_(CreateHostBitmap(width, height)) {
    if (!deviceContext_ || !bitmap_) {
        throw HostError(ExitStatus::Failed, "cannot create a bitmap of the frame's size");
    }
}

void HostSurface::FillWithCheckers() {
    constexpr std::int32_t kSquare = 32;
    constexpr std::uint32_t kColors[] = {0x00303848, 0x00485468};
    GdiFlush();
    const SectionPixels pixels = PixelsOf(bitmap_.Get());
    auto* pixel = reinterpret_cast<std::uint32_t*>(pixels.bytes.data());
    for (std::int32_t y = 0; y < pixels.height; ++y) {
        for (std::int32_t x = 0; x < pixels.width; ++x) {
            *pixel++ = kColors[(x / kSquare + y / kSquare) % 2];
        }
    }
}

FramePixels HostSurface::Pixels() const {
    // GDI may have queued drawing, such as the text of the error screen.
    GdiFlush();
    const SectionPixels pixels = PixelsOf(bitmap_.Get());
    return {.bytes = pixels.bytes, .width = pixels.width, .height = pixels.height, .bottomUp = true};
}

void WritePng(const std::wstring& absolutePath, const FramePixels& pixels) {
    const ComApartment apartment;
    ComPtr<IWICImagingFactory> factory;
    Check(CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&factory)),
          "imaging factory");
    // Encoded in memory, because the encoder cannot open paths beyond 260 units.
    ComPtr<IStream> memory;
    Check(CreateStreamOnHGlobal(nullptr, TRUE, &memory), "memory");
    const auto encoder = MakeEncoder(*factory.Get(), memory.Get());
    EncodeFrame(*encoder.Get(), pixels);
    WriteOutputFile(absolutePath, StreamBytes(memory.Get()));
}

}  // namespace pixelforge::preview
