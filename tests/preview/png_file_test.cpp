// Pictures written and decoded again.
#include "preview/png_file.h"

#include <wincodec.h>
#include <wrl/client.h>

#include <gmock/gmock.h>

#include "preview/file_paths.h"
#include "tests/support/temp_file.h"

namespace pixelforge::preview {
namespace {

using Microsoft::WRL::ComPtr;
using testing::ElementsAre;

/// The first frame's rows as blue, green, red bytes without padding; empty when it cannot be decoded.
std::vector<std::uint8_t> Decode(const std::wstring& path, UINT width, UINT height) {
    ComPtr<IWICImagingFactory> factory;
    ComPtr<IWICBitmapDecoder> decoder;
    ComPtr<IWICBitmapFrameDecode> frame;
    ComPtr<IWICBitmapSource> pixels;
    std::vector<std::uint8_t> rows(std::size_t{width} * height * 3);
    const bool decoded =
        SUCCEEDED(CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER,
                                   IID_PPV_ARGS(&factory))) &&
        SUCCEEDED(factory->CreateDecoderFromFilename(path.c_str(), nullptr, GENERIC_READ,
                                                     WICDecodeMetadataCacheOnLoad, &decoder)) &&
        SUCCEEDED(decoder->GetFrame(0, &frame)) &&
        SUCCEEDED(WICConvertBitmapSource(GUID_WICPixelFormat24bppBGR, frame.Get(), &pixels)) &&
        SUCCEEDED(pixels->CopyPixels(nullptr, width * 3, static_cast<UINT>(rows.size()), rows.data()));
    return decoded ? rows : std::vector<std::uint8_t>();
}

TEST(PngFile, ShowsTheFrameTheRightWayUp) {
    const std::uint8_t bytes[] = {1, 2, 3, 0, 5, 6, 7, 0, 11, 12, 13, 0, 15, 16, 17, 0};
    const test::TempFile file("old content", L".png");
    WritePng(file.Path(), {.bytes = bytes, .width = 2, .height = 2, .bottomUp = true});
    ASSERT_TRUE(SUCCEEDED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)));
    EXPECT_THAT(Decode(file.Path(), 2, 2), ElementsAre(11, 12, 13, 15, 16, 17, 1, 2, 3, 5, 6, 7));
    CoUninitialize();
}

}  // namespace
}  // namespace pixelforge::preview
