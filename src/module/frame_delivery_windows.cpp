// Read-back, level and foreground output, and tiling, as the frame driver combines them.
#include "module/frame_delivery.h"

#include <windows.h>

#include "module/controls.h"
#include "module/module_instance.h"
#include "post/bitmap_adapter.h"
#include "post/compositing.h"
#include "render/readback.h"

namespace pixelforge {
namespace {

bool Describe(HBITMAP bitmap, BITMAP& description) {
    return bitmap && GetObjectW(bitmap, sizeof(BITMAP), &description) == sizeof(BITMAP);
}

/// Levels when the host wants levels in this frame, else the colours of what is not black.
void Composite(ModuleInstance& instance, const DrawContext& context, bool foregroundOnly) {
    BITMAP own{};
    BITMAP host{};
    if (!Describe(instance.offscreenBitmap, own) || !Describe(context.bitmap, host)) {
        return;
    }
    const std::uint32_t count = SharedPixelCount(&own, &host);
    if (context.levelOutput) {
        LevelCopy(own.bmBits, host.bmBits, count, static_cast<std::uint32_t>(context.levelDivisor),
                  foregroundOnly ? 1 : 0);
    } else {
        ForegroundCopy(own.bmBits, host.bmBits, count);
    }
}

}  // namespace

bool DeliverFrame(ModuleInstance& instance, const DrawContext& context) {
    if (!instance.useOffscreen) {
        return context.bitmap && ReadFrameIntoBitmap(instance.renderer, context.bitmap) != 0;
    }
    if (!instance.offscreenBitmap || !ReadFrameIntoBitmap(instance.renderer, instance.offscreenBitmap)) {
        return false;
    }
    const bool foregroundOnly = SwitchValue(instance, control::kForegroundOnly);
    if (context.levelOutput || foregroundOnly) {
        Composite(instance, context, foregroundOnly);
    }
    return true;
}

void TileFrame(const ModuleInstance& instance, const DrawContext& context) {
    const TilingBlock& tiling = instance.tiling;
    if (static_cast<std::int64_t>(tiling.tilesX) + tiling.tilesY < 3) {
        return;
    }
    BITMAP own{};
    BITMAP host{};
    if (!Describe(instance.offscreenBitmap, own) || !Describe(context.bitmap, host)) {
        return;
    }
    TileRemap(&host, &own, 0, 0, context.width, context.height, tiling.tilesX, tiling.tilesY,
              tiling.flipOddTiles);
}

}  // namespace pixelforge
