// Decodes pictures with the Windows Imaging Component.
#include "media/image_decoder.h"

#include <windows.h>

#include <wincodec.h>
#include <wrl/client.h>

#include "base/load_error.h"
#include "base/win_handles.h"

namespace pixelforge {
namespace {

using Microsoft::WRL::ComPtr;

struct Frame {
    ComPtr<IWICBitmapFrameDecode> source;
    UINT width = 0;
    UINT height = 0;
    UINT bitsPerPixel = 0;
};

HRESULT OpenFrame(IWICImagingFactory& factory, const wchar_t* path, ComPtr<IWICBitmapFrameDecode>& frame) {
    ComPtr<IWICBitmapDecoder> decoder;
    const HRESULT opened = factory.CreateDecoderFromFilename(path, nullptr, GENERIC_READ,
                                                             WICDecodeMetadataCacheOnLoad, &decoder);
    return FAILED(opened) ? opened : decoder->GetFrame(0, &frame);
}

HRESULT ReadDepth(IWICImagingFactory& factory, Frame& frame) {
    WICPixelFormatGUID format = {};
    HRESULT result = frame.source->GetPixelFormat(&format);
    ComPtr<IWICComponentInfo> component;
    if (SUCCEEDED(result)) {
        result = factory.CreateComponentInfo(format, &component);
    }
    ComPtr<IWICPixelFormatInfo> info;
    if (SUCCEEDED(result)) {
        result = component.As(&info);
    }
    return SUCCEEDED(result) ? info->GetBitsPerPixel(&frame.bitsPerPixel) : result;
}

HRESULT ReadFrame(const wchar_t* path, Frame& frame) {
    ComPtr<IWICImagingFactory> factory;
    HRESULT result =
        CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&factory));
    if (SUCCEEDED(result)) {
        result = OpenFrame(*factory.Get(), path, frame.source);
    }
    if (SUCCEEDED(result)) {
        result = ReadDepth(*factory.Get(), frame);
    }
    return SUCCEEDED(result) ? frame.source->GetSize(&frame.width, &frame.height) : result;
}

void RequireShowable(const Frame& frame, std::uint64_t mostBytes) {
    const auto depth = static_cast<std::int32_t>(frame.bitsPerPixel);
    if (depth < 8 || depth > 64) {
        throw LoadError(std::to_string(depth) + "-bit pictures are not supported");
    }
    if (frame.width == 0 || frame.height == 0) {
        throw LoadError("the picture has no pixels");
    }
    if (!FitsSection(frame.width, frame.height, depth)) {
        throw LoadError("the picture is larger than 16384 pixels a side or 1 GiB");
    }
    const std::int64_t rowBytes = SectionRowBytes(static_cast<std::int32_t>(frame.width), depth);
    if (static_cast<std::uint64_t>(rowBytes) * frame.height > mostBytes) {
        throw LoadError(kBeyondBudget);
    }
}

UniqueBitmap CopyFrame(const Frame& frame) {
    UniqueBitmap bitmap =
        CreatePictureBitmap(static_cast<std::int32_t>(frame.width), static_cast<std::int32_t>(frame.height),
                            static_cast<std::int32_t>(frame.bitsPerPixel));
    const SectionPixels section = PixelsOf(bitmap.Get());
    if (section.bytes.empty()) {
        throw LoadError("cannot create a bitmap for a " + std::to_string(frame.bitsPerPixel) +
                        "-bit picture");
    }
    // Not rounded up to 4 bytes, so never more than the section holds.
    const UINT stride = frame.bitsPerPixel / 8 * frame.width;
    if (FAILED(frame.source->CopyPixels(nullptr, stride, stride * frame.height, section.bytes.data()))) {
        throw LoadError("the picture is damaged");
    }
    return bitmap;
}

UniqueBitmap Decode(const wchar_t* path, std::uint64_t mostBytes) {
    // Must outlive every interface below.
    const ComApartment apartment;
    if (!apartment) {
        throw LoadError("COM is unavailable");
    }
    Frame frame;
    if (!path || FAILED(ReadFrame(path, frame))) {
        throw LoadError("not a picture that the system can decode");
    }
    RequireShowable(frame, mostBytes);
    return CopyFrame(frame);
}

}  // namespace

UniqueBitmap DecodeImageFile(const wchar_t* path, std::string& reason, std::uint64_t mostBytes) {
    UniqueBitmap bitmap;
    reason = FailureOf([&] { bitmap = Decode(path, mostBytes); });
    return bitmap;
}

}  // namespace pixelforge
