// One timed round of loading and unloading the module.
#pragma once

#include <windows.h>

#include <chrono>
#include <optional>

namespace pixelforge::test {

/// Milliseconds between load and unload: before and after the capture thread's start.
inline constexpr DWORD kStays[] = {0, 3, 120, 0, 130, 160, 1, 200};

/// Loads the module from the program's folder, waits and unloads it. Returns the milliseconds that loading
/// and unloading took, or `std::nullopt` if one of them failed.
inline std::optional<double> LoadRoundMilliseconds(DWORD stay) {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point loading = Clock::now();
    const HMODULE module = LoadLibraryW(L"Pixelforge.dll");
    const Clock::duration load = Clock::now() - loading;
    Sleep(stay);
    const Clock::time_point unloading = Clock::now();
    if (!module || !FreeLibrary(module)) {
        return std::nullopt;
    }
    return std::chrono::duration<double, std::milli>(load + (Clock::now() - unloading)).count();
}

}  // namespace pixelforge::test
