// Resource counts of this process that also work under Wine, and a round of loading and unloading the module.
#pragma once

#include <windows.h>

#include <psapi.h>
#include <tlhelp32.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>

#include "base/win_handles.h"

namespace pixelforge::test {

/// Windows numbers handles in steps of 4 and reuses the numbers of closed ones.
inline std::size_t OpenHandles() {
    std::size_t count = 0;
    DWORD flags = 0;
    for (std::uintptr_t number = 4; number <= 0x10000; number += 4) {
        count += GetHandleInformation(reinterpret_cast<HANDLE>(number), &flags) ? 1 : 0;
    }
    return count;
}

inline std::set<std::uint32_t> ThreadIds() {
    const UniqueKernelHandle snapshot = AdoptFileHandle(CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0));
    THREADENTRY32 entry = {};
    entry.dwSize = sizeof(entry);
    std::set<std::uint32_t> ids;
    for (BOOL more = Thread32First(snapshot.Get(), &entry); more;
         more = Thread32Next(snapshot.Get(), &entry)) {
        if (entry.th32OwnerProcessID == GetCurrentProcessId()) {
            ids.insert(entry.th32ThreadID);
        }
    }
    return ids;
}

inline std::size_t WorkingSetBytes() {
    PROCESS_MEMORY_COUNTERS counters = {};
    K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof(counters));
    return counters.WorkingSetSize;
}

/// Milliseconds between load and unload: before and after the capture thread's start.
inline constexpr DWORD kStays[] = {0, 3, 120, 0, 130, 160, 1, 200};

/// Loads the module, waits and unloads it: the milliseconds of both, or `std::nullopt` if one of them fails.
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
