// Debugger output of this process, taken in both forms.
#include "preview/debug_capture.h"

#include <windows.h>

#include <gmock/gmock.h>

#include <thread>

namespace pixelforge::preview {
namespace {

using testing::ElementsAre;

TEST(DebugCapture, TakesEachTextOnce) {
    const DebugCapture capture;
    OutputDebugStringA("narrow ");
    OutputDebugStringW(L"wide \u00E4\n");
    OutputDebugStringA("utf-8 \xC3\xA4\n");
    OutputDebugStringA("");
    std::thread([] { OutputDebugStringW(L"from a thread\n"); }).join();
    EXPECT_THAT(capture.Lines(), ElementsAre("narrow wide \xC3\xA4", "utf-8 \xC3\xA4", "from a thread"));
}

}  // namespace
}  // namespace pixelforge::preview
