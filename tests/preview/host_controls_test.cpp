// The host's control records: what they are handed out as, and which values they take.
#include "preview/host_controls.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string_view>

namespace pixelforge::preview {
namespace {

using namespace std::string_view_literals;

/// A record as the module fills it, one for each kind of value.
ControlRecord* AddControl(HostControls& controls, ControlKind kind, std::wstring_view names) {
    ControlRecord* record = HostControls::Allocate(&controls);
    record->kind = kind;
    std::ranges::copy(names, record->names);
    return record;
}

class HostControlsTest : public testing::Test {
protected:
    HostControlsTest() {
        decimal = AddControl(controls, ControlKind::DecimalNumber, L"General\0Speed\0\0"sv);
        decimal->decimal = {{{-1.0f, 1.0f}, {0.0f, 0.0f}, {0.0f, 0.0f}}, {0.03f, 0.03f}};
        whole = AddControl(controls, ControlKind::WholeNumber, L"General\0Multi-Sample\0\0"sv);
        whole->whole = {{{0, 5}, {0, 9}, {0, 9}}, {2, 2}};
        toggle = AddControl(controls, ControlKind::Switch, L"Drawing\0Draw Event\0\0"sv);
        toggle->toggle = {{0.5f, 0.5f}, {1, 1}};
        files = AddControl(controls, ControlKind::FileList, L"General\0Playlist File(s)\0\0"sv);
        files->files.fileName[0] = L'\0';
        mask = AddControl(controls, ControlKind::BitMask, L"Tiling\0Tile Mask\0\0"sv);
        mask->mask = {{32, 32}};
    }

    HostControls controls;
    ControlRecord* decimal;
    ControlRecord* whole;
    ControlRecord* toggle;
    ControlRecord* files;
    ControlRecord* mask;
};

TEST_F(HostControlsTest, SurviveNamesWithoutAnEnd) {
    std::ranges::fill(decimal->names, L'x');
    EXPECT_EQ(ReadControlNames(*decimal).group.size(), kHostTextUnits);
    EXPECT_EQ(ReadControlNames(*decimal).label, "");
}

TEST_F(HostControlsTest, TakeValuesOfTheirKind) {
    for (const auto& [label, value] : std::initializer_list<std::pair<const char*, const char*>>{
             {"Speed", "-0.5"},
             {"Multi-Sample", "5"},
             {"Draw Event", "false"},
             {"Playlist File(s)", "l\xC3\xA4uft.playlist"},
             {"Tile Mask", "8x4"}}) {
        controls.Apply({label, value});
        EXPECT_EQ(ControlValueText(*controls.Find(label)), value);
    }
    EXPECT_EQ(decimal->decimal.value[0], -0.5f);
    EXPECT_EQ(decimal->decimal.value[1], 0.03f);
    EXPECT_EQ(whole->whole.value[0], 5);
    EXPECT_EQ(toggle->toggle.value[1], 0);
    EXPECT_EQ(std::wstring_view(files->files.fileName), L"l\u00E4uft.playlist");
    EXPECT_EQ(mask->mask.gridSize[1], 4);
}

TEST_F(HostControlsTest, KeepTheirValueWhenTheNewOneDoesNotFit) {
    const std::pair<ControlRecord*, std::vector<std::string>> cases[] = {
        {decimal, {"", "x", "1.01", "-2", "0.5s", " 0.5", "nan", "inf", "1e99"}},
        {whole, {"", "6", "-1", "2.0", "99999999999", "0x1"}},
        {toggle, {"", "2", "maybe"}},
        {files, {std::string(kHostTextUnits, 'a'), "\xFF"}},
        {mask, {"", "8", "0x8", "33x1", "8x", "x8"}}};
    for (const auto& [record, values] : cases) {
        const std::string before = ControlValueText(*record);
        for (const std::string& value : values) {
            EXPECT_FALSE(WriteControlValue(*record, value)) << value;
            EXPECT_EQ(ControlValueText(*record), before) << value;
        }
    }
}

}  // namespace
}  // namespace pixelforge::preview
