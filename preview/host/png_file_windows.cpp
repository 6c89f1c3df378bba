// Encodes frames with the Windows Imaging Component.
#include "preview/host/png_file.h"

#include <windows.h>

#include <wincodec.h>
#include <wrl/client.h>

#include <cstdio>
#include <vector>

#include "base/win_handles.h"
#include "preview/host/file_paths.h"
#include "preview/host/host_error.h"

namespace pixelforge::preview {
namespace {

using Microsoft::WRL::ComPtr;

void Check(HRESULT result, const char* step) {
    if (FAILED(result)) {
        char code[16];
        std::snprintf(code, sizeof code, "0x%08lX", static_cast<unsigned long>(result));
        throw HostError(ExitStatus::Failed, std::string("cannot make the PNG: ") + step + ", " + code);
    }
}

ComPtr<IWICBitmapEncoder> MakeEncoder(IWICImagingFactory& factory, IStream* target) {
    ComPtr<IWICBitmapEncoder> encoder;
    Check(factory.CreateEncoder(GUID_ContainerFormatPng, nullptr, &encoder), "encoder");
    Check(encoder->Initialize(target, WICBitmapEncoderNoCache), "target");
    return encoder;
}

void EncodeFrame(IWICBitmapEncoder& encoder, const FramePixels& pixels) {
    ComPtr<IWICBitmapFrameEncode> frame;
    Check(encoder.CreateNewFrame(&frame, nullptr), "frame");
    Check(frame->Initialize(nullptr), "frame set-up");
    const auto width = static_cast<UINT>(pixels.width);
    const auto height = static_cast<UINT>(pixels.height);
    Check(frame->SetSize(width, height), "size");
    WICPixelFormatGUID format = GUID_WICPixelFormat24bppBGR;
    Check(frame->SetPixelFormat(&format), "pixel format");
    std::vector<std::uint8_t> rows = OpaqueRowsFromTop(pixels);
    Check(frame->WritePixels(height, width * 3, static_cast<UINT>(rows.size()), rows.data()), "pixels");
    Check(frame->Commit(), "end of frame");
    Check(encoder.Commit(), "end");
}

std::vector<std::uint8_t> StreamBytes(IStream* stream) {
    STATSTG facts{};
    Check(stream->Stat(&facts, STATFLAG_NONAME), "length");
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(facts.cbSize.QuadPart));
    Check(stream->Seek({}, STREAM_SEEK_SET, nullptr), "rewind");
    ULONG got = 0;
    Check(stream->Read(bytes.data(), static_cast<ULONG>(bytes.size()), &got), "read-back");
    bytes.resize(got);
    return bytes;
}

}  // namespace

void WritePng(const std::wstring& absolutePath, const FramePixels& pixels) {
    const ComApartment apartment;
    ComPtr<IWICImagingFactory> factory;
    Check(CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&factory)),
          "imaging component");
    // In memory first: the file is then written in one go, also at a path longer than the encoder takes.
    ComPtr<IStream> memory;
    Check(CreateStreamOnHGlobal(nullptr, TRUE, &memory), "memory");
    const auto encoder = MakeEncoder(*factory.Get(), memory.Get());
    EncodeFrame(*encoder.Get(), pixels);
    WriteOutputFile(absolutePath, StreamBytes(memory.Get()));
}

}  // namespace pixelforge::preview
