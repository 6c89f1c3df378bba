// The control records as the host receives them, and what each frame makes of their values.
#include "module/controls.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

#include "base/text.h"
#include "module/animation.h"

namespace pixelforge {
namespace {

/// Kind, names, description, options, host pair and value area, in the order of creation.
const char* const kExpected[] = {
    "1|General|General module configuration controls|0|0 0|",
    "4|General/Speed|Animation speed|31|1 1|-1 1 -0.01 0.02 -0.01 0.02 0.03 0.03 ",
    "6|General/Playlist File(s)|Select Pixelforge playlist file(s)|1|3 3|Playlist Files\t*.playlist\t\t "
    "GlowBench.exe ",
    "5|General/Fast Buffers|Faster but less compatible frame buffer format|3|1 1|0.5 0.5 0 0 ",
    "2|General/Multi-Sample|Number of samples for multi-sampling. Higher values will increase image quality "
    "at the cost of compatibility, resource use, and frame rate.|3|1 1|0 5 0 5 0 5 0 0 ",
    "2|General/Info Time|Number of seconds to display shader information.|3|1 1|0 60 1 60 1 60 4 4 ",
    "5|General/Foreground Only|Only draw foreground (non-black) pixels.|3|1 1|0.5 0.5 0 0 ",
    "4|General/Starting Index|Starting position for animation|3|2 2|0 4000 0 4000 0 4000 0.01 0.01 ",
    "1|Color|Configure the color index and progression|0|0 0|",
    "4|Color/Color Index|Index of the primary drawing color|31|4 4|0 1 0.01 1 0.01 1 1 1 ",
    "4|Color/Progression rate|Rate at which colors in a frame vary from the primary color|31|1 1|0 1 0 1 0 1 "
    "0.1 0.1 ",
    "5|Color/Alternate Colors|Alternate indices to force striping|3|1 1|0.5 0.5 0 0 ",
    "1|Tiling|Set the tiling extents and method|0|0 0|",
    "2|Tiling/X Tiling|Maximum number of tiles on the X-axis|31|1 1|1 32 1 8 1 8 1 1 ",
    "2|Tiling/Y Tiling|Maximum number of tiles on the Y-axis|31|1 1|1 32 1 8 1 8 1 1 ",
    "5|Tiling/Mirroring|Switch the orientation of odd tiles|31|1 1|0.5 0.5 1 1 ",
    "7|Tiling/Tile Mask|Controls which tiles are displayed|3|1 1|32 32 ",
    "1|Drawing|Set the conditions for when the module will draw or reset|0|0 0|",
    "5|Drawing/Draw Event|The module will draw when TRUE.|31|1 1|0.5 0.5 1 1 ",
    "5|Drawing/Reset Event|Forces the module to reset and reinitialize when TRUE.|31|1 1|0.5 0.5 0 0 ",
    "2|Drawing/Min Reset Time|Minimum time until next reset event in milliseconds.|31|1 1|0 20000 0 20000 0 "
    "20000 5000 5000 ",
};
constexpr std::size_t kCount = std::size(kExpected);

/// A host whose records are uninitialised, and which returns null for the row `refused`.
struct FakeHost {
    std::size_t refused;
    std::size_t requested = 0;
    std::vector<ControlRecord> records = std::vector<ControlRecord>(kCount);

