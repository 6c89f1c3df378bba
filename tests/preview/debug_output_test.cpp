// Captured debugger output: narrow and wide, joined into lines and made readable.
#include <windows.h>

#include <gmock/gmock.h>

#include <thread>

#include "preview/host/debug_capture.h"

namespace pixelforge::preview {
namespace {

using testing::ElementsAre;

TEST(DebugCapture, CapturesEachTextOnceAndJoinsPiecesIntoLines) {
    DebugCapture capture;
    OutputDebugStringA("narrow ");
    OutputDebugStringW(L"wide \u00E4\r");
    OutputDebugStringA("\n\nutf-8 \xC3\xA4\nunfin");
    OutputDebugStringA("");
    std::thread([] { OutputDebugStringW(L"ished"); }).join();
    EXPECT_THAT(capture.Lines(), ElementsAre("narrow wide \xC3\xA4", "", "utf-8 \xC3\xA4", "unfinished"));
    capture.Clear();
    EXPECT_THAT(capture.Lines(), ElementsAre());
}

TEST(ReadableLines, AreDistinctAndNameTheUsersFile) {
    const std::vector<std::string> lines = {"D:\\p1: no Image", "bad D:\\p1", "D:\\p1: no Image",
                                            "Pixelforge: Image:3: \x1B[31merror\xC2\x9B"};
    EXPECT_THAT(ReadableLines(lines, "D:\\p1", "my.json"),
                ElementsAre("my.json: no Image", "bad my.json", "Image:3:  [31merror "));
    EXPECT_THAT(ReadableLines({"xx"}, "x", "(x)"), ElementsAre("(x)(x)")) << "the name contains the alias";
}

}  // namespace
}  // namespace pixelforge::preview
