// A minimal host: draws 60 frames of a playlist into a bitmap and prints the colour of the middle pixel.
// Usage: host PLAYLIST, a file name in D:\Moonreel\Pixelforge\Playlists; Pixelforge.dll is beside this
// program.
#include <windows.h>

#include <cstdio>
#include <deque>
#include <iterator>
#include <string>

#include "host_abi.h"

using namespace pixelforge;

template <class Function>
Function Export(HMODULE module, const char* name) {
    return reinterpret_cast<Function>(reinterpret_cast<void (*)()>(GetProcAddress(module, name)));
}

// The host owns the records; their addresses must not change while the instance lives.
ControlRecord* AllocateControlRecord(void* records) {
    return &static_cast<std::deque<ControlRecord>*>(records)->emplace_back();
}

int main(int count, char** arguments) {
    const HMODULE module = LoadLibraryW(L"Pixelforge.dll");
    if (count != 2 || !module) {
        return 2;
    }
    const auto build = Export<ModuleBuildControlStructureFunction>(module, "ModuleBuildControlStructure");
    const auto prepare = Export<ModulePreInitializeFunction>(module, "ModulePreInitialize");
    const auto initialize = Export<ModuleInitializeFunction>(module, "ModuleInitialize");
    const auto draw = Export<ModuleDrawFrameFunction>(module, "ModuleDrawFrame");
    const auto cleanUp = Export<ModuleCleanUpFunction>(module, "ModuleCleanUp");
    const auto destroy =
        Export<ModuleDestroyControlStructureFunction>(module, "ModuleDestroyControlStructure");

    DrawContext context = {};
    context.levelDivisor = 256;
    context.width = 640;
    context.height = 360;
    BITMAPINFO format = {};
    format.bmiHeader.biSize = sizeof format.bmiHeader;
    format.bmiHeader.biWidth = context.width;
    format.bmiHeader.biHeight = context.height;  // positive: the bottom row first
    format.bmiHeader.biPlanes = 1;
    format.bmiHeader.biBitCount = 32;
    void* pixels = nullptr;
    context.bitmap = CreateDIBSection(nullptr, &format, DIB_RGB_COLORS, &pixels, nullptr, 0);
    context.dc = CreateCompatibleDC(nullptr);
    context.window =
        CreateWindowW(L"STATIC", L"", WS_POPUP, 0, 0, 640, 360, nullptr, nullptr, nullptr, nullptr);
    context.infoTextCallback = [](const wchar_t*) {};  // rich text about the shader

    ModuleInstance* instance = nullptr;
    std::deque<ControlRecord> controls;
    build(&instance, nullptr, AllocateControlRecord, &controls);
    for (ControlRecord& control : controls) {
        if (control.kind == ControlKind::FileList) {  // "Playlist File(s)", the only one
            std::swprintf(control.files.fileName, std::size(control.files.fileName), L"%hs", arguments[1]);
        }
    }
    prepare(instance, &context);
    initialize(instance, &context);
    auto result = FrameResult::Failed;
    for (int frame = 0; frame < 60; ++frame) {
        result = static_cast<FrameResult>(draw(instance, &context));
        if (result == FrameResult::ResetWanted) {
            initialize(instance, &context);
        }
    }
    const int middle = context.height / 2 * context.width + context.width / 2;
    std::printf("%06lx\n", static_cast<DWORD*>(pixels)[middle] & 0xFFFFFF);
    cleanUp(instance);
    destroy(instance);
    FreeLibrary(module);
    return result == FrameResult::Drawn ? 0 : 1;
}
