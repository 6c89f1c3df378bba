// The per-instance record that the host passes to every call, and the bodies of all exports but the frame.
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

/// An animation block of the host framework, which defines the modes. This module only starts and advances
/// blocks, and with the default flags none of them runs.
struct FrameworkAnimation {
    std::int32_t mode;
    std::uint32_t steps;  ///< frames since the start
};

/// Multi-colour progression of the host framework (flag 0x08). The framework owns its controls; the pointers
/// stay null here.
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

/// Allocated zero-filled by `ModuleBuildControlStructure`, freed by `ModuleDestroyControlStructure`. Control
/// records belong to the host, and their pointers may be null; the other pointers are owned.
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
    wchar_t infoText[kInfoTextUnits];  ///< the rich text last passed to the host
    std::uint64_t contextLossTick;     ///< system tick count of the last lost context, or 0
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

/// Fills the host's record; the build text holds the build date and time that CMake sets.
std::int32_t DescribeModule(ModuleDescription& description) noexcept;

/// Stores a new instance for the host and creates the controls. 0 if the heap is exhausted.
std::int32_t BuildInstance(ModuleInstance** instance, AllocateControl allocate, void* hostContext);

/// Sets up session, include folder, off-screen bitmap and editor path. A repeated call replaces the bitmap
/// and the include context but keeps the session.
std::int32_t PrepareInstance(ModuleInstance& instance, const DrawContext& context);

/// Schedules a load for the next frame.
std::int32_t ScheduleLoad(ModuleInstance& instance, const DrawContext& context) noexcept;

/// Clears the host's overlay; releases nothing.
std::int32_t ClearOverlay(const ModuleInstance& instance);

/// Releases the instance and everything it owns.
std::int32_t DestroyInstance(ModuleInstance* instance);

}  // namespace pixelforge
