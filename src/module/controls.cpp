// The control table, row by row, and the records made from it.
#include "module/controls.h"

#include <algorithm>
#include <iterator>

namespace pixelforge {
namespace {

/// A literal with all its NULs, including the implicit one.
template <std::size_t N>
constexpr std::wstring_view Units(const wchar_t (&literal)[N]) {
    return {literal, N};
}

constexpr ControlRow Header(std::wstring_view names, std::wstring_view description) {
    return {ControlKind::GroupHeader, names, description, 0, {0, 0}, {}, {}, nullptr};
}

constexpr ControlRow kGeneralHeader =
    Header(Units(L"General\0"), Units(L"General module configuration controls\0"));
constexpr ControlRow kColorHeader =
    Header(Units(L"Color\0"), Units(L"Configure the color index and progression\0"));
constexpr ControlRow kTilingHeader =
    Header(Units(L"Tiling\0"), Units(L"Set the tiling extents and method\0"));
constexpr ControlRow kDrawingHeader =
    Header(Units(L"Drawing\0"), Units(L"Set the conditions for when the module will draw or reset\0"));

// Description, tab, pattern; two tabs end the list.
constexpr const wchar_t* kPlaylistFilter = L"Playlist Files\t*.playlist\t\t";
constexpr const wchar_t* kPlaylistEditor = L"GlowBench.exe";

}  // namespace

namespace control {

constexpr ControlRow kSpeed = {ControlKind::DecimalNumber,
                               Units(L"General\0Speed\0"),
                               Units(L"Animation speed\0"),
                               31,
                               {1, 1},
                               {-1.0, 1.0, -0.01, 0.02, -0.01, 0.02},
                               {0.03, 0.03},
                               [](ModuleInstance& instance) { return &instance.speed; }};
constexpr ControlRow kPlaylistFiles = {ControlKind::FileList,
                                       Units(L"General\0Playlist File(s)\0"),
                                       Units(L"Select Pixelforge playlist file(s)\0"),
                                       1,
                                       {3, 3},
                                       {},
                                       {},
                                       [](ModuleInstance& instance) { return &instance.playlistFiles; }};
constexpr ControlRow kFastBuffers = {ControlKind::Switch,
                                     Units(L"General\0Fast Buffers\0"),
                                     Units(L"Faster but less compatible frame buffer format\0"),
                                     3,
                                     {1, 1},
                                     {0.5, 0.5},
                                     {0, 0},
                                     [](ModuleInstance& instance) { return &instance.fastBuffers; }};
constexpr ControlRow kMultiSample = {
    ControlKind::WholeNumber,
    Units(L"General\0Multi-Sample\0"),
    Units(L"Number of samples for multi-sampling. Higher values will increase image quality at the cost of "
          L"compatibility, resource use, and frame rate.\0"),
    3,
    {1, 1},
    {0, 5, 0, 5, 0, 5},
    {0, 0},
    [](ModuleInstance& instance) { return &instance.multiSample; }};
constexpr ControlRow kInfoTime = {ControlKind::WholeNumber,
                                  Units(L"General\0Info Time\0"),
                                  Units(L"Number of seconds to display shader information.\0"),
                                  3,
                                  {1, 1},
                                  {0, 60, 1, 60, 1, 60},
                                  {4, 4},
                                  [](ModuleInstance& instance) { return &instance.infoTime; }};
constexpr ControlRow kForegroundOnly = {ControlKind::Switch,
                                        Units(L"General\0Foreground Only\0"),
                                        Units(L"Only draw foreground (non-black) pixels.\0"),
                                        3,
                                        {1, 1},
                                        {0.5, 0.5},
                                        {0, 0},
                                        [](ModuleInstance& instance) { return &instance.foregroundOnly; }};
// Declared for the host only: the pick from the playlist is random.
constexpr ControlRow kStartingIndex = {ControlKind::DecimalNumber,
                                       Units(L"General\0Starting Index\0"),
                                       Units(L"Starting position for animation\0"),
                                       3,
                                       {2, 2},
                                       {0, 4000.0, 0, 4000.0, 0, 4000.0},
                                       {0.01, 0.01},
                                       [](ModuleInstance& instance) { return &instance.startingIndex; }};

constexpr ControlRow kColorIndex = {ControlKind::DecimalNumber,
                                    Units(L"Color\0Color Index\0"),
                                    Units(L"Index of the primary drawing color\0"),
                                    31,
                                    {4, 4},
                                    {0, 1.0, 0.01, 1.0, 0.01, 1.0},
                                    {1.0, 1.0},
                                    [](ModuleInstance& instance) { return &instance.color.colorIndex; }};
constexpr ControlRow kProgressionRate = {
    ControlKind::DecimalNumber,
    Units(L"Color\0Progression rate\0"),
    Units(L"Rate at which colors in a frame vary from the primary color\0"),
    31,
    {1, 1},
    {0, 1.0, 0, 1.0, 0, 1.0},
    {0.1, 0.1},
    [](ModuleInstance& instance) { return &instance.color.progressionRate; }};
constexpr ControlRow kAlternateColors = {
    ControlKind::Switch,
    Units(L"Color\0Alternate Colors\0"),
    Units(L"Alternate indices to force striping\0"),
    3,
    {1, 1},
    {0.5, 0.5},
    {0, 0},
    [](ModuleInstance& instance) { return &instance.color.alternateColors; }};

constexpr ControlRow kXTiling = {ControlKind::WholeNumber,
                                 Units(L"Tiling\0X Tiling\0"),
                                 Units(L"Maximum number of tiles on the X-axis\0"),
                                 31,
                                 {1, 1},
                                 {1, 32, 1, 8, 1, 8},
                                 {1, 1},
                                 [](ModuleInstance& instance) { return &instance.tiling.xTiling; }};
constexpr ControlRow kYTiling = {ControlKind::WholeNumber,
                                 Units(L"Tiling\0Y Tiling\0"),
                                 Units(L"Maximum number of tiles on the Y-axis\0"),
                                 31,
                                 {1, 1},
                                 {1, 32, 1, 8, 1, 8},
                                 {1, 1},
                                 [](ModuleInstance& instance) { return &instance.tiling.yTiling; }};
constexpr ControlRow kMirroring = {ControlKind::Switch,
                                   Units(L"Tiling\0Mirroring\0"),
                                   Units(L"Switch the orientation of odd tiles\0"),
                                   31,
                                   {1, 1},
                                   {0.5, 0.5},
                                   {1, 1},
                                   [](ModuleInstance& instance) { return &instance.tiling.mirroring; }};
// Stored but unused: every tile is always drawn.
constexpr ControlRow kTileMask = {ControlKind::BitMask,
                                  Units(L"Tiling\0Tile Mask\0"),
                                  Units(L"Controls which tiles are displayed\0"),
                                  3,
                                  {1, 1},
                                  {},
                                  {32, 32},
                                  [](ModuleInstance& instance) { return &instance.tiling.tileMask; }};

constexpr ControlRow kDrawEvent = {ControlKind::Switch,
                                   Units(L"Drawing\0Draw Event\0"),
                                   Units(L"The module will draw when TRUE.\0"),
                                   31,
                                   {1, 1},
                                   {0.5, 0.5},
                                   {1, 1},
                                   [](ModuleInstance& instance) { return &instance.drawEvent; }};
constexpr ControlRow kResetEvent = {ControlKind::Switch,
                                    Units(L"Drawing\0Reset Event\0"),
                                    Units(L"Forces the module to reset and reinitialize when TRUE.\0"),
                                    31,
                                    {1, 1},
                                    {0.5, 0.5},
                                    {0, 0},
                                    [](ModuleInstance& instance) { return &instance.resetEvent; }};
constexpr ControlRow kMinResetTime = {ControlKind::WholeNumber,
                                      Units(L"Drawing\0Min Reset Time\0"),
                                      Units(L"Minimum time until next reset event in milliseconds.\0"),
                                      31,
                                      {1, 1},
                                      {0, 20000, 0, 20000, 0, 20000},
                                      {5000, 5000},
                                      [](ModuleInstance& instance) { return &instance.minResetTime; }};

}  // namespace control

namespace {

constexpr const ControlRow* kTable[] = {
    &kGeneralHeader,         &control::kSpeed,      &control::kPlaylistFiles,   &control::kFastBuffers,
    &control::kMultiSample,  &control::kInfoTime,   &control::kForegroundOnly,  &control::kStartingIndex,
    &kColorHeader,           &control::kColorIndex, &control::kProgressionRate, &control::kAlternateColors,
    &kTilingHeader,          &control::kXTiling,    &control::kYTiling,         &control::kMirroring,
    &control::kTileMask,     &kDrawingHeader,       &control::kDrawEvent,       &control::kResetEvent,
    &control::kMinResetTime,
};

template <class Number>
void FillNumbers(Number (&bounds)[3][2], Number (&value)[2], const ControlRow& row) {
    for (std::size_t i = 0; i < 6; ++i) {
        bounds[i / 2][i % 2] = static_cast<Number>(row.bounds[i]);
    }
    for (std::size_t i = 0; i < 2; ++i) {
        value[i] = static_cast<Number>(row.value[i]);
    }
}

void FillSwitch(SwitchArea& area, const ControlRow& row) {
    for (std::size_t i = 0; i < 2; ++i) {
        area.bounds[i] = static_cast<float>(row.bounds[i]);
        area.value[i] = static_cast<std::int32_t>(row.value[i]);
    }
}

void FillFileList(FileListArea& area) {
    area.filter = kPlaylistFilter;
    area.editorName = kPlaylistEditor;
    area.reserved = nullptr;
    area.reserved16 = 0;
    std::fill(std::begin(area.fileName), std::end(area.fileName), L'\0');
}

void FillValueArea(ControlRecord& record, const ControlRow& row) {
    switch (row.kind) {
        case ControlKind::GroupHeader:
            break;
        case ControlKind::WholeNumber:
            FillNumbers(record.whole.bounds, record.whole.value, row);
            break;
        case ControlKind::DecimalNumber:
            FillNumbers(record.decimal.bounds, record.decimal.value, row);
            break;
        case ControlKind::Switch:
            FillSwitch(record.toggle, row);
            break;
        case ControlKind::FileList:
            FillFileList(record.files);
            break;
        case ControlKind::BitMask:
            for (std::size_t i = 0; i < 2; ++i) {
                record.mask.gridSize[i] = static_cast<std::int32_t>(row.value[i]);
            }
            break;
    }
}

/// Copies a text that ends in two NULs, including both, and clears the rest of the field. A text without two
/// NULs within the field's 260 units is copied as empty.
void CopyDoubleTerminated(wchar_t (&field)[kHostTextUnits], std::wstring_view text) noexcept {
    std::fill(std::begin(field), std::end(field), L'\0');
    const std::size_t end = text.substr(0, kHostTextUnits).find(std::wstring_view(L"\0\0", 2));
    if (end != std::wstring_view::npos) {
        text.copy(field, end);
    }
}

void FillRecord(ControlRecord& record, const ControlRow& row) {
    record.kind = row.kind;
    record.one = 1;
    CopyDoubleTerminated(record.names, row.names);
    CopyDoubleTerminated(record.description, row.description);
    record.options = row.options;
    std::copy(std::begin(row.hostPair), std::end(row.hostPair), record.hostPair);
    FillValueArea(record, row);
}

const ControlRecord* RecordOf(ModuleInstance& instance, const ControlRow& row) noexcept {
    return *row.slot(instance);
}

}  // namespace

std::span<const ControlRow* const> ControlTable() noexcept {
    return kTable;
}

void BuildControls(ModuleInstance& instance, AllocateControl allocate, void* hostContext) {
    if (!allocate) {
        return;
    }
    for (const ControlRow* row : kTable) {
        ControlRecord* record = allocate(hostContext);
        if (!record) {
            continue;
        }
        FillRecord(*record, *row);
        if (row->slot) {
            *row->slot(instance) = record;
        }
    }
}

std::int32_t WholeValue(ModuleInstance& instance, const ControlRow& row) noexcept {
    const ControlRecord* record = RecordOf(instance, row);
    return record ? record->whole.value[0] : static_cast<std::int32_t>(row.value[0]);
}

float DecimalValue(ModuleInstance& instance, const ControlRow& row) noexcept {
    const ControlRecord* record = RecordOf(instance, row);
    return record ? record->decimal.value[0] : static_cast<float>(row.value[0]);
}

bool SwitchValue(ModuleInstance& instance, const ControlRow& row) noexcept {
    const ControlRecord* record = RecordOf(instance, row);
    return record ? record->toggle.value[1] != 0 : row.value[1] != 0.0;
}

}  // namespace pixelforge
