// A module that records its calls, and held keys.
#pragma once

#include <windows.h>

#include <algorithm>
#include <array>
#include <string>
#include <utility>
#include <vector>

#include "base/win_handles.h"
#include "module/controls.h"
#include "module/module_instance.h"
#include "preview/host/host_session.h"

namespace pixelforge::preview {

inline std::vector<std::string> calls;
inline std::vector<FrameResult> results;  ///< one per call of "draw"; `Drawn` after the last
inline SIZE drawnSize = {};
inline std::vector<float> speeds;  ///< at each call of "draw"

inline std::int32_t Record(const char* call) {
    calls.emplace_back(call);
    return 1;
}

inline std::int32_t Build(ModuleInstance** instance, void*, AllocateControl allocate, void* hostContext) {
    static ModuleInstance controlled;
    *instance = &controlled;
    BuildControls(controlled, allocate, hostContext);
    return Record("build");
}

inline std::int32_t Draw(ModuleInstance* instance, DrawContext* context) {
    speeds.push_back(DecimalValue(*instance, control::kSpeed));
    RECT client = {};
    GetClientRect(context->window, &client);
    context->infoTextCallback(
        LR"(\cf2 Shader: \cf3{\field{\*\fldinst HYPERLINK "s"}{\fldrslt n}}\line \cf2 Author: )"
        LR"(\cf3{\field{\*\fldinst HYPERLINK "a"}{\fldrslt u}}\line \cf2 Description: d\par})");
    const bool fits = client.right == context->width && client.bottom == context->height;
    const auto frame = static_cast<std::size_t>(std::ranges::count(calls, "draw"));
    Record(fits ? "draw" : "draw in a window of another size");
    drawnSize = {context->width, context->height};
    if (drawnSize.cx == 240) {
        const GdiSelection bitmap(context->dc, context->bitmap);
        SetPixel(context->dc, 0, 0, RGB(255, 255, 255));
    }
    return static_cast<std::int32_t>(frame < results.size() ? results[frame] : FrameResult::Drawn);
}

inline const ModuleFunctions kModule = {
    .getDescription = [](ModuleDescription*) { return Record("describe"); },
    .buildControlStructure = Build,
    .preInitialize = [](ModuleInstance*, DrawContext*) { return Record("pre-initialize"); },
    .initialize = [](ModuleInstance*, DrawContext*) { return Record("initialize"); },
    .drawFrame = Draw,
    .cleanUp = [](ModuleInstance*) { return Record("clean up"); },
    .destroyControlStructure = [](ModuleInstance*) { return Record("destroy"); }};

/// This thread's visible window that has an owner, or that has none. Another program may have the focus.
inline HWND FindShown(bool owned = false) {
    std::pair search(owned, HWND());
    const auto look = [](HWND window, LPARAM parameter) -> BOOL {
        auto& [wanted, found] = *reinterpret_cast<decltype(search)*>(parameter);
        const bool fits = IsWindowVisible(window) && (GetWindow(window, GW_OWNER) != nullptr) == wanted;
        found = fits ? window : found;
        return !fits;
    };
    EnumThreadWindows(GetCurrentThreadId(), look, reinterpret_cast<LPARAM>(&search));
    return search.second;
}

/// For this thread; 0: none.
inline void HoldKey(std::size_t key) {
    std::array<BYTE, 256> keys = {};
    keys[key] = 0x80;
    SetKeyboardState(keys.data());
}

inline constexpr WPARAM kWithShift = VK_SHIFT << 8;
inline constexpr WPARAM kWithControl = VK_CONTROL << 8;

}  // namespace pixelforge::preview
