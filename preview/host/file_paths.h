// Paths of any length, whole-file reads and writes, and the working folder.
#pragma once

#include <windows.h>

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "base/text.h"

namespace pixelforge::preview {

/// As the user wrote it (UTF-8), for messages, and absolute, because the current folder changes to the
/// shader's. Both are empty if there is none.
struct UserPath {
    std::string name = {};
    std::wstring path = {};
};

/// Full path of a UTF-8 path relative to the current folder.
std::wstring AbsolutePath(std::string_view path);

/// The path with the "\\?\" prefix if it has 260 units or more.
std::wstring LongPath(const std::wstring& absolutePath);

/// The last component of a path, and everything before it with the trailing separator.
std::wstring FileNameOf(const std::wstring& path);
std::wstring FolderOf(const std::wstring& path);

/// "text (system message)" for the calling thread's last error.
std::string WithLastError(const std::string& text);

/// The file's bytes. Throws `HostError` with `WrongUsage` if it cannot be read.
std::string ReadInputFile(const std::wstring& absolutePath);

/// Creates or replaces a file. Throws `HostError` with `Failed` and leaves no half-written file.
void WriteOutputFile(const std::wstring& absolutePath, std::span<const std::uint8_t> bytes);

/// Adds to the end of a file, or creates it. Throws `HostError` with `Failed`.
void AppendToFile(const std::wstring& absolutePath, std::span<const std::uint8_t> bytes);

/// Tests whether a file can be created or replaced, without changing it. Creates the missing folders of its
/// path. Throws `HostError` with `WrongUsage`.
void RequireWritable(const std::wstring& absolutePath);

/// While alive, makes a file's folder the current one, for names relative to it; then restores the previous
/// one. If the folder's path is too long for the system, `Entered` is false and nothing changes.
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
