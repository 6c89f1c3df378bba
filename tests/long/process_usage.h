// What this process holds, measured in ways that also work where the system's own counters always say 0.
#pragma once

#include <windows.h>

#include <array>
#include <cstdint>

namespace pixelforge::test {

/// The memory is what is resident, the handles are those of kernel objects, the names are those of all kinds
/// in one GL context, or 0 without one.
enum Resource { kKilobytes, kHandles, kGdiObjects, kGlNames };
inline constexpr const char* kResourceNames[] = {"KB", "handles", "GDI objects", "GL names"};

/// Indexed by `Resource`.
using ProcessUsage = std::array<std::int64_t, 4>;

/// `context` may be null; it is current only during the call, on `window`.
ProcessUsage MeasureUsage(HWND window = nullptr, HGLRC context = nullptr);

}  // namespace pixelforge::test
