// Pixel access, and PNG files by the Windows Imaging Component.
#include "preview/host/host_surface.h"

#include <windows.h>

#include <wincodec.h>
#include <wrl/client.h>

#include <vector>

#include "base/bitmap.h"
#include "preview/host/file_paths.h"
#include "preview/host/host_error.h"

namespace pixelforge::preview {
namespace {

using Microsoft::WRL::ComPtr;

void Check(HRESULT result) {
    if (FAILED(result)) {
        SetLastError(static_cast<DWORD>(result));
        throw HostError(ExitStatus::Failed, WithLastError("cannot encode a PNG: " + std::to_string(result)));
    }
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

void Encode(const FramePixels& pixels, IStream* target) {
    ComPtr<IWICImagingFactory> factory;
    ComPtr<IWICBitmapEncoder> encoder;
    ComPtr<IWICBitmapFrameEncode> frame;
    WICPixelFormatGUID format = GUID_WICPixelFormat24bppBGR;
    const auto width = static_cast<UINT>(pixels.width);
    const auto height = static_cast<UINT>(pixels.height);
    std::vector<std::uint8_t> rows = OpaqueRows(pixels);
    Check(CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&factory)));
    Check(factory->CreateEncoder(GUID_ContainerFormatPng, nullptr, &encoder));
    Check(encoder->Initialize(target, WICBitmapEncoderNoCache));
    Check(encoder->CreateNewFrame(&frame, nullptr));
    Check(frame->Initialize(nullptr));
    Check(frame->SetSize(width, height));
    Check(frame->SetPixelFormat(&format));
    Check(frame->WritePixels(height, width * 3, static_cast<UINT>(rows.size()), rows.data()));
    Check(frame->Commit());
    Check(encoder->Commit());
}

}  // namespace

std::span<const std::uint8_t> FramePixels::Row(std::int32_t rowFromTop) const {
    const std::size_t pitch = static_cast<std::size_t>(width) * 4;
    return bytes.subspan(static_cast<std::size_t>(height - 1 - rowFromTop) * pitch, pitch);
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
    return {.bytes = pixels.bytes, .width = pixels.width, .height = pixels.height};
}

void WritePng(const std::wstring& absolutePath, const FramePixels& pixels) {
    const ComApartment apartment;
    // Encoded in memory, because the encoder cannot open paths beyond 260 units.
    ComPtr<IStream> memory;
    Check(CreateStreamOnHGlobal(nullptr, TRUE, &memory));
    Encode(pixels, memory.Get());
    STATSTG status = {};
    HGLOBAL block = nullptr;
    Check(memory->Stat(&status, STATFLAG_NONAME));
    Check(GetHGlobalFromStream(memory.Get(), &block));
    const auto* bytes = static_cast<const std::uint8_t*>(GlobalLock(block));
    WriteOutputFile(absolutePath, {bytes, static_cast<std::size_t>(status.cbSize.QuadPart)});
}

}  // namespace pixelforge::preview
