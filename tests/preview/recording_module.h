// A module that records its calls, and a live view of it that is driven step by step.
#pragma once

#include <gmock/gmock.h>
#include <windows.h>

#include <array>
#include <atomic>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/text.h"
#include "base/win_handles.h"
#include "module/controls.h"
#include "module/module_instance.h"
#include "preview/host/file_paths.h"
#include "preview/host/host_session.h"
#include "preview/view/live_view.h"

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
    const std::size_t frame = speeds.size() - 1;
    Record(!fits ? "draw in a window of another size" : context->levelOutput != 0 ? "draw levels" : "draw");
    drawnSize = {context->width, context->height};
    if (drawnSize.cx >= 500) {
        const GdiSelection bitmap(context->dc, context->bitmap);
        PatBlt(context->dc, 0, 0, drawnSize.cx, drawnSize.cy, WHITENESS);
        Sleep(5);  // for the graph of frame times
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

/// For this thread; 0: none. Every other key is toggled, as Caps Lock may be.
inline void HoldKey(std::size_t key, std::size_t other = 0) {
    std::array<BYTE, 256> keys = {};
    keys.fill(1);
    keys[key] = keys[other] = 0x80;
    SetKeyboardState(keys.data());
}

inline constexpr SIZE kViewSize = {1000, 300};

inline std::vector<std::uint8_t> PictureOf(HWND window) {
    const HostSurface picture(kViewSize.cx, kViewSize.cy);
    const GdiSelection bitmap(picture.DeviceContext(), picture.Bitmap());
    BitBlt(picture.DeviceContext(), 0, 0, kViewSize.cx, kViewSize.cy, WindowDc(window).Get(), 0, 0, SRCCOPY);
    std::vector<std::uint8_t> colors(picture.Pixels().bytes.begin(), picture.Pixels().bytes.end());
    for (std::size_t alpha = 3; alpha < colors.size(); alpha += 4) {
        colors[alpha] = 0;
    }
    return colors;
}

using Action = std::function<void(HWND)>;

/// What a user does in the live view, and what the user sees after some rounds of its loop.
struct Step {
    Action act;
    std::string seen;                      ///< see `LiveViewTest::Seen`
    std::optional<std::string> text = {};  ///< over the picture; or a pattern with " - frame " for the title
    int rounds = 4;
};

inline Action Key(WPARAM key, std::size_t held = 0, std::size_t other = 0) {
    return [=](HWND window) {
        HoldKey(held, other);
        PostMessageW(window, held == VK_MENU ? WM_SYSKEYDOWN : WM_KEYDOWN, key, 0);
    };
}

inline Action Wait(DWORD milliseconds) {
    return [=](HWND) { Sleep(milliseconds); };
}

/// A part of the shown panel: the one with this text, or one that follows it, as slider and field do.
inline HWND Part(const wchar_t* label, int next = 0) {
    HWND part = FindWindowExW(FindShown(true), nullptr, nullptr, label);
    for (; part && next > 0; --next) {
        part = GetWindow(part, GW_HWNDNEXT);
    }
    return part;
}

inline Action Click(const wchar_t* label) {
    return [=](HWND) { SendMessageW(Part(label), BM_CLICK, 0, 0); };
}

class LiveViewTest : public testing::Test {
protected:
    LiveViewTest() {
        calls.clear();
        speeds.clear();
        results.clear();
        SetCursorPos(GetSystemMetrics(SM_CXSCREEN), GetSystemMetrics(SM_CYSCREEN));  // no tool tip
    }
    ~LiveViewTest() override { HoldKey(0); }

    /// The module's calls since the previous step; "graph" if it has bars; in brackets the panel's count of
    /// tiles across, and the texts of messages and notice; "clock" if the speed follows it; the staged line
    /// of a playlist.
    std::string Seen(HWND window) const {
        std::string seen;
        for (auto call = calls.begin(); call != calls.end();) {
            const auto end = std::find_if(call, calls.end(), [&](auto& other) { return other != *call; });
            seen += *call + (end - call > 1 ? "*" + std::to_string(end - call) : "") + " ";
            call = end;
        }
        calls.clear();
        const auto blue = GetBValue(GetPixel(WindowDc(window).Get(), kViewSize.cx - 13, kViewSize.cy - 13));
        seen += blue == 120 || blue == 60 || blue == 70 ? "graph " : "";  // of a green, amber or red bar
        std::vector<HWND> texts = {Part(L"X Tiling", 2)};
        for (HWND text = nullptr; (text = FindWindowExW(window, text, L"RICHEDIT50W", nullptr)) != nullptr;) {
            texts.push_back(text);
        }
        for (const HWND text : texts) {
            wchar_t content[160] = {};
            GetWindowTextW(text, content, 160);
            seen += IsWindowVisible(text) ? "[" + WithoutControls(content) + "] " : "";
        }
        seen +=
            SendMessageW(Part(L"Speed follows the clock"), BM_GETCHECK, 0, 0) == BST_CHECKED ? "clock " : "";
        return seen + (staged_ ? ReadInputFile(staged_->Path()).substr(0, 1) : "");
    }

    /// Runs the steps, then closes the window.
    void Run(const std::vector<Step>& steps) {
        std::vector<std::vector<std::uint8_t>> pictures;
        {
            ViewWindow view({.size = kViewSize});
            const std::vector<std::uint8_t> white(kViewSize.cx * kViewSize.cy * 4, 0xFF);
            view.ShowPicture({white, kViewSize.cx, kViewSize.cy});
            for (const Step& step : steps) {
                view.ShowText(FromUtf8(step.text.value_or("")));
                UpdateWindow(view.Frame().Handle());
                pictures.push_back(PictureOf(view.Frame().Handle()));
            }
        }
        std::size_t next = 0;
        int rounds = 1;
        std::atomic<bool> stop = false;
        options_.stop = &stop;
        options_.sourceChanged = [&] {
            if (--rounds > 0) {
                return false;
            }
            const HWND window = FindShown();
            if (next > 0 && next <= steps.size()) {
                const auto& [act, seen, text, waited] = steps[next - 1];
                EXPECT_EQ(Seen(window), seen) << "step " << next;
                if (text && text->find(" - frame ") != text->npos) {
                    wchar_t title[160] = {};
                    GetWindowTextW(window, title, 160);
                    EXPECT_THAT(ToUtf8(title),
                                testing::MatchesRegex(*text + " - Pixelforge preview .F1: keys."));
                    EXPECT_EQ(ToUtf8(title).find(" 0.0 "), std::string::npos);
                } else if (text) {
                    EXPECT_TRUE(PictureOf(window) == pictures[next - 1]) << "step " << next << ": " << *text;
                }
            }
            stop = next > steps.size();
            EXPECT_FALSE(stop) << "closing ends the view";
            const Action close = [](HWND view) { PostMessageW(view, WM_CLOSE, 0, 0); };
            const Step step = next < steps.size() ? steps[next] : Step{close, {}};
            rounds = step.rounds;
            step.act(window);
            ++next;
            return std::exchange(changed_, false);
        };
        RunLiveView(kModule, options_);
        EXPECT_EQ(calls.end()[-2] + ", " + calls.back(), "clean up, destroy");
    }

    const std::string opened_ = "describe build pre-initialize initialize ";
    const std::string reloaded_ = "draw initialize draw*3 ";
    const std::string refitted_ = "draw pre-initialize initialize draw*3 ";
    std::vector<std::string> messages_;  ///< of a load
    bool changed_ = false;               ///< the shader's file
    const StagedShader* staged_ = nullptr;
    LiveViewOptions options_ = {
        .state = {.size = kViewSize, .settings = {{"Info Time", "0"}}},
        .name = "dir/a.glsl",
        .command = "c",
        .takeMessages = [this](bool load) { return load ? messages_ : std::vector<std::string>(); }};
};

}  // namespace pixelforge::preview
