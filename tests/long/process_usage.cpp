// Asking the system.
#include "tests/long/process_usage.h"

#include <GL/gl.h>

#include <algorithm>
#include <vector>

#include "base/win_handles.h"
#include "tests/support/process_census.h"

namespace pixelforge::test {
namespace {

/// A handle's low word is its slot. So many new objects fill every free slot, and the highest slot then tells
/// how many others there are.
std::int64_t CountGdiObjects() {
    constexpr std::int64_t kMoreThanFree = 4000;
    std::vector<UniqueBrush> brushes;
    std::int64_t highest = 0;
    for (std::int64_t i = 0; i < kMoreThanFree; ++i) {
        brushes.emplace_back(CreateSolidBrush(RGB(1, 2, 3)));
        const auto handle = reinterpret_cast<std::uintptr_t>(brushes.back().Get());
        highest = std::max(highest, static_cast<std::int64_t>(handle & 0xFFFF));
    }
    return highest - kMoreThanFree;
}

/// Names are handed out from 1 on without gaps, and given back ones again.
std::int64_t CountGlNames() {
    constexpr GLuint kHighestLookedAt = 20000;
    using IsName = GLboolean(APIENTRY*)(GLuint);
    std::vector<IsName> kinds = {glIsTexture};
    for (const char* entry :
         {"glIsFramebuffer", "glIsBuffer", "glIsVertexArray", "glIsProgram", "glIsShader", "glIsSampler"}) {
        kinds.push_back(reinterpret_cast<IsName>(reinterpret_cast<void (*)()>(wglGetProcAddress(entry))));
    }
    std::int64_t count = 0;
    for (const IsName isName : kinds) {
        for (GLuint name = 1; name <= kHighestLookedAt; ++name) {
            count += isName(name) ? 1 : 0;
        }
    }
    return count;
}

std::int64_t CountGlNamesOf(HWND window, HGLRC context) {
    const WindowDc dc(window);
    const std::int64_t count = wglMakeCurrent(dc.Get(), context) ? CountGlNames() : -1;
    wglMakeCurrent(nullptr, nullptr);
    return count;
}

}  // namespace

ProcessUsage MeasureUsage(HWND window, HGLRC context) {
    GdiFlush();
    return {static_cast<std::int64_t>(WorkingSetBytes() / 1024), static_cast<std::int64_t>(OpenHandles()),
            CountGdiObjects(), context ? CountGlNamesOf(window, context) : 0};
}

}  // namespace pixelforge::test
