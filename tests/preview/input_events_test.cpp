// Event files.
#include "preview/host/input_events.h"

#include <gmock/gmock.h>
#include <windows.h>

#include "preview/host/host_error.h"

namespace pixelforge::preview {
namespace {

using testing::ElementsAre;
using testing::FieldsAre;

TEST(InputEvents, AreSortedByFrame) {
    const auto events = ParseInputEvents(
        "# comment\r\n\r\n20 key-up 0x41\r\n0 key-down 65 # held\n 5\tmouse-move -3 40\n5 button-down 1 2\n"
        "6 button-up 1 2\n7 resize 640 360",
        "f");
    EXPECT_THAT(events, ElementsAre(FieldsAre(0, WM_KEYDOWN, 65, 0), FieldsAre(5, WM_MOUSEMOVE, -3, 40),
                                    FieldsAre(5, WM_LBUTTONDOWN, 1, 2), FieldsAre(6, WM_LBUTTONUP, 1, 2),
                                    FieldsAre(7, WM_SIZE, 640, 360), FieldsAre(20, WM_KEYUP, 65, 0)));
}

TEST(InputEvents, ReportAnInvalidLineByNumber) {
    for (const char* line : {"x", "5", "5 jump 1", "-1 key-up 1", "1 key-up 256", "1 key-up", "1 key-up 1 2",
                             "1 mouse-move 1 40000", "1 resize 0 4", "99999999999 key-up 1", "1 key-up 1x"}) {
        EXPECT_THAT([&] { ParseInputEvents("\n0 key-down 1\n" + std::string(line), "in.txt"); },
                    testing::ThrowsMessage<HostError>(testing::HasSubstr("in.txt:3:")))
            << line;
    }
}

}  // namespace
}  // namespace pixelforge::preview
