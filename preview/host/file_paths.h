// Paths and whole files on the host's side, of any length.
#pragma once

#include <windows.h>

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/text.h"

namespace pixelforge::preview {

/// Full path of a UTF-8 path, from the current folder; never shortened or resolved further.
std::wstring AbsolutePath(std::string_view path);

/// The same path in the form that the system accepts beyond 260 units.
std::wstring LongPath(const std::wstring& absolutePath);

/// "text (system's message)" for the calling thread's last error.
std::string WithLastError(const std::string& text);

/// Throws `HostError` with `WrongUsage` when the file cannot be read.
std::vector<std::uint8_t> ReadInputFile(const std::wstring& absolutePath);

/// Writes or replaces a file. Throws `HostError` with `Failed`; a half-written file is removed.
void WriteOutputFile(const std::wstring& absolutePath, std::span<const std::uint8_t> bytes);

/// Makes a file's folder the current one, so that names relative to it can be opened, and goes back at
/// the end of its life. A folder too long for that is entered by its short name where it has one; else
/// `Entered` is false and the current folder stays.
class WorkingFolder {
public:
    explicit WorkingFolder(const std::wstring& filePath);
    ~WorkingFolder();
    WorkingFolder(const WorkingFolder&) = delete;
    WorkingFolder& operator=(const WorkingFolder&) = delete;

    bool Entered() const noexcept { return entered_; }

private:
    std::wstring previous_;
    bool entered_ = false;
};

}  // namespace pixelforge::preview
