// What this process holds, measured in ways that also work where the system's own counters always say 0.
#pragma once

#include <windows.h>

#include <cstdint>
#include <string>

namespace pixelforge::test {

struct ProcessUsage {
    std::int64_t kilobytes = 0;  ///< resident memory
    std::int64_t handles = 0;    ///< kernel objects
    std::int64_t gdiObjects = 0;
    std::int64_t glNames = 0;  ///< of all kinds, in a GL context; 0 without one
};

/// `context` may be null; it is current only during the call, on `window`.
ProcessUsage MeasureUsage(HWND window = nullptr, HGLRC context = nullptr);

std::string Describe(const ProcessUsage& usage);

}  // namespace pixelforge::test
