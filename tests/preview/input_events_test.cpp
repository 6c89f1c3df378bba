// Event files.
#include "preview/input_events.h"

#include <gmock/gmock.h>

#include "preview/host_error.h"

namespace pixelforge::preview {
namespace {

using testing::HasSubstr;

TEST(InputEvents, AreReadInOrderOfFrames) {
    const auto events = ParseInputEvents(
        "# comment\r\n\r\n20 key-up 0x41\r\n0 key-down 65 # held\n 5\tmouse-move -3 40\n5 button-down 1 2\n"
        "6 button-up 1 2\n7 resize 640 360",
        "f");
    const InputEvent expected[] = {{0, EventKind::KeyDown, 65, 0},   {5, EventKind::MouseMove, -3, 40},
                                   {5, EventKind::ButtonDown, 1, 2}, {6, EventKind::ButtonUp, 1, 2},
                                   {7, EventKind::Resize, 640, 360}, {20, EventKind::KeyUp, 65, 0}};
    ASSERT_EQ(events.size(), std::size(expected));
    for (std::size_t i = 0; i < events.size(); ++i) {
        EXPECT_EQ(events[i].frame, expected[i].frame) << i;
        EXPECT_EQ(events[i].kind, expected[i].kind) << i;
        EXPECT_EQ(events[i].a, expected[i].a) << i;
        EXPECT_EQ(events[i].b, expected[i].b) << i;
    }
}

TEST(InputEvents, NameABadLine) {
    for (const char* line : {"x", "5", "5 jump 1", "-1 key-up 1", "1 key-up 256", "1 key-up", "1 key-up 1 2",
                             "1 mouse-move 1 40000", "1 resize 0 4", "99999999999 key-up 1", "1 key-up 1x"}) {
        try {
            ParseInputEvents("\n0 key-down 1\n" + std::string(line), "in.txt");
            ADD_FAILURE() << line;
        } catch (const HostError& error) {
            EXPECT_EQ(error.Status(), ExitStatus::WrongUsage);
            EXPECT_THAT(error.what(), HasSubstr("in.txt:3:")) << line;
        }
    }
}

}  // namespace
}  // namespace pixelforge::preview
