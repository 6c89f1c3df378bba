// The steps of one frame, in their fixed order.
#include "module/frame_driver.h"

#include <windows.h>

#include <utility>

#include "base/bitmap.h"
#include "base/win_handles.h"
#include "module/animation.h"
#include "module/controls.h"
#include "module/module_instance.h"
#include "module/shader_loader.h"
#include "post/bitmap_adapter.h"
#include "post/compositing.h"
#include "render/gl_context.h"
#include "render/gl_renderer.h"
#include "render/render_frame.h"

namespace pixelforge {
namespace {

constexpr COLORREF kErrorTextColor = RGB(30, 255, 60);

/// A second lost context within this time is blamed on the shader.
constexpr std::uint64_t kLossMilliseconds = 60'000;

/// Clears `needsLoad` during the load, as the host may call back into the module, and sets it again unless
/// the load succeeds.
class PendingLoad {
public:
    explicit PendingLoad(ModuleInstance& instance) noexcept : instance_(instance) { instance_.needsLoad = 0; }
    ~PendingLoad() {
        if (!succeeded_) {
            instance_.errorFlag = 1;
            instance_.needsLoad = 1;
        }
    }
    PendingLoad(const PendingLoad&) = delete;
    PendingLoad& operator=(const PendingLoad&) = delete;

    bool Run(const DrawContext& context) {
        succeeded_ = RunLoader(instance_, context);
        return succeeded_;
    }

private:
    ModuleInstance& instance_;
    bool succeeded_ = false;
};

/// Uses GDI only: there may be no GL context.
void DrawErrorScreen(const DrawContext& context) {
    const GdiSelection target(context.dc, context.bitmap);
    SetTextColor(context.dc, kErrorTextColor);
    SetBkColor(context.dc, 0);
    PatBlt(context.dc, 0, 0, context.width, context.height, BLACKNESS);
    RECT area = {context.width / 5, context.height / 5, context.width, context.height};
    DrawTextW(context.dc, L"Shader Error", -1, &area, DT_WORDBREAK);
}

/// True if the host should reset now. As `nextResetTick` starts at 0, the first frame with the reset control
/// on requests a reset immediately.
bool ResetIsDue(ModuleInstance& instance) {
    if (!SwitchValue(instance, control::kResetEvent)) {
        return false;
    }
    const auto now = static_cast<std::int64_t>(GetTickCount64());
    if (now <= instance.nextResetTick) {
        return false;
    }
    instance.nextResetTick = now + WholeValue(instance, control::kMinResetTime);
    return true;
}

/// Reports a failed frame, once per load. A lost context makes the next frame load again. If the new context
/// is soon lost as well, the shader may be hanging the graphics processor: the error screen then stays until
/// the host initialises again.
FrameResult FailFrame(ModuleInstance& instance, const char* reason) {
    if (!instance.renderer) {
        return FrameResult::Failed;  // the host has not initialised the instance
    }
    ReportUndrawable(*instance.renderer, reason);
    if (instance.renderer->contextLost) {
        const std::uint64_t now = GetTickCount64();
        const std::uint64_t previous = std::exchange(instance.contextLossTick, now);
        const bool again = previous != 0 && now - previous < kLossMilliseconds;
        (again ? instance.errorFlag : instance.needsLoad) = 1;
    }
    return FrameResult::Failed;
}

bool RenderOneFrame(ModuleInstance& instance) {
    const FrameParameters parameters = {1, DecimalValue(instance, control::kSpeed)};
    return RenderFrame(instance.renderer, &parameters, 1, 0, 0) != 0;
}

/// The two bitmaps that a frame passes through. Empty pixels mean there is no such section.
struct FrameBitmaps {
    SectionPixels own;
    SectionPixels host;

