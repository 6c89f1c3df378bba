// Hundreds of loads and thousands of frames in one process must not leak.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>

#include "tests/end_to_end/module_run.h"
#include "tests/support/process_census.h"

namespace pixelforge::test {
namespace {

/// Measures after a tenth of the rounds. The devices are doubles: some systems leak handles in each search
/// for their own.
template <class Round>
void ExpectFlatOver(int rounds, Round round) {
    std::size_t handles = 0;
    std::size_t bytes = 0;
    for (int i = 0; i < rounds; ++i) {
        if (i == rounds / 10) {
            handles = OpenHandles();
            bytes = WorkingSetBytes();
        }
        ASSERT_NO_FATAL_FAILURE(round(i)) << "round " << i;
    }
    EXPECT_LE(OpenHandles(), handles + 4);
    EXPECT_LE(WorkingSetBytes(), bytes + (8U << 20));
}

/// A buffer with feedback and mipmaps, and the keyboard.
std::string Document() {
    return DocumentBuilder()
        .Buffer('A', MainImage("c = texture(iChannel0, p / iResolution.xy) * 0.5 + texture(iChannel1, p).x;"),
                {{.filter = "mipmap"}, {.channel = 1, .ctype = "keyboard"}})
        .Image(MainImage("c = texture(iChannel0, p / iResolution.xy) + 0.5;"), {{}})
        .Json();
}

TEST(Soak, FiveHundredLoadsDoNotLeak) {
    const auto load = [document = Document()](int number) {
        const bool fails = number % 5 == 4;
        ModuleRun run(fails ? DocumentBuilder().Image("no GLSL at all").Json() : document);
        ASSERT_EQ(run.Frame(), fails ? FrameResult::Failed : FrameResult::Drawn) << run.Words();
    };
    ExpectFlatOver(500, load);
}

/// The pictures of one load occupy 800 KB.
TEST(Soak, TwoHundredLoadsOfEveryInputKindDoNotLeak) {
    // Media paths in the examples are relative to their folder.
    std::filesystem::current_path(PIXELFORGE_SOURCE_DIR "/examples");
    std::ifstream file("kinds.json", std::ios::binary);
    const std::string document{std::istreambuf_iterator<char>(file), {}};
    const auto load = [&document](int) {
        ModuleRun run(document);
        ASSERT_EQ(run.Frame(), FrameResult::Drawn) << run.Words();
        ASSERT_EQ(run.Words().find("stays empty"), std::string::npos) << run.Words();
    };
    ExpectFlatOver(200, load);
}

/// The module follows the window. A render target that is not released occupies 400 KB or more.
TEST(Soak, TenThousandFramesWithResizesDoNotLeak) {
    ModuleRun run(Document());
    std::unique_ptr<preview::HostSurface> surface;
    ExpectFlatOver(10000, [&](int frame) {
        if (frame % 100 == 99) {
            const std::int32_t side = frame % 200 == 99 ? 200 : 160;
            surface = std::make_unique<preview::HostSurface>(side, side);
            run.Session().Window().SetClientSize(side, side);
            DrawContext& context = run.Session().Context();
            context.width = context.height = side;
            context.bitmap = surface->Bitmap();
        }
        ASSERT_EQ(run.Frame(), FrameResult::Drawn) << run.Words();
    });
}

}  // namespace
}  // namespace pixelforge::test
