// Creation, preparation and destruction of a `ModuleInstance`.
#include "module/module_instance.h"

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <new>

#include "base/bitmap.h"
#include "base/file.h"
#include "base/heap.h"
#include "base/text.h"
#include "glsl/include_preprocessor.h"
#include "inputs/audio_capture.h"
#include "inputs/webcam_capture.h"
#include "module/animation.h"
#include "module/controls.h"
#include "render/gl_renderer.h"
#include "service/http_get.h"

#define PIXELFORGE_WIDE_(text) L##text
#define PIXELFORGE_WIDE(text) PIXELFORGE_WIDE_(text)

namespace pixelforge {
namespace {

constexpr std::int32_t kInitialProgressionMode = 2;

/// The camera is shared; it is closed with the last instance.
std::atomic<int> liveInstances{0};

void DeleteOffscreenBitmap(ModuleInstance& instance) {
    if (instance.offscreenBitmap) {
        DeleteObject(instance.offscreenBitmap);
    }
    instance.offscreenBitmap = nullptr;
}

void FreeIncludeContext(ModuleInstance& instance) {
    HeapRecord<IncludeContext>(instance.includeState).reset();
    instance.includeState = nullptr;
}

/// The user's include folder; empty if the variable names no existing folder.
void ReadIncludeFolder(wchar_t (&folder)[kPathUnits]) {
    const DWORD length = GetEnvironmentVariableW(L"FOLDER_SHADERINCLUDE", folder, kPathUnits);
    if (length == 0 || length >= kPathUnits || !IsExistingFolder(folder)) {
        folder[0] = L'\0';
    }
}

void CreateIncludeContext(ModuleInstance& instance) {
    HeapRecord<IncludeContext> context = NewHeapRecord<IncludeContext>();
    if (context) {
        ReadIncludeFolder(context->includeFolder);
    }
    instance.includeState = context.release();
}

/// The shader editor is offered only if it is installed next to the host. The path becomes part of a link,
/// hence the forward slashes.
void FindEditor(wchar_t (&path)[kPathUnits]) {
    const DWORD length = ExpandEnvironmentStringsW(L"%EXE_BASEFOLDER%\\GlowBench.exe", path, kPathUnits);
    if (length == 0 || length > kPathUnits || !IsExistingFile(path)) {
        path[0] = L'\0';
        return;
    }
    std::replace(path, path + kPathUnits, L'\\', L'/');
}

/// The host already has the pointer while it allocates the controls; it is cleared unless construction
/// completes.
struct UnfinishedInstance {
    ModuleInstance** hostPointer;
    HeapRecord<ModuleInstance> owner;

    ~UnfinishedInstance() {
        if (owner) {
            *hostPointer = nullptr;
        }
    }
};

}  // namespace

std::int32_t DescribeModule(ModuleDescription& description) noexcept {
    constexpr std::uint32_t kLeading[4] = {1, 0x18008, 1, 20000};
    std::copy(std::begin(kLeading), std::end(kLeading), description.leading);
    CopyCut(description.displayName, L"Pixelforge");
    CopyCut(description.description, L"Runs Pixelforge shaders");
    description.trailing = 1;
    FormatBounded(description.buildText, kHostTextUnits, L"(REL) %s @ %s",
                  PIXELFORGE_WIDE(PIXELFORGE_BUILD_DATE), PIXELFORGE_WIDE(PIXELFORGE_BUILD_TIME));
    return 1;
}

std::int32_t BuildInstance(ModuleInstance** instance, AllocateControl allocate, void* hostContext) {
    UnfinishedInstance unfinished = {instance, NewHeapRecord<ModuleInstance>()};
    ModuleInstance* const created = unfinished.owner.get();
    *instance = created;
    if (!created) {
        return 0;
    }
    created->animationFlags = animation::kDefault;
    created->progressionMode = kInitialProgressionMode;
    BuildControls(*created, allocate, hostContext);
    ++liveInstances;
    AddAudioListener();
    static_cast<void>(unfinished.owner.release());
    return 1;
}

std::int32_t PrepareInstance(ModuleInstance& instance, const DrawContext& context) {
    if (!instance.session) {
        instance.session = OpenInternetSession().release();
    }
    instance.useOffscreen = context.levelOutput;
    instance.renderWindow = context.window;
    instance.infoTextCallback = context.infoTextCallback;
    instance.errorFlag = 0;
    DeleteOffscreenBitmap(instance);
    instance.offscreenBitmap = CreateHostBitmap(context.width, context.height).Release();
    FreeIncludeContext(instance);
    CreateIncludeContext(instance);
    FindEditor(instance.editorPath);
    return 1;
}

std::int32_t ScheduleLoad(ModuleInstance& instance, const DrawContext& context) noexcept {
    StartAnimations(instance, context.width);
    instance.needsLoad = 1;
    instance.errorFlag = 0;
    return 1;
}

std::int32_t ClearOverlay(const ModuleInstance& instance) {
    if (instance.infoTextCallback) {
        instance.infoTextCallback(L"");
    }
    return 1;
}

std::int32_t DestroyInstance(ModuleInstance* instance) {
    HeapRecord<ModuleInstance> owner(instance);
    DestroyGlRenderer(HeapRecord<GlRenderer>(instance->renderer));
    DeleteOffscreenBitmap(*instance);
    HeapRecord<InternetSession>(instance->session).reset();
    FreeIncludeContext(*instance);
    if (--liveInstances == 0) {
        UnloadWebcam();
    }
    RemoveAudioListener();
    return 1;
}

}  // namespace pixelforge
