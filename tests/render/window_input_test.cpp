// Keys and mouse through real window messages, and restoring the window's procedure.
#include "render/window_input.h"

#include <chrono>
#include <future>
#include <tuple>
#include <utility>

#include "tests/render/gl_stage.h"

namespace pixelforge::test {
namespace {

using WindowInput = StageTest;

/// The window's procedure, and the one that its property keeps.
std::pair<LONG_PTR, LONG_PTR> SubclassOf(const preview::HostWindow& window) {
    return {GetWindowLongPtrW(window.Handle(), GWLP_WNDPROC),
            reinterpret_cast<LONG_PTR>(GetPropW(window.Handle(), L"OriginalWndProc"))};
}

/// A host's own procedure.
LRESULT CALLBACK HostProcedure(HWND window, UINT message, WPARAM w, LPARAM l) {
    return message == WM_APP ? 77 : DefWindowProcW(window, message, w, l);
}

/// Shows held, pressed and toggled of the keys A and B in the first two columns.
constexpr const char* kKeys =
    "ivec2 k = ivec2(65 + int(p.x), 0);"
    "c = vec4(texelFetch(iChannel2, k, 0).x, texelFetch(iChannel2, k + ivec2(0, 1), 0).x,"
    "texture(iChannel2, vec2(float(k.x) + 0.5, 2.5) / vec2(256.0, 3.0)).x, 1.0);";

TEST_F(WindowInput, KeysReachEveryRenderer) {
    Stage other;
    const std::vector<Input> keyboard = {{.channel = 2, .ctype = "keyboard"}};
    stage_.LoadImage(kKeys, keyboard).Start();
    other.LoadImage(kKeys, {{.channel = 2, .ctype = "keyboard", .filter = "mipmap"}}).Start();
    const std::tuple<UINT, WPARAM, Color, Color> steps[] = {
        {WM_NULL, 0, {0, 0, 0, 255}, {0, 0, 0, 255}},
        {WM_KEYDOWN, 'A', {255, 255, 255, 255}, {0, 0, 0, 255}},
        {WM_KEYDOWN, 'A', {255, 255, 0, 255}, {0, 0, 0, 255}},
        {WM_KEYDOWN, 'B', {255, 255, 0, 255}, {255, 255, 255, 255}},
        {WM_KEYDOWN, 256, {255, 255, 0, 255}, {255, 255, 255, 255}},  // no key
        {WM_KEYUP, 256, {255, 255, 0, 255}, {255, 255, 255, 255}},
        {WM_KEYUP, 'A', {0, 0, 0, 255}, {255, 255, 255, 255}},
        {WM_KEYUP, 'B', {0, 0, 0, 255}, {0, 0, 255, 255}},
        {WM_KEYDOWN, 'B', {0, 0, 0, 255}, {255, 255, 0, 255}}};
    for (const auto& [message, key, a, b] : steps) {
        SendMessageW(stage_.window.Handle(), message, key, 0);
        for (Stage* each : {&stage_, &other}) {
            const Picture picture = each->Frame();
            EXPECT_EQ(picture.At(0, 5), a) << "message " << message << ", key " << key;
            EXPECT_EQ(picture.At(1, 5), b) << "message " << message << ", key " << key;
        }
    }
    Stage late;
    EXPECT_EQ(late.LoadImage(kKeys, keyboard).Show().At(1, 5), (Color{255, 255, 0, 255}))
        << "a later renderer sees the current state";
    SendMessageW(stage_.window.Handle(), WM_KEYUP, 'B', 0);  // no key is left on
}

TEST_F(WindowInput, TheMouseReachesTheShader) {
    const std::string image = Body("c = mouse == iMouse ? (iMouse + 128.0) / 255.0 : vec4(1.0);");
    const DocumentBuilder document = DocumentBuilder().Common("uniform vec4 mouse;").Image(image);
    stage_.Load(document).Start();
    const auto send = [this](int message, int x, int y) {
        SendMessageW(stage_.window.Handle(), static_cast<UINT>(message), 0, MAKELPARAM(x, y));
    };
    // Positions count from the lower left. z and w hold the click's position: negative while the button is
    // up, and w positive only in the click's first frame.
    const int steps[][7] = {
        {WM_LBUTTONDOWN, 20, 0, 20, 48, 20, 48},  {WM_NULL, 0, 0, 20, 48, 20, -48},
        {WM_MOUSEMOVE, 30, 18, 30, 30, 20, -48},  {WM_MOUSEMOVE, -7, -20, -7, 68, 20, -48},
        {WM_LBUTTONUP, 31, 19, -7, 68, -20, -48}, {WM_MOUSEMOVE, 1, 1, -7, 68, -20, -48}};
    for (const auto& [message, x, y, currentX, currentY, z, w] : steps) {
        send(message, x, y);
        EXPECT_EQ(stage_.Frame().At(0, 0), (Color{currentX + 128, currentY + 128, z + 128, w + 128}))
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
    const preview::HostWindow first(64, 48, {.procedure = HostProcedure});
    const preview::HostWindow second(64, 48);
    const auto original = SubclassOf(first);
    const auto originalOfSecond = SubclassOf(second);
    HeapRecord<GlRenderer> renderer = CreateGlRenderer(first.Handle(), 64, 48);
    const auto ours = SubclassOf(first);
    ASSERT_TRUE(AttachWindowInput(first.Handle()) && AttachWindowInput(second.Handle()));

    DestroyGlRenderer(std::move(renderer));
    EXPECT_EQ(SubclassOf(first), ours);
    DetachWindowInput(first.Handle());
    EXPECT_EQ(SubclassOf(first), original);
    EXPECT_EQ(SubclassOf(second).first, ours.first);
    DetachWindowInput(first.Handle());
    DetachWindowInput(second.Handle());
    EXPECT_EQ(SubclassOf(second), originalOfSecond);

    const HWND gone = preview::HostWindow(8, 8).Handle();
    EXPECT_FALSE(AttachWindowInput(gone));
    DetachWindowInput(gone);
}

TEST(WindowSubclass, TwoThreadsAttachAndDetachWhileSending) {
    constexpr int kRounds = 200;
    preview::HostWindow window(64, 48, {.procedure = HostProcedure});
    const auto original = SubclassOf(window);
    const auto use = [target = window.Handle()] {
        int replies = 0;
        for (int round = 0; round < kRounds; ++round) {
            AttachWindowInput(target);
            replies += SendMessageW(target, WM_APP, 0, 0) == 77;
            DetachWindowInput(target);
        }
        return replies;
    };
    auto first = std::async(std::launch::async, use);
    auto both = std::async(std::launch::async, [&] { return use() + first.get(); });
    while (both.wait_for(std::chrono::milliseconds(1)) != std::future_status::ready) {
        window.PumpMessages();
    }
    EXPECT_EQ(both.get(), 2 * kRounds);
    EXPECT_EQ(SubclassOf(window), original);
}

TEST(WindowSubclass, OtherSubclassesStay) {
    const preview::HostWindow windows[5] = {{64, 48}, {64, 48}, {64, 48}, {64, 48}, {64, 48}};
    const auto& [bare, covered, coveredToo, foreign, foreignToo] = windows;
    const auto original = SubclassOf(bare);
    const auto kept = reinterpret_cast<HANDLE>(original.first);  // by another copy of the module
    SetPropW(foreign.Handle(), L"OriginalWndProc", kept);
    SetPropW(foreignToo.Handle(), L"OriginalWndProc", kept);
    const auto ofCopy = SubclassOf(foreign);
    ASSERT_TRUE(AttachWindowInput(bare.Handle()));
    for (const preview::HostWindow& window : windows) {
        ASSERT_TRUE(AttachWindowInput(window.Handle()));
    }
    EXPECT_EQ(SubclassOf(foreign), ofCopy);
    static const auto below = reinterpret_cast<WNDPROC>(SubclassOf(bare).first);
    const auto above = reinterpret_cast<LONG_PTR>(+[](HWND hwnd, UINT code, WPARAM w, LPARAM l) -> LRESULT {
        return CallWindowProcW(below, hwnd, code, w, l);
    });
    SetWindowLongPtrW(covered.Handle(), GWLP_WNDPROC, above);
    SetWindowLongPtrW(coveredToo.Handle(), GWLP_WNDPROC, above);
    DetachWindowInput(coveredToo.Handle());
    DetachWindowInput(foreignToo.Handle());
    RestoreAllWindows();
    const std::pair ofOurs(above, original.first);  // the lower subclass still needs the property
    const std::pair<LONG_PTR, LONG_PTR> expected[] = {original, ofOurs, ofOurs, ofCopy, ofCopy};
    for (std::size_t i = 0; i < std::size(windows); ++i) {
        EXPECT_EQ(SubclassOf(windows[i]), expected[i]) << "window " << i;
    }
}

}  // namespace
}  // namespace pixelforge::test
