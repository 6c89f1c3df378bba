// A vectored exception handler for debugger output, and the clean-up of its lines.
#include "preview/host/debug_capture.h"

#include <windows.h>

#include <mutex>
#include <new>
#include <unordered_set>
#include <utility>

#include "base/text.h"

namespace pixelforge::preview {
namespace {

// Exception codes of `OutputDebugStringA` and `OutputDebugStringW`. The second parameter is the address.
constexpr DWORD kNarrowDebugText = 0x40010006;
constexpr DWORD kWideDebugText = 0x4001000A;

/// Prefix of every module line; it would hide "Buffer A:12: error" from editors.
constexpr std::string_view kModulePrefix = "Pixelforge: ";

// Global, because the exception handler receives no context.
std::mutex mutex;
std::string captured;

/// In UTF-8. Both functions pass terminated texts.
std::string RaisedText(const EXCEPTION_RECORD& record) {
    if (record.ExceptionCode == kWideDebugText) {
        return ToUtf8(reinterpret_cast<const wchar_t*>(record.ExceptionInformation[1]));
    }
    const std::string_view text = reinterpret_cast<const char*>(record.ExceptionInformation[1]);
    return ToUtf8(Widen(text, DetectEncoding(text)).value_or(std::wstring()));
}

LONG CALLBACK CaptureDebugText(EXCEPTION_POINTERS* pointers) {
    const EXCEPTION_RECORD& record = *pointers->ExceptionRecord;
    if (record.ExceptionCode != kWideDebugText && record.ExceptionCode != kNarrowDebugText) {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    try {
        const std::string text = RaisedText(record);
        const std::lock_guard lock(mutex);
        captured += text;
    } catch (const std::bad_alloc&) {
        // Better to lose a line than the host.
    }
    // Unhandled wide text would be raised again as narrow text.
    return EXCEPTION_CONTINUE_EXECUTION;
}

}  // namespace

DebugCapture::DebugCapture() {
    Clear();
    handler_ = AddVectoredExceptionHandler(1, CaptureDebugText);
}

DebugCapture::~DebugCapture() {
    RemoveVectoredExceptionHandler(handler_);
}

std::vector<std::string> DebugCapture::Lines() const {
    const std::lock_guard lock(mutex);
    std::vector<std::string> lines;
    for (std::string_view rest = captured; !rest.empty();) {
        std::erase(lines.emplace_back(TakeLine(rest)), '\r');
    }
    return lines;
}

void DebugCapture::Clear() {
    const std::lock_guard lock(mutex);
    captured.clear();
}

std::vector<std::string> ReadableLines(const std::vector<std::string>& lines, std::string_view alias,
                                       std::string_view name) {
    std::vector<std::string> readable;
    std::unordered_set<std::string> seen;
    for (std::string line : lines) {
        for (std::size_t at = line.find(alias); at != line.npos; at = line.find(alias, at + name.size())) {
            line.replace(at, alias.size(), name);
        }
        line = WithoutControls(line);
        line.erase(0, line.starts_with(kModulePrefix) ? kModulePrefix.size() : 0);
        if (seen.insert(line).second) {
            readable.push_back(std::move(line));
        }
    }
    return readable;
}

}  // namespace pixelforge::preview
