// Making, preparing and destroying a `ModuleInstance`: the bodies of the exports around the frame.
#pragma once

#include "module/host_abi.h"

namespace pixelforge {

/// Fills the host's record; the build text tells when the module was compiled.
std::int32_t DescribeModule(ModuleDescription& description) noexcept;

/// Stores a new instance for the host and creates the controls. 0 when the block cannot be allocated.
std::int32_t BuildInstance(ModuleInstance** instance, AllocateControl allocate, void* hostContext);

/// Session, include folder, off-screen bitmap and editor path. Called again, it replaces the bitmap and
/// the include context and keeps the session.
std::int32_t PrepareInstance(ModuleInstance& instance, const DrawContext& context);

/// Schedules a load for the next frame.
std::int32_t ScheduleLoad(ModuleInstance& instance, const DrawContext& context) noexcept;

/// Clears the host's overlay and releases nothing.
std::int32_t ClearOverlay(const ModuleInstance& instance);

/// Releases everything that the instance owns, and the instance.
std::int32_t DestroyInstance(ModuleInstance* instance);

}  // namespace pixelforge
