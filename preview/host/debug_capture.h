// Captures this process's debugger output, the module's only reporting channel, and makes it readable.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace pixelforge::preview {

/// While alive, captures all `OutputDebugString` output of this process, narrow and wide, from every thread.
/// It acts as the debugger: no other viewer receives the text. Only one may exist at a time.
class DebugCapture {
public:
    DebugCapture();
    ~DebugCapture();
    DebugCapture(const DebugCapture&) = delete;
    DebugCapture& operator=(const DebugCapture&) = delete;

    /// The lines so far in UTF-8, including an unfinished last one. Lines end at "\n"; "\r" is dropped.
    std::vector<std::string> Lines() const;

    void Clear();

private:
    void* handler_ = nullptr;
};

/// The distinct lines in order of first appearance, for the user: `alias` (a path that the user never
/// typed) replaced by `name`, the "Pixelforge: " prefix removed and control characters blanked.
std::vector<std::string> ReadableLines(const std::vector<std::string>& lines, std::string_view alias,
                                       std::string_view name);

}  // namespace pixelforge::preview
