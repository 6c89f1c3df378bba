// From picture files to textures: the media step and its uploads against plain decoding and one upload each.
#include <windows.h>

#include <GL/glew.h>
#include <wincodec.h>
#include <wrl/client.h>

#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "base/win_handles.h"
#include "bench/paired_runner.h"
#include "media/document_media.h"
#include "render/channel_textures.h"
#include "render/gl_renderer.h"
#include "service/http_get.h"

namespace pixelforge::bench {
namespace {

using Microsoft::WRL::ComPtr;

constexpr UINT kSide = 2048;
constexpr std::uint32_t kPictures = 4;
constexpr double kLimit = 1.1;

struct Kind {
    const char* name;
    const GUID* container;
    const GUID* pixelFormat;
    UINT bytesPerPixel;
};

void Check(HRESULT result, const char* step) {
    if (FAILED(result)) {
        throw std::runtime_error(std::string(step) + " failed");
    }
}

ComPtr<IWICImagingFactory> NewFactory() {
    ComPtr<IWICImagingFactory> factory;
    Check(CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&factory)),
          "creating the imaging factory");
    return factory;
}

/// Gradients with some noise, so that the pictures do not compress too well.
std::vector<std::uint8_t> DrawPixels(UINT bytesPerPixel) {
    std::vector<std::uint8_t> pixels(std::size_t{kSide} * kSide * bytesPerPixel);
    std::uint32_t state = 1;
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        state = state * 1664525 + 1013904223;
        const std::size_t at = i / bytesPerPixel;
        pixels[i] = static_cast<std::uint8_t>((at % kSide >> 3) + (at / kSide >> 4) + (state >> 30));
    }
    return pixels;
}

void WritePicture(const std::wstring& path, const Kind& kind) {
    const auto factory = NewFactory();
    ComPtr<IWICStream> stream;
    Check(factory->CreateStream(&stream), "creating a stream");
    Check(stream->InitializeFromFilename(path.c_str(), GENERIC_WRITE), "creating a picture file");
    ComPtr<IWICBitmapEncoder> encoder;
    Check(factory->CreateEncoder(*kind.container, nullptr, &encoder), "creating an encoder");
    Check(encoder->Initialize(stream.Get(), WICBitmapEncoderNoCache), "initializing the encoder");
    ComPtr<IWICBitmapFrameEncode> frame;
    Check(encoder->CreateNewFrame(&frame, nullptr), "creating a frame");
    Check(frame->Initialize(nullptr), "initializing the frame");
    Check(frame->SetSize(kSide, kSide), "setting the frame size");
    WICPixelFormatGUID format = *kind.pixelFormat;
    Check(frame->SetPixelFormat(&format), "setting the pixel format");
    if (format != *kind.pixelFormat) {
        throw std::runtime_error("the encoder does not support the pixel format");
    }
    std::vector<std::uint8_t> pixels = DrawPixels(kind.bytesPerPixel);
    Check(frame->WritePixels(kSide, kSide * kind.bytesPerPixel, static_cast<UINT>(pixels.size()),
                             pixels.data()),
          "writing the pixels");
    Check(frame->Commit(), "committing the frame");
    Check(encoder->Commit(), "committing the picture");
}

/// Four picture files, deleted on destruction.
class PictureFiles {
public:
    explicit PictureFiles(const Kind& kind) {
        for (std::uint32_t i = 0; i < kPictures; ++i) {
            const std::wstring name = L"pixelforge-media-bench-" + std::to_wstring(GetCurrentProcessId()) +
                                      L"-" + std::to_wstring(i);
            paths_.push_back((std::filesystem::temp_directory_path() / name).wstring());
            WritePicture(paths_.back(), kind);
        }
    }
    ~PictureFiles() {
        for (const std::wstring& path : paths_) {
            DeleteFileW(path.c_str());
        }
    }
    PictureFiles(const PictureFiles&) = delete;
    PictureFiles& operator=(const PictureFiles&) = delete;

