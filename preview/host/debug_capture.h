// Collects what this process writes to the debugger output, which is the only place where the module
// explains itself.
#pragma once

#include <string>
#include <vector>

namespace pixelforge::preview {

/// From its making to the end of its life it takes every text that a thread of this process writes
/// with either form of `OutputDebugString`. It acts as the debugger: no other viewer gets the text.
/// One at a time.
class DebugCapture {
public:
    DebugCapture();
    ~DebugCapture();
    DebugCapture(const DebugCapture&) = delete;
    DebugCapture& operator=(const DebugCapture&) = delete;

    /// The lines so far, in UTF-8.
    std::vector<std::string> Lines() const;

    void Clear();

private:
    void* handler_ = nullptr;
};

}  // namespace pixelforge::preview
