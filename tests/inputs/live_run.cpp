// Runs with devices that are none.
#include "tests/inputs/live_run.h"

#include "tests/support/document_builder.h"

namespace pixelforge::test {
namespace {

constexpr DWORD kFrameMilliseconds = 20;

long Ask(const wchar_t* library, const char* function) {
    const HMODULE module = GetModuleHandleW(library);
    if (!module)
        return 0;
    return reinterpret_cast<long (*)()>(reinterpret_cast<void (*)()>(GetProcAddress(module, function)))();
}

preview::ShaderDrop Drop(const std::string& document) {
    return preview::ShaderDrop::OfDocument(
        {reinterpret_cast<const std::uint8_t*>(document.data()), document.size()});
}

}  // namespace

void SetSound(const std::string& settings) {
    SetEnvironmentVariableA("PIXELFORGE_SOUND", settings.c_str());
}

void SetCamera(const std::string& settings) {
    SetEnvironmentVariableA("PIXELFORGE_CAMERA", settings.c_str());
}

long SoundObjects() {
    return Ask(L"sound_double.dll", "SoundDoubleObjects");
}

long CameraObjects() {
    return Ask(L"camera_double.dll", "CameraDoubleObjects");
}

long SoundCalls() {
    return Ask(L"sound_double.dll", "SoundDoubleCalls");
}

LiveRun::LiveRun(const std::string& document, std::int32_t width, std::int32_t height)
    : drop_(Drop(document)) {
    preview::SessionOptions options;
    options.width = width;
    options.height = height;
    options.playlistName = drop_.PlaylistName();
    session_ = std::make_unique<preview::HostSession>(library_, options);
    session_->Open();
}

bool LiveRun::DrawUntil(const std::function<bool()>& seen, DWORD milliseconds) {
    const ULONGLONG end = GetTickCount64() + milliseconds;
    do {
        if (Frame() != FrameResult::Drawn)
            return false;
        if (seen())
            return true;
        Sleep(kFrameMilliseconds);
    } while (GetTickCount64() < end);
    return false;
}

bool LiveRun::DrawFor(DWORD milliseconds) {
    const ULONGLONG end = GetTickCount64() + milliseconds;
    do {
        if (Frame() != FrameResult::Drawn)
            return false;
        Sleep(kFrameMilliseconds);
    } while (GetTickCount64() < end);
    return true;
}

std::uint32_t LiveRun::Pixel(std::int32_t x, std::int32_t y) const {
    const preview::FramePixels pixels = session_->Pixels();
    return pixels.At(x, pixels.height - 1 - y) & 0xFFFFFF;
}

std::vector<int> LiveRun::Row(std::int32_t y) const {
    std::vector<int> levels;
    for (std::int32_t x = 0; x < session_->Pixels().width; ++x)
        levels.push_back(static_cast<int>(Pixel(x, y) >> 16));
    return levels;
}

std::string SoundDocument() {
    return DocumentBuilder()
        .Image(MainImage("c = vec4(texelFetch(iChannel0, ivec2(p), 0).x);"),
               {{.channel = 0, .ctype = "music"}})
        .Json();
}

}  // namespace pixelforge::test