    static ControlRecord* Allocate(void* context) {
        auto& host = *static_cast<FakeHost*>(context);
        ControlRecord* record = &host.records.at(host.requested);
        std::memset(static_cast<void*>(record), 0xCD, sizeof(ControlRecord));
        return host.requested++ == host.refused ? nullptr : record;
    }
};

/// A whole text field, with "/" for each NUL but the final ones.
std::string FieldText(const wchar_t (&field)[kHostTextUnits]) {
    std::wstring text(field, kHostTextUnits);
    std::ranges::replace(text, L'\0', L'/');
    return ToUtf8(text.substr(0, text.find_last_not_of(L'/') + 1));
}

/// The record as written in the table.
std::string Described(const ControlRecord& record) {
    std::ostringstream out;
    out << static_cast<int>(record.kind) << "|" << FieldText(record.names) << "|"
        << FieldText(record.description) << "|" << record.options << "|" << record.hostPair[0] << " "
        << record.hostPair[1] << "|";
    if (record.kind == ControlKind::FileList) {
        const FileListArea& files = record.files;
        out << ToUtf8(files.filter) << " " << ToUtf8(files.editorName) << " " << FieldText(files.fileName);
        EXPECT_TRUE(!files.reserved && files.reserved16 == 0);
    } else {
        constexpr int kNumbers[] = {0, 0, 8, 0, 8, 4, 0, 2};
        constexpr int kFloats[] = {0, 0, 0, 0, 8, 2, 0, 0};  // the first of the numbers
        const auto kind = static_cast<std::size_t>(record.kind);
        std::int32_t numbers[8];
        std::memcpy(numbers, &record.whole, sizeof(numbers));
        for (int i = 0; i < kNumbers[kind]; ++i) {
            out << (i < kFloats[kind] ? double{std::bit_cast<float>(numbers[i])} : numbers[i]) << " ";
        }
    }
    return out.str();
}

TEST(Controls, FillUninitialisedRecordsAndSkipRefusedOnes) {
    for (std::size_t refused = 0; refused <= kCount; ++refused) {
        SCOPED_TRACE(refused);
        FakeHost host = {refused};
        ModuleInstance made = {};
        BuildControls(made, &FakeHost::Allocate, &host);
        ASSERT_EQ(host.requested, kCount);
        const ColorBlock& color = made.color;
        const TilingBlock& tiling = made.tiling;
        const ControlRecord* const kept[kCount] = {
            nullptr,          made.speed,       made.playlistFiles,    made.fastBuffers,
            made.multiSample, made.infoTime,    made.foregroundOnly,   made.startingIndex,
            nullptr,          color.colorIndex, color.progressionRate, color.alternateColors,
            nullptr,          tiling.xTiling,   tiling.yTiling,        tiling.mirroring,
            tiling.tileMask,  nullptr,          made.drawEvent,        made.resetEvent,
            made.minResetTime};
        for (std::size_t i = 0; i < kCount; ++i) {
            const bool isHeader = kExpected[i][0] == '1';
            EXPECT_EQ(kept[i], isHeader || i == refused ? nullptr : &host.records[i]) << i;
            EXPECT_TRUE(i == refused || host.records[i].one == 1) << i;
            EXPECT_EQ(i == refused ? kExpected[i] : Described(host.records[i]), kExpected[i]);
        }
        EXPECT_EQ(DecimalValue(made, control::kSpeed), 0.03F);
        EXPECT_EQ(WholeValue(made, control::kMinResetTime), 5000);
        EXPECT_TRUE(SwitchValue(made, control::kDrawEvent));
    }
}

TEST(Animation, ColourIndexAndTileMaskFollowTheirControls) {
    const struct {
        const char* what;
        std::int32_t levelDivisor;
        float colorIndex, rate;
        bool alternate;
        std::int32_t first, second;  ///< colour index after one frame and after two
        float progress, rateAfter;
    } cases[] = {{"read again on every frame", 256, 0.5F, 25.5F, false, 153, 153, 0.6F, 0.1F},
                 {"stripes", 10, 0.5F, 0, true, 10 - 4, 4, 0.5F, 0},
                 {"midway", 2, 0.25F, 0.5F, false, 0, 0, 0.75F, 0.5F},
                 {"at the end", 2, 0.5F, 0.5F, false, 1, 1, 1, 0.5F},
                 {"reversed after the end", 2, 1, 1, false, 1, 1, 1, -1},
                 {"reversed at the start", 2, 0, -1, false, 0, 0, 0, 1},
                 {"no colours", 0, 1e30F, 0, true, 0, 0, 1, 0},
                 {"one colour", 1, 0.5F, 1, false, 0, 0, 1, -INFINITY},
                 {"most colours", INT32_MAX, 1e30F, 0, true, 0, INT32_MAX, 1, 0},
                 {"fewest colours", INT32_MIN, 1e30F, 0, true, 0, INT32_MIN, 1, 0}};
    for (const auto& each : cases) {
        SCOPED_TRACE(each.what);
        FakeHost host = {kCount};
        ModuleInstance instance = {};
        BuildControls(instance, &FakeHost::Allocate, &host);
        instance.animationFlags = animation::kDefault;
        instance.color.colorIndex->decimal.value[0] = each.colorIndex;
        instance.color.progressionRate->decimal.value[0] = each.rate;
        instance.color.alternateColors->toggle.value[1] = each.alternate;
        instance.tiling.xTiling->whole.value[0] = 3;
        const auto& mask = instance.tiling.tileMask->mask;
        DrawContext context = {};
        context.levelDivisor = each.levelDivisor;
        AnimateFrame(instance, context);
        EXPECT_EQ(instance.color.index, each.first);
        EXPECT_TRUE(mask.gridSize[0] == 3 && mask.gridSize[1] == 1) << "columns, rows";
        AnimateFrame(instance, context);
        EXPECT_EQ(instance.color.index, each.second);
        EXPECT_FLOAT_EQ(instance.color.progress, each.progress);
        EXPECT_FLOAT_EQ(instance.color.rate, each.rateAfter);
    }
}

}  // namespace
}  // namespace pixelforge
