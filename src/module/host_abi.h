// The records that the host and the module share, byte for byte, and the exported functions' types.
// Needs no Windows header: a handle is the pointer type that windows.h gives it under STRICT.
#pragma once

#include <cstddef>
#include <cstdint>

struct HBITMAP__;
struct HDC__;
struct HWND__;

namespace pixelforge {

struct ModuleInstance;

/// Units of every text field in these records, the terminator included.
inline constexpr std::size_t kHostTextUnits = 260;

/// Filled by `ModuleGetDescription`, owned by the host, which alone knows what the numbers mean.
struct ModuleDescription {
    std::uint32_t leading[4];
    wchar_t displayName[kHostTextUnits];
    wchar_t description[kHostTextUnits];
    std::uint32_t trailing;
    wchar_t buildText[kHostTextUnits];
};

/// Receives rich text to show, or an empty text to clear it.
using InfoTextCallback = void (*)(const wchar_t* text);

/// The host's record for one display, passed to pre-initialisation, initialisation and every frame.
/// The module only reads it.
struct DrawContext {
    std::uint8_t hostFields[8];
    std::int32_t levelDivisor;  ///< number of colours of the host's palette
    std::int32_t levelOutput;   ///< non-zero: level output; its value at pre-initialisation also decides
                                ///< whether frames pass through the module's own bitmap
    std::int32_t width;         ///< pixels
    std::int32_t height;        ///< pixels
    HBITMAP__* bitmap;          ///< the host's 32-bit DIB section that receives the frame
    void* hostField1;
    HDC__* dc;  ///< used for the error screen only
    void* hostField2;
    HWND__* window;  ///< its device context carries the GL context on every frame
    void* hostFields3[4];
    InfoTextCallback infoTextCallback;
};

enum class ControlKind : std::uint32_t {
    GroupHeader = 1,
    WholeNumber = 2,
    DecimalNumber = 4,
    Switch = 5,
    FileList = 6,
    BitMask = 7,
};

struct WholeNumberArea {
    std::int32_t bounds[3][2];  ///< lowest and highest, three times
    std::int32_t value[2];      ///< the first is the current value
};

struct DecimalNumberArea {
    float bounds[3][2];
    float value[2];  ///< the first is the current value
};

struct SwitchArea {
    float bounds[2];
    std::int32_t value[2];  ///< the second is the current value, non-zero is on
};

struct FileListArea {
    const wchar_t* filter;      ///< description, tab, pattern, two tabs; static, owned by the module
    const wchar_t* editorName;  ///< file name of the tool that edits such files; static, owned by the module
    void* reserved;
    std::uint16_t reserved16;
    wchar_t fileName[kHostTextUnits];  ///< the selected file's name
};

struct BitMaskArea {
    std::int32_t gridSize[2];  ///< columns and rows
};

/// One setting, allocated and owned by the host. The module fills it once and later reads its value.
struct ControlRecord {
    ControlKind kind;
    std::uint32_t one;
    wchar_t names[kHostTextUnits];        ///< group name NUL label NUL NUL; a header: group name NUL NUL
    wchar_t description[kHostTextUnits];  ///< text NUL NUL
    std::uint32_t options;
    std::int32_t hostPair[2];
    union {
        WholeNumberArea whole;
        DecimalNumberArea decimal;
        SwitchArea toggle;
        FileListArea files;
        BitMaskArea mask;
    };
};

/// The host's function that allocates one control record; null skips that control.
using AllocateControl = ControlRecord* (*)(void* hostContext);

/// Results of `ModuleDrawFrame`.
enum class FrameResult : std::int32_t {
    Failed = 0,        ///< loading, the GL context, rendering or read-back failed; the next call retries
    Drawn = 1,         ///< a new frame is in the host's bitmap
    ResetWanted = 2,   ///< the host should call `ModuleInitialize` again
    NothingDrawn = 3,  ///< the error screen was drawn, or drawing is off
};

/// The exports, in the order the host calls them. All run on the host's calling thread and return 0 for a
/// null record.
using ModuleGetDescriptionFunction = std::int32_t (*)(ModuleDescription* description);
using ModuleBuildControlStructureFunction = std::int32_t (*)(ModuleInstance** instance, void* unused,
                                                             AllocateControl allocate, void* hostContext);
using ModulePreInitializeFunction = std::int32_t (*)(ModuleInstance* instance, DrawContext* context);
using ModuleInitializeFunction = std::int32_t (*)(ModuleInstance* instance, DrawContext* context);
using ModuleDrawFrameFunction = std::int32_t (*)(ModuleInstance* instance, DrawContext* context);
using ModuleCleanUpFunction = std::int32_t (*)(ModuleInstance* instance);
using ModuleDestroyControlStructureFunction = std::int32_t (*)(ModuleInstance* instance);

// The layout is fixed where wchar_t is a UTF-16 unit: in every build that a host can load.
inline constexpr bool kHasHostLayout = sizeof(wchar_t) == 2;
static_assert(offsetof(ModuleDescription, leading) == 0);
static_assert(!kHasHostLayout || offsetof(ModuleDescription, displayName) == 16);
static_assert(!kHasHostLayout || offsetof(ModuleDescription, description) == 536);
static_assert(!kHasHostLayout || offsetof(ModuleDescription, trailing) == 1056);
static_assert(!kHasHostLayout || offsetof(ModuleDescription, buildText) == 1060);
static_assert(offsetof(DrawContext, levelDivisor) == 8);
static_assert(offsetof(DrawContext, levelOutput) == 12);
static_assert(offsetof(DrawContext, width) == 16);
static_assert(offsetof(DrawContext, height) == 20);
static_assert(offsetof(DrawContext, bitmap) == 24);
static_assert(offsetof(DrawContext, dc) == 40);
static_assert(offsetof(DrawContext, window) == 56);
static_assert(offsetof(DrawContext, infoTextCallback) == 96);
static_assert(sizeof(DrawContext) == 104);
static_assert(offsetof(ControlRecord, kind) == 0);
static_assert(offsetof(ControlRecord, one) == 4);
static_assert(!kHasHostLayout || offsetof(ControlRecord, names) == 8);
static_assert(!kHasHostLayout || offsetof(ControlRecord, description) == 528);
static_assert(!kHasHostLayout || offsetof(ControlRecord, options) == 1048);
static_assert(!kHasHostLayout || offsetof(ControlRecord, hostPair) == 1052);
static_assert(!kHasHostLayout || offsetof(ControlRecord, whole) == 1064);
static_assert(offsetof(FileListArea, filter) == 0);
static_assert(offsetof(FileListArea, editorName) == 8);
static_assert(offsetof(FileListArea, reserved) == 16);
static_assert(offsetof(FileListArea, reserved16) == 24);
static_assert(!kHasHostLayout || offsetof(ControlRecord, files.fileName) == 1090);

}  // namespace pixelforge
