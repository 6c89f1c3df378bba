// Keys and mouse through real window messages, and the window's procedure put back.
#include "render/window_input.h"

#include <gtest/gtest.h>

#include "tests/render/gl_stage.h"

namespace pixelforge::test {
namespace {

using WindowInput = StageTest;

LONG_PTR ProcedureOf(const HiddenTestWindow& window) {
    return GetWindowLongPtrW(window.Get(), GWLP_WNDPROC);
}

HANDLE PropertyOf(const HiddenTestWindow& window) {
    return GetPropW(window.Get(), L"OriginalWndProc");
}

/// Held, pressed and toggled of the keys A and B in the first two columns.
void AddKeyboardImage(Stage& stage, std::uint32_t filter = kFilterNearest) {
    stage.Body(PassKind::Image,
               "ivec2 k = ivec2(65 + int(p.x), 0);"
               "c = vec4(texelFetch(iChannel2, k, 0).x, texelFetch(iChannel2, k + ivec2(0, 1), 0).x,"
               "texture(iChannel2, vec2(float(k.x) + 0.5, 2.5) / vec2(256.0, 3.0)).x, 1.0);",
               {{2, ChannelType::Keyboard, PassKind::Other, filter}});
    ASSERT_TRUE(stage.Build()) << stage.Reason();
}

TEST_F(WindowInput, KeysReachEveryRenderer) {
    const HiddenTestWindow otherWindow(64, 48);
    Stage other(otherWindow.Get());
    AddKeyboardImage(stage_);
    AddKeyboardImage(other, kFilterMipmap);
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
        SendMessageW(window_.Get(), step.message, step.key, 0);
        for (Stage* each : {&stage_, &other}) {
            const Picture picture = each->Frame();
            EXPECT_EQ(picture.At(0, 5), step.a) << "step " << &step - steps;
            EXPECT_EQ(picture.At(1, 5), step.b) << "step " << &step - steps;
        }
    }
    // A renderer that comes later sees the keys as they are.
    const HiddenTestWindow lateWindow(64, 48);
    Stage late(lateWindow.Get());
    AddKeyboardImage(late);
    EXPECT_EQ(late.Frame().At(1, 5), (Color{0, 0, 255, 255}));
}

TEST_F(WindowInput, TheMouseReachesTheShader) {
    stage_.Pass(PassKind::Image,
                "uniform vec4 mouse;\n"
                "void mainImage(out vec4 c, in vec2 p) {\n"
                "    c = mouse == iMouse ? vec4(iMouse.xy, iMouse.zw + 128.0) / 255.0 : vec4(1.0); }\n");
    ASSERT_TRUE(stage_.Build()) << stage_.Reason();
    const struct {
        UINT message;
        int x;
        int y;
        Color seen;
    } steps[] = {
        {WM_MOUSEMOVE, 7, 7, {0, 0, 128, 128}},    {WM_LBUTTONDOWN, 20, 0, {20, 48, 148, 176}},
        {WM_NULL, 0, 0, {20, 48, 148, 80}},        {WM_MOUSEMOVE, 30, 18, {30, 30, 148, 80}},
        {WM_LBUTTONUP, 31, 19, {30, 30, 108, 80}}, {WM_MOUSEMOVE, 1, 1, {30, 30, 108, 80}},
    };
    for (const auto& step : steps) {
        SendMessageW(window_.Get(), step.message, 0, MAKELPARAM(step.x, step.y));
        EXPECT_EQ(stage_.Frame().At(0, 0), step.seen) << "step " << &step - steps;
    }
}

TEST(WindowSubclass, TheLastUserOfAWindowPutsItsProcedureBack) {
    const HiddenTestWindow first(64, 48);
    const HiddenTestWindow second(64, 48);
    const LONG_PTR original = ProcedureOf(first);
    HeapRecord<GlRenderer> renderer = CreateGlRenderer(first.Get(), 64, 48);
    const LONG_PTR ours = ProcedureOf(first);
    EXPECT_NE(ours, original);
    EXPECT_EQ(SendMessageW(first.Get(), WM_GETDLGCODE, 0, 0), DLGC_STATIC) << "the window still answers";
    ASSERT_TRUE(AttachWindowInput(first.Get()));
    ASSERT_TRUE(AttachWindowInput(second.Get()));
    EXPECT_EQ(reinterpret_cast<LONG_PTR>(PropertyOf(first)), original);

    DestroyGlRenderer(std::move(renderer));
    EXPECT_EQ(ProcedureOf(first), ours);
    DetachWindowInput(first.Get());
    EXPECT_EQ(ProcedureOf(first), original);
    EXPECT_EQ(PropertyOf(first), nullptr);
    EXPECT_EQ(ProcedureOf(second), ours);
    DetachWindowInput(first.Get());
    DetachWindowInput(second.Get());
    EXPECT_EQ(ProcedureOf(second), original);

    HiddenTestWindow gone(8, 8);
    const HWND handle = gone.Get();
    gone.Destroy();
    EXPECT_FALSE(AttachWindowInput(handle));
    DetachWindowInput(handle);
}

TEST(WindowSubclass, ThatOfAnotherCopyIsLeftInPlace) {
    const HiddenTestWindow window(64, 48);
    const LONG_PTR procedure = ProcedureOf(window);
    SetPropW(window.Get(), L"OriginalWndProc", reinterpret_cast<HANDLE>(procedure));
    ASSERT_TRUE(AttachWindowInput(window.Get()));
    EXPECT_EQ(ProcedureOf(window), procedure);
    DetachWindowInput(window.Get());
    EXPECT_EQ(reinterpret_cast<LONG_PTR>(PropertyOf(window)), procedure);
    RemovePropW(window.Get(), L"OriginalWndProc");
}

}  // namespace
}  // namespace pixelforge::test
