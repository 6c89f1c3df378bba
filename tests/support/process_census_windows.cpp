// Counts from system-wide lists: the per-process calls return 0 under Wine.
#include "tests/support/process_census.h"

#include <windows.h>

#include <psapi.h>
#include <tlhelp32.h>

#include <algorithm>
#include <cstdint>
#include <vector>

#include "base/win_handles.h"

namespace pixelforge::test {
namespace {

constexpr ULONG kExtendedHandleInformation = 64;

struct HandleEntry {
    void* object;
    ULONG_PTR processId;
    ULONG_PTR handle;
    ULONG unread[4];
};

struct HandleList {
    ULONG_PTR count;
    ULONG_PTR reserved;
    HandleEntry entries[1];
};

}  // namespace

std::size_t OpenHandles() {
    const auto query =
        reinterpret_cast<LONG(WINAPI*)(ULONG, void*, ULONG, ULONG*)>(reinterpret_cast<void (*)()>(
            GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "NtQuerySystemInformation")));
    std::vector<std::uint64_t> block(1U << 20);
    ULONG size = 0;
    if (query(kExtendedHandleInformation, block.data(), static_cast<ULONG>(block.size() * 8), &size) != 0) {
        return 0;
    }
    const auto* list = reinterpret_cast<const HandleList*>(block.data());
    return static_cast<std::size_t>(
        std::count_if(list->entries, list->entries + list->count,
                      [](const HandleEntry& entry) { return entry.processId == GetCurrentProcessId(); }));
}

std::set<std::uint32_t> ThreadIds() {
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

std::size_t WorkingSetBytes() {
    PROCESS_MEMORY_COUNTERS counters = {};
    GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof(counters));
    return counters.WorkingSetSize;
}

}  // namespace pixelforge::test
