// The per-instance record that the host holds and hands back on every call.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/text.h"
#include "module/host_abi.h"

namespace pixelforge {

struct GlRenderer;
struct InternetSession;
struct IncludeContext;

inline constexpr std::size_t kInfoTextUnits = 4096;

/// An animation block of the host framework. What a mode does is the framework's business; this module
/// only starts and advances blocks, and none of them runs with its default flags.
struct FrameworkAnimation {
    std::int32_t mode;
    std::uint32_t steps;  ///< frames since the start
};

/// Multi-colour progression of the host framework (flag 0x08). Its controls are the framework's, so
/// their pointers stay null here.
struct MultiColorBlock {
    ControlRecord* modeControl;
    ControlRecord* stepControl;
    ControlRecord* entryControls[3];
    std::int32_t entrySteps[3];  ///< pixels
    std::int32_t stepWidth;      ///< pixels
    std::int32_t mode;
    std::int32_t currentEntry;
};

/// The "Color" group: a colour index that walks back and forth through the host's palette.
struct ColorBlock {
    ControlRecord* colorIndex;
    ControlRecord* progressionRate;
    ControlRecord* alternateColors;
    std::int32_t enabled;
    float progress;  ///< 0 to 1
    float rate;      ///< added to the progress once a frame
    std::int32_t index;
    std::int32_t stripeToggle;
};

/// The "Tiling" group.
struct TilingBlock {
    ControlRecord* xTiling;
    ControlRecord* yTiling;
    ControlRecord* mirroring;
    ControlRecord* tileMask;
    std::int32_t tilesX;
    std::int32_t tilesY;
    std::int32_t flipOddTiles;
};

/// Allocated zero-filled by `ModuleBuildControlStructure`, freed by `ModuleDestroyControlStructure`.
/// Pointers to control records belong to the host and may be null; the other pointers are owned.
struct ModuleInstance {
    ControlRecord* fastBuffers;
    ControlRecord* multiSample;
    ControlRecord* playlistFiles;
    ControlRecord* speed;
    ControlRecord* infoTime;
    ControlRecord* foregroundOnly;
    ControlRecord* startingIndex;

    GlRenderer* renderer;
    InternetSession* session;
    IncludeContext* includeState;

    std::uint32_t animationFlags;
    std::int32_t progressionMode;

    FrameworkAnimation mode13Block;  // flag 0x04
    MultiColorBlock multiColor;      // flag 0x08
    float colorPosition[3];
    float colorDelta[3];              // added to colorPosition once a frame
    ColorBlock color;                 // flag 0x10
    TilingBlock tiling;               // flag 0x40
    FrameworkAnimation subBlocks[4];  // flag 0x80

    ControlRecord* drawEvent;
    ControlRecord* resetEvent;
    ControlRecord* minResetTime;
    std::int64_t nextResetTick;  ///< milliseconds of the system tick count

    std::int32_t useOffscreen;  ///< the host's levelOutput at pre-initialisation
    HBITMAP__* offscreenBitmap;
    HWND__* renderWindow;
    std::int32_t errorFlag;
    std::int32_t needsLoad;
    InfoTextCallback infoTextCallback;
    wchar_t editorPath[kPathUnits];    ///< with forward slashes, or empty
    wchar_t infoText[kInfoTextUnits];  ///< the rich text that the host was handed last
};

static_assert(offsetof(ModuleInstance, fastBuffers) == 0);
static_assert(offsetof(ModuleInstance, multiSample) == 8);
static_assert(offsetof(ModuleInstance, playlistFiles) == 16);
static_assert(offsetof(ModuleInstance, speed) == 24);
static_assert(offsetof(ModuleInstance, infoTime) == 32);
static_assert(offsetof(ModuleInstance, foregroundOnly) == 40);
static_assert(offsetof(ModuleInstance, startingIndex) == 48);
static_assert(offsetof(ModuleInstance, renderer) == 56);
static_assert(offsetof(ModuleInstance, session) == 64);
static_assert(offsetof(ModuleInstance, includeState) == 72);
static_assert(offsetof(ModuleInstance, animationFlags) == 80);
static_assert(offsetof(ModuleInstance, progressionMode) == 84);

}  // namespace pixelforge
