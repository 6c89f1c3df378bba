// The control table as a host receives it.
#include "module/controls.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace pixelforge {
namespace {

/// A host that hands out records full of rubbish, and none for the row `refused`.
struct RubbishHost {
    std::vector<ControlRecord> records = std::vector<ControlRecord>(64);
    std::size_t refused = SIZE_MAX;
    std::size_t asked = 0;

    static ControlRecord* Allocate(void* context) {
        auto& host = *static_cast<RubbishHost*>(context);
        const std::size_t index = host.asked++;
        if (index == host.refused)
            return nullptr;
        std::memset(static_cast<void*>(&host.records[index]), 0xCD, sizeof(ControlRecord));
        return &host.records[index];
    }
};

struct ExpectedRow {
    ControlKind kind;
    const wchar_t* group;
    const wchar_t* label;
    const wchar_t* description;
    std::uint32_t options;
    std::int32_t hostPair;
};

constexpr ExpectedRow kExpected[] = {
    {ControlKind::GroupHeader, L"General", L"", L"General module configuration controls", 0, 0},
    {ControlKind::DecimalNumber, L"General", L"Speed", L"Animation speed", 31, 1},
    {ControlKind::FileList, L"General", L"Playlist File(s)", L"Select Pixelforge playlist file(s)", 1, 3},
    {ControlKind::Switch, L"General", L"Fast Buffers", L"Faster but less compatible frame buffer format", 3,
     1},
    {ControlKind::WholeNumber, L"General", L"Multi-Sample",
     L"Number of samples for multi-sampling. Higher values will increase image quality at the cost of "
     L"compatibility, resource use, and frame rate.",
     3, 1},
    {ControlKind::WholeNumber, L"General", L"Info Time", L"Number of seconds to display shader information.",
     3, 1},
    {ControlKind::Switch, L"General", L"Foreground Only", L"Only draw foreground (non-black) pixels.", 3, 1},
    {ControlKind::DecimalNumber, L"General", L"Starting Index", L"Starting position for animation", 3, 2},
    {ControlKind::GroupHeader, L"Color", L"", L"Configure the color index and progression", 0, 0},
    {ControlKind::DecimalNumber, L"Color", L"Color Index", L"Index of the primary drawing color", 31, 4},
    {ControlKind::DecimalNumber, L"Color", L"Progression rate",
     L"Rate at which colors in a frame vary from the primary color", 31, 1},
    {ControlKind::Switch, L"Color", L"Alternate Colors", L"Alternate indices to force striping", 3, 1},
    {ControlKind::GroupHeader, L"Tiling", L"", L"Set the tiling extents and method", 0, 0},
    {ControlKind::WholeNumber, L"Tiling", L"X Tiling", L"Maximum number of tiles on the X-axis", 31, 1},
    {ControlKind::WholeNumber, L"Tiling", L"Y Tiling", L"Maximum number of tiles on the Y-axis", 31, 1},
    {ControlKind::Switch, L"Tiling", L"Mirroring", L"Switch the orientation of odd tiles", 31, 1},
    {ControlKind::BitMask, L"Tiling", L"Tile Mask", L"Controls which tiles are displayed", 3, 1},
    {ControlKind::GroupHeader, L"Drawing", L"", L"Set the conditions for when the module will draw or reset",
     0, 0},
    {ControlKind::Switch, L"Drawing", L"Draw Event", L"The module will draw when TRUE.", 31, 1},
    {ControlKind::Switch, L"Drawing", L"Reset Event",
     L"Forces the module to reset and reinitialize when TRUE.", 31, 1},
    {ControlKind::WholeNumber, L"Drawing", L"Min Reset Time",
     L"Minimum time until next reset event in milliseconds.", 31, 1},
};

/// The texts of a field, up to its double NUL.
std::vector<std::wstring> Texts(const wchar_t (&field)[kHostTextUnits]) {
    std::vector<std::wstring> texts;
    for (const wchar_t* at = field; *at; at += texts.back().size() + 1)
        texts.emplace_back(at);
    return texts;
}

TEST(Controls, EveryRowReachesAHostWhoseRecordsAreNotZeroed) {
    RubbishHost host;
    ModuleInstance instance{};
    BuildControls(instance, &RubbishHost::Allocate, &host);
    ASSERT_EQ(host.asked, std::size(kExpected));
    for (std::size_t i = 0; i < std::size(kExpected); ++i) {
        SCOPED_TRACE(i);
        const ExpectedRow& row = kExpected[i];
        const ControlRecord& record = host.records[i];
        std::vector<std::wstring> names = {row.group};
        if (*row.label)
            names.emplace_back(row.label);
        EXPECT_EQ(record.kind, row.kind);
        EXPECT_EQ(Texts(record.names), names);
        EXPECT_EQ(Texts(record.description), std::vector<std::wstring>{row.description});
        EXPECT_EQ(record.options, row.options);
        EXPECT_THAT(record.hostPair, testing::ElementsAre(row.hostPair, row.hostPair));
    }
}

TEST(Controls, BoundsAndValuesOfEachKind) {
    RubbishHost host;
    ModuleInstance instance{};
    BuildControls(instance, &RubbishHost::Allocate, &host);
    const DecimalNumberArea speed = {{{-1.0f, 1.0f}, {-0.01f, 0.02f}, {-0.01f, 0.02f}}, {0.03f, 0.03f}};
    EXPECT_EQ(std::memcmp(&instance.speed->decimal, &speed, sizeof(speed)), 0);
    const WholeNumberArea infoTime = {{{0, 60}, {1, 60}, {1, 60}}, {4, 4}};
    EXPECT_EQ(std::memcmp(&instance.infoTime->whole, &infoTime, sizeof(infoTime)), 0);
    const SwitchArea mirroring = {{0.5f, 0.5f}, {1, 1}};
    EXPECT_EQ(std::memcmp(&instance.tiling.mirroring->toggle, &mirroring, sizeof(mirroring)), 0);
    EXPECT_THAT(instance.tiling.tileMask->mask.gridSize, testing::Each(32));
    const FileListArea& files = instance.playlistFiles->files;
    EXPECT_EQ(std::wstring(files.filter), L"Playlist Files\t*.playlist\t\t");
    EXPECT_EQ(std::wstring(files.fileName), L"");
}

TEST(Controls, ARefusedRecordLeavesOutThatControlOnlyAndItsDefaultHolds) {
    for (std::size_t refused = 0; refused < std::size(kExpected); ++refused) {
        SCOPED_TRACE(refused);
        RubbishHost host;
        host.refused = refused;
        ModuleInstance instance{};
        BuildControls(instance, &RubbishHost::Allocate, &host);
        EXPECT_EQ(host.asked, std::size(kExpected));
        for (std::size_t i = 0; i < ControlTable().size(); ++i) {
            const ControlRow& row = *ControlTable()[i];
            if (row.slot) {
                EXPECT_EQ(*row.slot(instance), i == refused ? nullptr : &host.records[i]);
            }
        }
        EXPECT_EQ(DecimalValue(instance, control::kSpeed), 0.03f);
        EXPECT_EQ(WholeValue(instance, control::kMinResetTime), 5000);
        EXPECT_TRUE(SwitchValue(instance, control::kDrawEvent));
    }
}

TEST(Controls, OnlyTextsThatEndInTwoNulsWithinTheFieldAreCopied) {
    wchar_t field[kHostTextUnits];
    const auto copied = [&](const std::wstring& units) {
        std::fill(std::begin(field), std::end(field), L'?');
        CopyDoubleTerminated(field, units);
        return std::wstring(field, kHostTextUnits);
    };
    const auto padded = [](std::wstring text) {
        text.resize(kHostTextUnits);
        return text;
    };
    const std::wstring end(2, L'\0');
    EXPECT_EQ(copied(L"a" + std::wstring(1, L'\0') + L"b" + end),
              padded(L"a" + std::wstring(1, L'\0') + L"b"));
    EXPECT_EQ(copied(std::wstring(258, L'x') + end), padded(std::wstring(258, L'x')));
    EXPECT_EQ(copied(std::wstring(259, L'x') + end), padded(L""));
    EXPECT_EQ(copied(L"no end"), padded(L""));
    EXPECT_EQ(copied(L"one NUL" + std::wstring(1, L'\0')), padded(L""));
}

}  // namespace
}  // namespace pixelforge
