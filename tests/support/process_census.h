// Resource counts of this process that also work under Wine.
#pragma once

#include <windows.h>

#include <psapi.h>
#include <tlhelp32.h>

#include <cstddef>
#include <cstdint>
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

}  // namespace pixelforge::test
