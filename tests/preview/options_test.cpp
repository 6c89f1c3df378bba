// The command line.
#include "preview/options.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

#include "base/load_error.h"
#include "preview/host/host_error.h"

namespace pixelforge::preview {
namespace {

TEST(Options, ImplyOtherOptions) {
    EXPECT_EQ(ParseOptions({"a.json", "--check"}).frames, 1);
    EXPECT_EQ(ParseOptions({"a.json", "--check", "--size", "8x8"}).size.cx, 8);
    EXPECT_TRUE(ParseOptions({"a.json", "--watch"}).window);
    EXPECT_EQ(ParseOptions({"a.json", "--window"}).frames, 0);
    EXPECT_EQ(ParseOptions({"a.json", "--window", "--frames", "7"}).frames, 7);
    EXPECT_TRUE(ParseOptions({"a.json", "--window"}).realTime);
    EXPECT_FALSE(ParseOptions({"a.json"}).realTime);
    EXPECT_FALSE(ParseOptions({"a.json", "--window", "--set", "Speed=0.1"}).realTime);
    EXPECT_TRUE(ParseOptions({"a.json", "--fullscreen"}).window);
    EXPECT_EQ(ParseOptions({"a.json", "--video", "-", "--rate", "25"}).settings[0].value, "0.04");
    EXPECT_EQ(ParseOptions({"a.json", "--video", "-", "--set", "Speed=0"}).settings.size(), 1u);
    EXPECT_EQ(ParseOptions({"--playlist", "p", "--window", "--report", "r"}).report.name, "r");
    std::string joined;
    for (const ControlSetting& setting :
         ParseOptions({"a.json", "--set", "X Tiling=4", "--tiles", "3x2", "--foreground"}).settings) {
        joined += setting.label + "=" + setting.value + ";";
    }
    EXPECT_EQ(joined, "X Tiling=3;Y Tiling=2;Mirroring=false;Foreground Only=true;X Tiling=4;");
}

TEST(Options, OpenADroppedFile) {
    const Options shown = ParseOptions({"--id", "i", "--window"});
    for (const auto& [name, command] : {std::pair(L"a b.glsl", "preview \"a b.glsl\""),
                                        {L"b.Playlist", "preview --playlist b.Playlist"},
                                        {L"c.PNG", "a picture needs a shader"}}) {
        std::ofstream(std::filesystem::path(name)) << "a\n";
        Options next;
        const std::string failure = FailureOf([&] { next = OptionsForFile(shown, name, {}); });
        EXPECT_THAT(failure.empty() ? CommandOf(next) : failure, testing::StartsWith(command));
        EXPECT_EQ(next.source.path.empty(), !failure.empty());
        std::filesystem::remove(name);
    }
    EXPECT_THROW(OptionsForFile(shown, L"missing.json", {}), HostError);
    std::ofstream("c.png").put(' ');
    std::ofstream("c.txt").put('a');
    EXPECT_THROW(OptionsForFile(shown, L"c.txt", {}), HostError) << "no line break";
    std::filesystem::remove("c.txt");
    const Options picture =
        OptionsForFile(ParseOptions({"a.json", "--window"}), L"c.png", {.size = {7, 9}, .scale = 0.5});
    EXPECT_EQ(picture.source.name + picture.picturePath, "a.jsonc.png");
    EXPECT_EQ(picture.scale, 0.5);
    EXPECT_EQ(picture.size.cx, 7);
    std::filesystem::remove("c.png");
}

}  // namespace
}  // namespace pixelforge::preview
