// Keys and mouse through real window messages, and restoring the window's procedure.
#include "render/window_input.h"

#include <gtest/gtest.h>

#include "tests/render/gl_stage.h"

namespace pixelforge::test {
namespace {

using WindowInput = StageTest;

LONG_PTR ProcedureOf(const preview::HostWindow& window) {
    return GetWindowLongPtrW(window.Handle(), GWLP_WNDPROC);
}

LONG_PTR PropertyOf(const preview::HostWindow& window) {
    return reinterpret_cast<LONG_PTR>(GetPropW(window.Handle(), L"OriginalWndProc"));
}

/// Shows held, pressed and toggled of the keys A and B in the first two columns.
void LoadKeyboardImage(Stage& stage, const std::string& filter = "nearest") {
    stage.LoadImage(
        "ivec2 k = ivec2(65 + int(p.x), 0);"
        "c = vec4(texelFetch(iChannel2, k, 0).x, texelFetch(iChannel2, k + ivec2(0, 1), 0).x,"
        "texture(iChannel2, vec2(float(k.x) + 0.5, 2.5) / vec2(256.0, 3.0)).x, 1.0);",
        {{.channel = 2, .ctype = "keyboard", .filter = filter}});
    ASSERT_TRUE(stage.Build()) << stage.Reason();
}

TEST_F(WindowInput, KeysReachEveryRenderer) {
    Stage other;
    LoadKeyboardImage(stage_);
    LoadKeyboardImage(other, "mipmap");
    const struct {
        UINT message;
        WPARAM key;
        Color a;
        Color b;
    } steps[] = {
        {WM_NULL, 0, {0, 0, 0, 255}, {0, 0, 0, 255}},
        {WM_KEYDOWN, 'A', {255, 255, 255, 255}, {0, 0, 0, 255}},
        {WM_KEYDOWN, 'A', {255, 255, 0, 255}, {0, 0, 0, 255}},
        {WM_KEYDOWN, 'B', {255, 255, 0, 255}, {255, 255, 255, 255}},
        {WM_KEYUP, 'A', {0, 0, 0, 255}, {255, 255, 255, 255}},
        {WM_KEYUP, 'B', {0, 0, 0, 255}, {0, 0, 255, 255}},
    };
    for (const auto& step : steps) {
        SendMessageW(stage_.Window().Handle(), step.message, step.key, 0);
        for (Stage* each : {&stage_, &other}) {
            const Picture picture = each->Frame();
            EXPECT_EQ(picture.At(0, 5), step.a) << "step " << &step - steps;
            EXPECT_EQ(picture.At(1, 5), step.b) << "step " << &step - steps;
        }
    }
    Stage late;
    LoadKeyboardImage(late);
    EXPECT_EQ(late.Frame().At(1, 5), (Color{0, 0, 255, 255})) << "a later renderer sees the current state";
    SendMessageW(stage_.Window().Handle(), WM_KEYDOWN, 'B', 0);  // no toggled key is left
    SendMessageW(stage_.Window().Handle(), WM_KEYUP, 'B', 0);
}

TEST_F(WindowInput, TheMouseReachesTheShader) {
    const DocumentBuilder document =
        DocumentBuilder()
            .Common("uniform vec4 mouse;")
            .Image(Body("c = mouse == iMouse ? (iMouse + 128.0) / 255.0 : vec4(1.0);"));
    ASSERT_TRUE(stage_.Load(document).Build()) << stage_.Reason();
    const auto send = [this](UINT message, int x, int y) {
        SendMessageW(stage_.Window().Handle(), message, 0, MAKELPARAM(x, y));
    };
    // Positions count from the lower left. z and w hold the click's position: negative while the button is
    // up, and w positive only in the click's first frame.
    const struct {
        UINT message;
        int x;
        int y;
        int mouse[4];
    } steps[] = {
        {WM_LBUTTONDOWN, 20, 0, {20, 48, 20, 48}},  {WM_NULL, 0, 0, {20, 48, 20, -48}},
        {WM_MOUSEMOVE, 30, 18, {30, 30, 20, -48}},  {WM_MOUSEMOVE, -7, -20, {-7, 68, 20, -48}},
        {WM_LBUTTONUP, 31, 19, {-7, 68, -20, -48}}, {WM_MOUSEMOVE, 1, 1, {-7, 68, -20, -48}},
    };
    for (const auto& [message, x, y, mouse] : steps) {
        send(message, x, y);
        EXPECT_EQ(stage_.Frame().At(0, 0),
                  (Color{mouse[0] + 128, mouse[1] + 128, mouse[2] + 128, mouse[3] + 128}))
            << "message " << message << " at " << x << ", " << y;
    }
    send(WM_LBUTTONDOWN, 10, 28);
    send(WM_LBUTTONUP, 10, 28);
    EXPECT_EQ(stage_.Frame().At(0, 0), (Color{138, 148, 118, 108})) << "released between two frames";
    send(WM_LBUTTONDOWN, 10, 28);
    Stage late;
    EXPECT_EQ(late.Load(document).Show().At(0, 0), (Color{138, 148, 138, 108})) << "no click of its own";
    send(WM_LBUTTONUP, 10, 28);
}

TEST(WindowSubclass, TheLastUserRestoresTheProcedure) {
    const WNDPROC procedure = [](HWND window, UINT message, WPARAM w, LPARAM l) -> LRESULT {
        return message == WM_APP ? 77 : DefWindowProcW(window, message, w, l);
    };
    const preview::HostWindow first(64, 48, {.procedure = procedure});
    const preview::HostWindow second(64, 48);
    const LONG_PTR original = ProcedureOf(first);
    const LONG_PTR originalOfSecond = ProcedureOf(second);
    HeapRecord<GlRenderer> renderer = CreateGlRenderer(first.Handle(), 64, 48);
    const LONG_PTR ours = ProcedureOf(first);
    EXPECT_NE(ours, original);
    EXPECT_EQ(SendMessageW(first.Handle(), WM_APP, 0, 0), 77) << "the window's own procedure still runs";
    ASSERT_TRUE(AttachWindowInput(first.Handle()));
    ASSERT_TRUE(AttachWindowInput(second.Handle()));
    EXPECT_EQ(PropertyOf(first), original);

    DestroyGlRenderer(std::move(renderer));
    EXPECT_EQ(ProcedureOf(first), ours);
    DetachWindowInput(first.Handle());
    EXPECT_EQ(ProcedureOf(first), original);
    EXPECT_EQ(PropertyOf(first), 0);
    EXPECT_EQ(ProcedureOf(second), ours);
    DetachWindowInput(first.Handle());
    DetachWindowInput(second.Handle());
    EXPECT_EQ(ProcedureOf(second), originalOfSecond);

    const HWND gone = preview::HostWindow(8, 8).Handle();
    EXPECT_FALSE(AttachWindowInput(gone));
    DetachWindowInput(gone);
}

TEST(WindowSubclass, TheSubclassOfAnotherCopyStays) {
    const preview::HostWindow window(64, 48);
    const LONG_PTR procedure = ProcedureOf(window);
    SetPropW(window.Handle(), L"OriginalWndProc", reinterpret_cast<HANDLE>(procedure));
    ASSERT_TRUE(AttachWindowInput(window.Handle()));
    EXPECT_EQ(ProcedureOf(window), procedure);
    DetachWindowInput(window.Handle());
    EXPECT_EQ(PropertyOf(window), procedure);
    RemovePropW(window.Handle(), L"OriginalWndProc");
}

TEST(WindowSubclass, AnotherSubclassOnTopStays) {
    const preview::HostWindow bare(64, 48);
    const preview::HostWindow covered(64, 48);
    const preview::HostWindow detached(64, 48);
    const LONG_PTR original = ProcedureOf(bare);
    for (const preview::HostWindow* window : {&bare, &bare, &covered, &detached}) {
        ASSERT_TRUE(AttachWindowInput(window->Handle()));
    }
    static WNDPROC below = nullptr;
    const WNDPROC above = [](HWND window, UINT message, WPARAM w, LPARAM l) -> LRESULT {
        return CallWindowProcW(below, window, message, w, l);
    };
    for (const preview::HostWindow* window : {&covered, &detached}) {
        below = reinterpret_cast<WNDPROC>(
            SetWindowLongPtrW(window->Handle(), GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(above)));
    }
    DetachWindowInput(detached.Handle());
    RestoreAllWindows();
    EXPECT_EQ(ProcedureOf(bare), original);
    EXPECT_EQ(PropertyOf(bare), 0);
    for (const preview::HostWindow* window : {&covered, &detached}) {
        EXPECT_EQ(ProcedureOf(*window), reinterpret_cast<LONG_PTR>(above));
        EXPECT_EQ(PropertyOf(*window), original) << "the subclass below the other one still needs it";
    }
}

}  // namespace
}  // namespace pixelforge::test
