// The module's own controls, set from text.
#include "preview/host/host_controls.h"

#include <gtest/gtest.h>

#include "module/controls.h"
#include "preview/host/host_error.h"

namespace pixelforge::preview {
namespace {

class HostControlsTest : public testing::Test {
protected:
    HostControlsTest() {
        BuildControls(module_, &HostControls::Allocate, &controls_);
        controls_.KeepDefaults();
    }

    std::string ValueOf(const std::string& label) { return ControlValueText(*controls_.Find(label)); }

    ModuleInstance module_{};
    HostControls controls_;
};

TEST_F(HostControlsTest, PassValidValuesToTheModule) {
    for (const auto& [label, value] : {std::pair("Speed", "-0.5"),
                                       {"Multi-Sample", "5"},
                                       {"Draw Event", "false"},
                                       {"Playlist File(s)", "l\xC3\xA4uft.playlist"},
                                       {"Tile Mask", "8x4"}}) {
        controls_.Apply({label, value});
        EXPECT_EQ(ValueOf(label), value);
    }
    std::string changed;
    for (const ControlSetting& setting : controls_.Changed()) {
        changed += setting.label + "=" + setting.value + ";";
    }
    EXPECT_EQ(
        changed,
        "Speed=-0.5;Playlist File(s)=l\xC3\xA4uft.playlist;Multi-Sample=5;Tile Mask=8x4;Draw Event=false;");
    EXPECT_EQ(DecimalValue(module_, control::kSpeed), -0.5F);
    EXPECT_EQ(WholeValue(module_, control::kMultiSample), 5);
    EXPECT_FALSE(SwitchValue(module_, control::kDrawEvent));
    EXPECT_STREQ(module_.playlistFiles->files.fileName, L"l\u00E4uft.playlist");
    EXPECT_EQ(module_.tiling.tileMask->mask.gridSize[1], 4);
}

TEST_F(HostControlsTest, KeepTheirValueIfTheNewOneIsInvalid) {
    const std::pair<std::string, std::vector<std::string>> cases[] = {
        {"Speed", {"", "x", "1.01", "-2", "0.5s", " 0.5", "nan", "inf", "1e99"}},
        {"Multi-Sample", {"", "6", "-1", "2.0", "99999999999", "0x1"}},
        {"Draw Event", {"", "2", "maybe"}},
        {"Playlist File(s)", {std::string(kHostTextUnits, 'a'), "\xFF"}},
        {"Tile Mask", {"", "8", "0x8", "33x1", "8x", "x8"}}};
    for (const auto& [label, values] : cases) {
        const std::string before = ValueOf(label);
        for (const std::string& value : values) {
            EXPECT_THROW(controls_.Apply({label, value}), HostError) << label << "=" << value;
            EXPECT_EQ(ValueOf(label), before) << value;
        }
    }
    EXPECT_THROW(controls_.Apply({"General", "1"}), HostError) << "a group header is not a control";
}

}  // namespace
}  // namespace pixelforge::preview
