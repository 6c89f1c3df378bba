// Takes debugger output where the system raises it as an exception.
#include "preview/host/debug_capture.h"

#include <windows.h>

#include <mutex>
#include <new>

#include "base/text.h"
#include "preview/host/file_paths.h"
#include "preview/host/line_collector.h"

namespace pixelforge::preview {
namespace {

// The codes under which `OutputDebugStringA` and `OutputDebugStringW` raise their text: its length with
// the terminator, then its address.
constexpr DWORD kNarrowDebugText = 0x40010006;
constexpr DWORD kWideDebugText = 0x4001000A;

/// A handler gets no context of its own, so what it fills is one for the process.
struct Collected {
    std::mutex mutex;
    LineCollector lines;
};

Collected& Shared() {
    static Collected collected;
    return collected;
}

template <class Unit>
std::basic_string_view<Unit> RaisedText(const EXCEPTION_RECORD& record) {
    // The system passes the address as a number. NOLINTNEXTLINE(performance-no-int-to-ptr)
    const auto* text = reinterpret_cast<const Unit*>(record.ExceptionInformation[1]);
    const std::basic_string_view<Unit> all(text, record.ExceptionInformation[0]);
    return all.substr(0, all.find(Unit{}));
}

std::string NarrowTextAsUtf8(std::string_view text) {
    return ToUtf8(Widen(text, DetectEncoding(text)).value_or(std::wstring()));
}

LONG CALLBACK TakeDebugText(EXCEPTION_POINTERS* pointers) {
    const EXCEPTION_RECORD& record = *pointers->ExceptionRecord;
    const bool wide = record.ExceptionCode == kWideDebugText;
    if ((!wide && record.ExceptionCode != kNarrowDebugText) || record.NumberParameters < 2) {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    try {
        const std::string piece =
            wide ? ToUtf8(RaisedText<wchar_t>(record)) : NarrowTextAsUtf8(RaisedText<char>(record));
        Collected& collected = Shared();
        const std::lock_guard lock(collected.mutex);
        collected.lines.Add(piece);
    } catch (const std::bad_alloc&) {
        // A lost line is better than a lost host.
    }
    // Left unhandled, the wide form would be raised a second time in narrow letters.
    return EXCEPTION_CONTINUE_EXECUTION;
}

}  // namespace

DebugCapture::DebugCapture() {
    Clear();
    handler_ = AddVectoredExceptionHandler(1, TakeDebugText);
}

DebugCapture::~DebugCapture() {
    RemoveVectoredExceptionHandler(handler_);
}

std::vector<std::string> DebugCapture::Lines() const {
    Collected& collected = Shared();
    const std::lock_guard lock(collected.mutex);
    return collected.lines.Lines();
}

void DebugCapture::Clear() {
    Collected& collected = Shared();
    const std::lock_guard lock(collected.mutex);
    collected.lines.Clear();
}

}  // namespace pixelforge::preview
