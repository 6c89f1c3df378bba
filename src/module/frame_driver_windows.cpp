// The steps of one frame, in their fixed order.
#include "module/frame_driver.h"

#include <windows.h>

#include "base/debug_output.h"
#include "module/animation.h"
#include "module/controls.h"
#include "module/error_screen.h"
#include "module/frame_delivery.h"
#include "module/module_instance.h"
#include "module/shader_loader.h"
#include "render/gl_context.h"
#include "render/gl_renderer.h"
#include "render/pass_graph.h"

namespace pixelforge {
namespace {

/// True when the host is to reset now. The first frame on which the reset control is on asks at once,
/// because the next reset's tick starts at 0.
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

bool RenderOneFrame(ModuleInstance& instance) {
    const FrameParameters parameters = {1, DecimalValue(instance, control::kSpeed)};
    return RenderFrame(instance.renderer, &parameters, 1, 0, 0) != 0;
}

/// A failed load is tried again on every following frame; so is one without the memory to say why it failed.
bool LoadPendingShader(ModuleInstance& instance, const DrawContext& context) {
    bool loaded = false;
    instance.needsLoad = 0;
    try {
        loaded = RunLoader(instance, context);
    } catch (...) {
        WriteDebugLine("cannot load a shader");
    }
    if (loaded) {
        return true;
    }
    instance.errorFlag = 1;
    instance.needsLoad = 1;
    return false;
}

}  // namespace

FrameResult DrawFrame(ModuleInstance& instance, const DrawContext& context) {
    const CurrentContextKeeper callersContext;
    if (instance.needsLoad) {
        if (!LoadPendingShader(instance, context)) {
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
        return FrameResult::Failed;
    }
    if (ResetIsDue(instance)) {
        return FrameResult::ResetWanted;
    }
    if (!SwitchValue(instance, control::kDrawEvent)) {
        return FrameResult::NothingDrawn;
    }
    AnimateFrame(instance, context);
    if (!RenderOneFrame(instance) || !DeliverFrame(instance, context)) {
        return FrameResult::Failed;
    }
    TileFrame(instance, context);
    return FrameResult::Drawn;
}

}  // namespace pixelforge
