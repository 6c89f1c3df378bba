// The control table as the host receives it.
#include "module/controls.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace pixelforge {
namespace {

/// A host whose records are uninitialised, and which returns null for the row `refused`.
struct FakeHost {
    std::vector<ControlRecord> records = std::vector<ControlRecord>(ControlTable().size());
    std::size_t refused = SIZE_MAX;
    std::size_t requested = 0;

    static ControlRecord* Allocate(void* context) {
        auto& host = *static_cast<FakeHost*>(context);
        ControlRecord* record = &host.records.at(host.requested);
        std::memset(static_cast<void*>(record), 0xCD, sizeof(ControlRecord));
        return host.requested++ == host.refused ? nullptr : record;
    }
};

/// The complete contents of a field that holds this text.
std::wstring Padded(std::wstring_view text) {
    std::wstring field(text);
    field.resize(kHostTextUnits);
    return field;
}

TEST(Controls, EveryRowFillsAnUninitialisedRecordAndARefusedOneIsSkipped) {
    for (std::size_t refused = 0; refused <= ControlTable().size(); ++refused) {
        SCOPED_TRACE(refused);
        FakeHost host;
        host.refused = refused;
        ModuleInstance instance = {};
        BuildControls(instance, &FakeHost::Allocate, &host);
        ASSERT_EQ(host.requested, ControlTable().size());
        for (std::size_t i = 0; i < host.requested; ++i) {
            const ControlRow& row = *ControlTable()[i];
            const ControlRecord& record = host.records[i];
            if (row.slot) {
                EXPECT_EQ(*row.slot(instance), i == refused ? nullptr : &record);
            }
            if (i == refused) {
                continue;
            }
            EXPECT_EQ(record.kind, row.kind);
            EXPECT_EQ(std::wstring(record.names, kHostTextUnits), Padded(row.names));
            EXPECT_EQ(std::wstring(record.description, kHostTextUnits), Padded(row.description));
        }
        EXPECT_EQ(DecimalValue(instance, control::kSpeed), 0.03F);
        EXPECT_EQ(WholeValue(instance, control::kMinResetTime), 5000);
        EXPECT_TRUE(SwitchValue(instance, control::kDrawEvent));
    }
}

TEST(Controls, BoundsAndValuesAreWhereTheirKindExpectsThem) {
    FakeHost host;
    ModuleInstance instance = {};
    BuildControls(instance, &FakeHost::Allocate, &host);
    const DecimalNumberArea speed = {{{-1.0F, 1.0F}, {-0.01F, 0.02F}, {-0.01F, 0.02F}}, {0.03F, 0.03F}};
    EXPECT_EQ(std::memcmp(&instance.speed->decimal, &speed, sizeof(speed)), 0);
    const WholeNumberArea infoTime = {{{0, 60}, {1, 60}, {1, 60}}, {4, 4}};
    EXPECT_EQ(std::memcmp(&instance.infoTime->whole, &infoTime, sizeof(infoTime)), 0);
    const SwitchArea mirroring = {{0.5F, 0.5F}, {1, 1}};
    EXPECT_EQ(std::memcmp(&instance.tiling.mirroring->toggle, &mirroring, sizeof(mirroring)), 0);
    EXPECT_EQ(instance.tiling.tileMask->mask.gridSize[1], 32);
    EXPECT_STREQ(instance.playlistFiles->files.filter, L"Playlist Files\t*.playlist\t\t");
    EXPECT_STREQ(instance.playlistFiles->files.fileName, L"");
}

TEST(Controls, OnlyTextsWithTwoNulsWithinTheFieldAreCopied) {
    const std::pair<std::wstring, std::wstring> cases[] = {
        {std::wstring(L"a\0b\0\0", 5), std::wstring(L"a\0b", 3)},
        {std::wstring(258, L'x') + std::wstring(2, L'\0'), std::wstring(258, L'x')},
        {std::wstring(259, L'x') + std::wstring(2, L'\0'), L""},
        {L"no end", L""},
        {std::wstring(L"one NUL\0", 8), L""},
    };
    for (const auto& [text, copied] : cases) {
        wchar_t field[kHostTextUnits];
        std::fill(std::begin(field), std::end(field), L'?');
        CopyDoubleTerminated(field, text);
        EXPECT_EQ(std::wstring(field, kHostTextUnits), Padded(copied)) << testing::PrintToString(text);
    }
}

}  // namespace
}  // namespace pixelforge