    const std::vector<std::wstring>& Paths() const { return paths_; }

private:
    std::vector<std::wstring> paths_;
};

/// What a load does between reading the document and compiling its programs.
void RunMediaStep(GlRenderer& renderer, const PictureFiles& files) {
    renderer.document.origin = DocumentOrigin::LocalFile;
    RenderPass& pass = renderer.document.passes[static_cast<std::size_t>(PassKind::Image)];
    pass = RenderPass{};
    pass.kind = PassKind::Image;
    for (std::uint32_t i = 0; i < kPictures; ++i) {
        pass.inputs[i].ctype = ChannelType::Texture;
        CopyCut(pass.inputs[i].src, files.Paths()[i]);
    }
    InternetSession offline;
    LoadDocumentMedia(&offline, renderer.document);
    for (std::uint32_t i = 0; i < kPictures; ++i) {
        if (!CreateChannelTexture(renderer, static_cast<std::uint32_t>(PassKind::Image), i)) {
            throw std::runtime_error("a channel has no texture");
        }
    }
    glFinish();
}

void DecodeAndUpload(const std::wstring& path, const Kind& kind, GLuint texture) {
    const auto factory = NewFactory();
    ComPtr<IWICBitmapDecoder> decoder;
    Check(factory->CreateDecoderFromFilename(path.c_str(), nullptr, GENERIC_READ,
                                             WICDecodeMetadataCacheOnLoad, &decoder),
          "opening a picture");
    ComPtr<IWICBitmapFrameDecode> frame;
    Check(decoder->GetFrame(0, &frame), "reading the frame");
    const UINT stride = kSide * kind.bytesPerPixel;
    const auto pixels = std::make_unique_for_overwrite<std::uint8_t[]>(std::size_t{stride} * kSide);
    Check(frame->CopyPixels(nullptr, stride, stride * kSide, pixels.get()), "decoding the pixels");
    const bool alpha = kind.bytesPerPixel == 4;
    glBindTexture(GL_TEXTURE_2D, texture);
    glTexImage2D(GL_TEXTURE_2D, 0, alpha ? GL_RGBA8 : GL_RGB8, kSide, kSide, 0, alpha ? GL_BGRA : GL_BGR,
                 GL_UNSIGNED_BYTE, pixels.get());
}

void RunPeer(const PictureFiles& files, const Kind& kind) {
    GLuint textures[kPictures];
    glGenTextures(kPictures, textures);
    for (std::uint32_t i = 0; i < kPictures; ++i) {
        DecodeAndUpload(files.Paths()[i], kind, textures[i]);
    }
    glFinish();
    glDeleteTextures(kPictures, textures);
}

void CompareAll(int rounds, Report& report) {
    const ComApartment apartment;
    const auto renderer = CreateGlRenderer(nullptr, 64, 48);
    if (!renderer || !renderer->glewReady) {
        throw std::runtime_error("no GL context");
    }
    const Kind kinds[] = {
        {"PNG, 32 bit", &GUID_ContainerFormatPng, &GUID_WICPixelFormat32bppBGRA, 4},
        {"PNG, 24 bit", &GUID_ContainerFormatPng, &GUID_WICPixelFormat24bppBGR, 3},
        {"BMP, 32 bit", &GUID_ContainerFormatBmp, &GUID_WICPixelFormat32bppBGR, 4},
        {"BMP, 24 bit", &GUID_ContainerFormatBmp, &GUID_WICPixelFormat24bppBGR, 3},
    };
    for (const Kind& kind : kinds) {
        const PictureFiles files(kind);
        const Side subject = {std::string("media step, 4 x ") + kind.name,
                              [&] { RunMediaStep(*renderer, files); }};
        const Side peer = {"CopyPixels and glTexImage2D", [&] { RunPeer(files, kind); }};
        report.Add(Compare(subject, peer, rounds, kLimit));
    }
}

}  // namespace
}  // namespace pixelforge::bench

int main(int argc, char** argv) {
    using namespace pixelforge::bench;
    return RunBench(argc, argv, 15, CompareAll);
}
