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

/// Joins pieces of output into lines. Global, because the exception handler receives no context.
class LineCollector {
public:
    void Add(std::string_view piece) {
        const std::lock_guard lock(mutex_);
        for (const char c : piece) {
            if (c == '\n') {
                lines_.push_back(std::exchange(unfinished_, {}));
            } else if (c != '\r') {
                unfinished_ += c;
            }
        }
    }

    std::vector<std::string> Lines() {
        const std::lock_guard lock(mutex_);
        std::vector<std::string> lines = lines_;
        if (!unfinished_.empty()) {
            lines.push_back(unfinished_);
        }
        return lines;
    }

    void Clear() {
        const std::lock_guard lock(mutex_);
        lines_.clear();
        unfinished_.clear();
    }

private:
    std::mutex mutex_;
    std::vector<std::string> lines_;
    std::string unfinished_;
};

LineCollector& Collector() {
    static LineCollector collector;
    return collector;
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
        Collector().Add(wide ? ToUtf8(RaisedText<wchar_t>(record))
                             : NarrowTextAsUtf8(RaisedText<char>(record)));
    } catch (const std::bad_alloc&) {
        // Better to lose a line than the host.
    }
    // Unhandled wide text would be raised again as narrow text.
    return EXCEPTION_CONTINUE_EXECUTION;
}

std::string ReplaceAll(std::string line, std::string_view alias, std::string_view name) {
    if (alias.empty()) {
        return line;
    }
    for (std::size_t at = line.find(alias); at != std::string::npos;
         at = line.find(alias, at + name.size())) {
        line.replace(at, alias.size(), name);
    }
    return line;
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
    return Collector().Lines();
}

void DebugCapture::Clear() {
    Collector().Clear();
}

std::vector<std::string> ReadableLines(const std::vector<std::string>& lines, std::string_view alias,
                                       std::string_view name) {
    std::vector<std::string> readable;
    std::unordered_set<std::string> seen;
    for (const std::string& line : lines) {
        std::string named = WithoutControls(ReplaceAll(line, alias, name));
        if (named.starts_with(kModulePrefix)) {
            named.erase(0, kModulePrefix.size());
        }
        if (seen.insert(named).second) {
            readable.push_back(std::move(named));
        }
    }
    return readable;
}

}  // namespace pixelforge::preview
