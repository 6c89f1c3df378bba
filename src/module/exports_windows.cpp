// The seven exported functions: null checks and the exception boundary.
#include <windows.h>

#include "module/frame_driver.h"
#include "module/module_instance.h"

namespace {

template <class Work>
std::int32_t Guarded(Work work) noexcept {
    try {
        return work();
    } catch (...) {
        return 0;
    }
}

}  // namespace

// Exported undecorated, through the definition file only.
extern "C" {

std::int32_t ModuleGetDescription(pixelforge::ModuleDescription* description) {
    return description ? pixelforge::DescribeModule(*description) : 0;
}

std::int32_t ModuleBuildControlStructure(pixelforge::ModuleInstance** instance, void* /*unused*/,
                                         pixelforge::AllocateControl allocate, void* hostContext) {
    if (!instance) {
        return 0;
    }
    return Guarded([&] { return pixelforge::BuildInstance(instance, allocate, hostContext); });
}

std::int32_t ModulePreInitialize(pixelforge::ModuleInstance* instance, pixelforge::DrawContext* context) {
    if (!instance || !context) {
        return 0;
    }
    return Guarded([&] { return pixelforge::PrepareInstance(*instance, *context); });
}

std::int32_t ModuleInitialize(pixelforge::ModuleInstance* instance, pixelforge::DrawContext* context) {
    if (!instance || !context) {
        return 0;
    }
    return Guarded([&] { return pixelforge::ScheduleLoad(*instance, *context); });
}

std::int32_t ModuleDrawFrame(pixelforge::ModuleInstance* instance, pixelforge::DrawContext* context) {
    if (!instance || !context) {
        return 0;
    }
    return Guarded([&] { return static_cast<std::int32_t>(pixelforge::DrawFrame(*instance, *context)); });
}

std::int32_t ModuleCleanUp(pixelforge::ModuleInstance* instance) {
    if (!instance) {
        return 0;
    }
    return Guarded([&] { return pixelforge::ClearOverlay(*instance); });
}

std::int32_t ModuleDestroyControlStructure(pixelforge::ModuleInstance* instance) {
    if (!instance) {
        return 0;
    }
    return Guarded([&] { return pixelforge::DestroyInstance(instance); });
}

}  // extern "C"
