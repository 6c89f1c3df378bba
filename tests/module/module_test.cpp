// Control records and what each frame makes of their values, the host's folders, playlists, and the notice.
#include "module/controls.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "base/text.h"
#include "module/animation.h"
#include "module/host_folders.h"
#include "module/overlay.h"
#include "module/playlist.h"
#include "service/service_urls.h"
#include "tests/support/temp_file.h"

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

TEST(FindHostFolders, DistinguishesTheThreeKindsOfInstallation) {
    const std::wstring files = L"C:\\Program Files";
    const std::wstring app = L"C:\\Users\\u\\Roaming";
    const std::wstring installed = files + L"\\Larkvane\\Moonreel|" + files + L"\\Larkvane\\Moonreel\\DLL|";
    const std::wstring roaming = L"\\Larkvane\\Moonreel|Installed\n";
    const std::wstring portable = files + L"|" + files + L"\\DLL|" + files + L"|Portable\n";
    // Program path, program files, application data; the three folders and the kind.
    const std::tuple<std::wstring, std::wstring, std::wstring, std::wstring> cases[] = {
        {LR"(D:\C\Projects\x\h)", files, app, LR"(D:\C\Projects\x|D:\C\Projects\x|D:\Moonreel|Debugging)"},
        {LR"(D:\C\Projects\h.exe)", L"D:\\C", app, LR"(D:\C\Projects|D:\C\Projects|D:\Moonreel|Debugging)"},
        {files + LR"(\a\h.exe)", files, app, installed + app + roaming},
        {LR"(c:\program files\h.exe)", files, LR"(C:\r\\)", installed + L"C:\\r" + roaming},
        {files + L"\\h.exe", files + LR"(\\)", app, portable},
        {files + L"\\h.exe", L"", app, portable},
        {L"E:\\h.exe", files, app, L"E:|E:\\DLL|E:|Portable\n"},
        {LR"(D:\C\Projects)", L"", L"", L"D:\\C|D:\\C\\DLL|D:\\C|Portable\n"},
        {L"", L"", L"", L"|\\DLL||Portable\n"},
        {L"E:\\" + std::wstring(257, L'a') + L"\\h.exe", L"", L"", L"|\\DLL||Portable\n"}};
    for (const auto& [program, programFiles, appData, wanted] : cases) {
        const HostFolders got = FindHostFolders({program.c_str(), programFiles.c_str(), appData.c_str()});
        EXPECT_EQ(std::wstring(got.program) + L"|" + got.library + L"|" + got.data + L"|" + got.mode, wanted);
    }
}

TEST(PickShaderId, PicksTheRandomNumberModuloTheLinesWithALineEnd) {
    const std::string several = "\r\na\r\n\r\nb\n\rc\rd\n\ne\nunfinished";
    const std::tuple<std::string, std::uint32_t, const wchar_t*> cases[] = {
        {several, 0, L"a"},
        {several, 0x80000000, L"d"},
        {several, 7, L"c"},
        {"", 0, L""},
        {"\n\r\n\r", 0, L""},
        {"MdX3Rr", 0, L""},
        {"  one # two \n", 0, L"  one # two "},
        {"\xE4\x80\n", 0, L"\u00E4\u20AC"},
        {"\xC3\xA4\n", 0, L"\u00C3\u00A4"},
        {"1234567890123456789\n", 0, L"1234567890123456789"},
        {"12345678901234567890\n", 0, L""},
        {std::string(300000, 'x') + "\n", 0, L""},
        {std::string("a\0b\n", 4), 0, L""}};
    for (const auto& [playlist, number, expected] : cases) {
        static std::uint32_t randomNumber;
        randomNumber = number;
        const test::TempFile file(playlist, L".txt");
        wchar_t id[20] = L"left over";
        EXPECT_EQ(PickShaderId(file.Path().c_str(), id, [] { return randomNumber; }), *expected != L'\0');
        EXPECT_STREQ(id, expected) << testing::PrintToString(playlist.substr(0, 40));
    }
    std::uint32_t varying = 0;
    for (int i = 0; i < 100; ++i) {
        varying |= SystemRandom() ^ SystemRandom();
    }
    EXPECT_EQ(varying, 0xFFFFFFFF) << "a bit of the random number never varies";
}

/// Expects the whole notice, with this edit link and shown description.
void ExpectNotice(const std::wstring& id, const std::wstring& name, const std::wstring& author,
                  const std::wstring& description, const std::wstring& shown, const std::wstring& editor = {},
                  const std::wstring& editLink = {}) {
    ShaderInfo info = {};
    CopyCut(info.id, id);
    CopyCut(info.name, name);
    CopyCut(info.username, author);
    CopyCut(info.description, description);
    std::wstring text(4096, L'#');
    EXPECT_TRUE(ComposeInfoText(info, editor.c_str(), text));
    text.resize(text.find(L'\0'));
    const std::wstring host = L"https://" + std::wstring(kServiceHost);
    const auto field = [&](const std::wstring& page, const std::wstring& label) {
        return L"\\cf3{\\field{\\*\\fldinst HYPERLINK \"" + host + page + L"\"}{\\fldrslt " + label + L"}}";
    };
    EXPECT_EQ(text,
              L"{\\rtf1\\ansi\\deff0{\\colortbl;\\red%lu\\green%lu\\blue%lu;\\red%lu\\green%lu\\blue%lu;"
              L"\\red%lu\\green%lu\\blue%lu;}\\cf2\\highlight1 \\cf2 Shader: " +
                  field(L"/view/" + id, name) + editLink + L"\\line \\cf2 Author: " +
                  field(L"/user/" + author, author) + L"\\line \\cf2 Description: " + shown + L"\\par}");
    EXPECT_FALSE(ComposeInfoText(info, editor.c_str(), text)) << "no room for the terminator";
}

TEST(Overlay, StripsOnlyTheDescriptionsTrailingLineEnds) {
    const std::pair<std::wstring, std::size_t> cases[] = {
        {L"a {brace}, a } alone", 0},
        {L"C:\\dir \\par \\'41 100% %s %lu \"quoted\" \xD83C\xDF0A", 0},
        {L"first\r\nsecond\n\nthird\n\r\n", 3},
        {L"\r\n\n", 3},
        {L"Text\n\t", 0}};
    for (const auto& [text, removed] : cases) {
        ExpectNotice(L"id", text, text, text, text.substr(0, text.size() - removed));
    }
    const std::wstring longest(259, L'd');
    ExpectNotice(std::wstring(19, L'i'), std::wstring(127, L'n'), std::wstring(63, L'u'), longest, longest);
}

TEST(Overlay, OmitsAnEditLinkThatExceedsItsField) {
    const std::wstring begin = L"\\cf2 \t\t[ \\cf3{\\field{\\*\\fldinst{HYPERLINK \"file://";
    const std::wstring end = L"?Xs3BR4\"}}{\\fldrslt Edit w/GlowBench} \\cf2 ] }";
    const std::size_t room = kPathUnits - 1 - begin.size() - end.size();
    for (const std::size_t length : {room - 1, room, room + 1, room + end.size(), kPathUnits - 1}) {
        const std::wstring editor(length, L'e');
        ExpectNotice(L"Xs3BR4", L"Name", L"Author", L"Text", L"Text", editor,
                     length <= room ? begin + editor + end : L"");
    }
}

}  // namespace
}  // namespace pixelforge
