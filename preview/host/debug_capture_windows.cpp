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

// Exception codes of `OutputDebugStringA` and `OutputDebugStringW`. Parameters: length with the
// terminator, then address.
constexpr DWORD kNarrowDebugText = 0x40010006;
constexpr DWORD kWideDebugText = 0x4001000A;

/// Prefix of every module line; it would hide "Buffer A:12: error" from editors.
constexpr std::string_view kModulePrefix = "Pixelforge: ";

/// Global, because the exception handler receives no context.
struct Output {
    std::mutex mutex;
    std::string text;
};

Output& Captured() {
    static Output output;
    return output;
}

template <class Unit>
std::basic_string_view<Unit> RaisedText(const EXCEPTION_RECORD& record) {
    const auto* text = reinterpret_cast<const Unit*>(record.ExceptionInformation[1]);
    const std::basic_string_view<Unit> all(text, record.ExceptionInformation[0]);
    return all.substr(0, all.find(Unit{}));
}

std::string NarrowTextAsUtf8(std::string_view text) {
    return ToUtf8(Widen(text, DetectEncoding(text)).value_or(std::wstring()));
}

LONG CALLBACK CaptureDebugText(EXCEPTION_POINTERS* pointers) {
    const EXCEPTION_RECORD& record = *pointers->ExceptionRecord;
    const bool wide = record.ExceptionCode == kWideDebugText;
    if ((!wide && record.ExceptionCode != kNarrowDebugText) || record.NumberParameters < 2) {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    try {
        const std::string text =
            wide ? ToUtf8(RaisedText<wchar_t>(record)) : NarrowTextAsUtf8(RaisedText<char>(record));
        const std::lock_guard lock(Captured().mutex);
        Captured().text += text;
    } catch (const std::bad_alloc&) {
        // Better to lose a line than the host.
    }
    // Unhandled wide text would be raised again as narrow text.
    return EXCEPTION_CONTINUE_EXECUTION;
}

void ReplaceAll(std::string& line, std::string_view alias, std::string_view name) {
    std::size_t at = alias.empty() ? line.npos : line.find(alias);
    for (; at != line.npos; at = line.find(alias, at + name.size())) {
        line.replace(at, alias.size(), name);
    }
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
    const std::lock_guard lock(Captured().mutex);
    std::vector<std::string> lines;
    for (std::string_view rest = Captured().text; !rest.empty();) {
        std::erase(lines.emplace_back(TakeLine(rest)), '\r');
    }
    return lines;
}

void DebugCapture::Clear() {
    const std::lock_guard lock(Captured().mutex);
    Captured().text.clear();
}

std::vector<std::string> ReadableLines(const std::vector<std::string>& lines, std::string_view alias,
                                       std::string_view name) {
    std::vector<std::string> readable;
    std::unordered_set<std::string> seen;
    for (std::string line : lines) {
        ReplaceAll(line, alias, name);
        line = WithoutControls(line);
        line.erase(0, line.starts_with(kModulePrefix) ? kModulePrefix.size() : 0);
        if (seen.insert(line).second) {
            readable.push_back(std::move(line));
        }
    }
    return readable;
}

}  // namespace pixelforge::preview
