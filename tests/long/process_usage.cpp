// Asking the system.
#include "tests/long/process_usage.h"

#include <GL/gl.h>

#include <algorithm>
#include <cstdio>
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
template <class IsName>
std::int64_t CountNames(IsName isName) {
    constexpr GLuint kHighestLookedAt = 20000;
    std::int64_t count = 0;
    for (GLuint name = 1; name <= kHighestLookedAt; ++name) {
        count += isName(name) ? 1 : 0;
    }
    return count;
}

std::int64_t CountGlNames() {
    using IsNameFunction = GLboolean(APIENTRY*)(GLuint);
    std::int64_t count = CountNames(glIsTexture);
    for (const char* entry :
         {"glIsFramebuffer", "glIsBuffer", "glIsVertexArray", "glIsProgram", "glIsShader", "glIsSampler"}) {
        const auto address = reinterpret_cast<void (*)()>(wglGetProcAddress(entry));
        count += CountNames(reinterpret_cast<IsNameFunction>(address));
    }
    return count;
}

std::int64_t CountGlNamesOf(HWND window, HGLRC context) {
    const WindowDc dc(window);
    std::int64_t count = -1;
    if (wglMakeCurrent(dc.Get(), context)) {
        count = CountGlNames();
    }
    wglMakeCurrent(nullptr, nullptr);
    return count;
}

}  // namespace

ProcessUsage MeasureUsage(HWND window, HGLRC context) {
    GdiFlush();
    return {static_cast<std::int64_t>(WorkingSetBytes() / 1024), static_cast<std::int64_t>(OpenHandles()),
            CountGdiObjects(), context ? CountGlNamesOf(window, context) : 0};
}

std::string Describe(const ProcessUsage& usage) {
    char text[128];
    std::snprintf(text, sizeof(text), "%lld KB, %lld handles, %lld GDI objects, %lld GL names",
                  static_cast<long long>(usage.kilobytes), static_cast<long long>(usage.handles),
                  static_cast<long long>(usage.gdiObjects), static_cast<long long>(usage.glNames));
    return text;
}

}  // namespace pixelforge::test