    bool AreBothPresent() const noexcept { return !own.bytes.empty() && !host.bytes.empty(); }
};

/// The record that the kernels expect.
BITMAP RecordOf(const SectionPixels& pixels) noexcept {
    BITMAP record = {};
    record.bmWidth = pixels.width;
    record.bmHeight = pixels.height;
    record.bmBitsPixel = static_cast<WORD>(pixels.bitsPerPixel);
    record.bmBits = pixels.bytes.data();
    return record;
}

/// Transfers levels if the host wants them in this frame, else the colours of non-black pixels.
void Composite(const FrameBitmaps& bitmaps, const DrawContext& context, bool foregroundOnly) {
    if (!bitmaps.AreBothPresent()) {
        return;
    }
    const BITMAP own = RecordOf(bitmaps.own);
    const BITMAP host = RecordOf(bitmaps.host);
    const std::uint32_t count = SharedPixelCount(&own, &host);
    if (context.levelOutput) {
        LevelCopy(own.bmBits, host.bmBits, count, static_cast<std::uint32_t>(context.levelDivisor),
                  foregroundOnly ? 1 : 0);
    } else {
        ForegroundCopy(own.bmBits, host.bmBits, count);
    }
}

/// Reads the frame straight into the host's bitmap or, off-screen, into the module's own. From there, levels
/// or foreground pixels are copied to the host's bitmap; otherwise the frame stays there for tiling.
bool DeliverFrame(ModuleInstance& instance, const DrawContext& context, const FrameBitmaps& bitmaps) {
    if (!ReadFrameIntoBitmap(instance.renderer, instance.useOffscreen ? bitmaps.own : bitmaps.host)) {
        return false;
    }
    const bool foregroundOnly = SwitchValue(instance, control::kForegroundOnly);
    if (instance.useOffscreen && (context.levelOutput || foregroundOnly)) {
        Composite(bitmaps, context, foregroundOnly);
    }
    return true;
}

/// Replaces the host's picture with tiles of the module's own bitmap if there is more than one tile.
void TileFrame(const ModuleInstance& instance, const DrawContext& context, const FrameBitmaps& bitmaps) {
    const TilingBlock& tiling = instance.tiling;
    if (static_cast<std::int64_t>(tiling.tilesX) + tiling.tilesY < 3 || !bitmaps.AreBothPresent()) {
        return;
    }
    const BITMAP own = RecordOf(bitmaps.own);
    const BITMAP host = RecordOf(bitmaps.host);
    TileRemap(&host, &own, 0, 0, context.width, context.height, tiling.tilesX, tiling.tilesY,
              tiling.flipOddTiles);
}

}  // namespace

FrameResult DrawFrame(ModuleInstance& instance, const DrawContext& context) {
    const CurrentContextKeeper callersContext(context.window);
    if (instance.needsLoad) {
        if (!PendingLoad(instance).Run(context)) {
            return FrameResult::Failed;
        }
        if (instance.errorFlag) {
            return FrameResult::NothingDrawn;
        }
    } else if (instance.errorFlag) {
        DrawErrorScreen(context);
        return FrameResult::NothingDrawn;
    }
    if (instance.renderer && !MakeRendererCurrent(*instance.renderer, context.window)) {
        return FailFrame(instance, WhyNotCurrent(*instance.renderer, context.window));
    }
    if (ResetIsDue(instance)) {
        return FrameResult::ResetWanted;
    }
    if (!SwitchValue(instance, control::kDrawEvent)) {
        return FrameResult::NothingDrawn;
    }
    AnimateFrame(instance, context);
    if (!RenderOneFrame(instance)) {
        return FailFrame(instance, "the driver rejects a render target");
    }
    const FrameBitmaps bitmaps = {PixelsOf(instance.offscreenBitmap), PixelsOf(context.bitmap)};
    if (!DeliverFrame(instance, context, bitmaps)) {
        return FailFrame(instance, "the bitmap is missing, not 32-bit or not of the frame's size");
    }
    TileFrame(instance, context, bitmaps);
    return FrameResult::Drawn;
}

}  // namespace pixelforge
