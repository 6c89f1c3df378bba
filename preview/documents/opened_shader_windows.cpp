// Stages the shader and watches its files.
#include "preview/documents/opened_shader.h"

#include <windows.h>

#include <span>
#include <utility>

#include "base/load_error.h"
#include "base/text.h"
#include "preview/documents/document_conversion.h"
#include "preview/host/file_paths.h"

namespace pixelforge::preview {
namespace {

constexpr auto kInterval = std::chrono::milliseconds(150);

std::span<const std::uint8_t> StagedBytes(const ShaderSource& source) {
    return BytesOf(source.errors.empty() ? std::string_view(source.document) : std::string_view());
}

}  // namespace

void FileWatch::Watch(std::vector<std::wstring> files) {
    files_ = std::move(files);
    stamps_ = ReadStamps();
    changing_ = false;
    lastPoll_ = std::chrono::steady_clock::now();
}

bool FileWatch::Changed() {
    const auto now = std::chrono::steady_clock::now();
    if (now - lastPoll_ < kInterval) {
        return false;
    }
    lastPoll_ = now;
    std::vector<Stamp> stamps = ReadStamps();
    if (stamps != stamps_) {
        stamps_ = std::move(stamps);
        changing_ = true;
        return false;
    }
    return std::exchange(changing_, false);
}

std::vector<FileWatch::Stamp> FileWatch::ReadStamps() const {
    std::vector<Stamp> stamps;
    for (const std::wstring& file : files_) {
        WIN32_FILE_ATTRIBUTE_DATA found = {};
        GetFileAttributesExW(LongPath(file).c_str(), GetFileExInfoStandard, &found);
        stamps.push_back({found.ftLastWriteTime.dwHighDateTime, found.ftLastWriteTime.dwLowDateTime,
                          found.nFileSizeHigh, found.nFileSizeLow});
    }
    return stamps;
}

OpenedShader OpenedShader::OfIdentifier(const std::string& identifier) {
    const auto line = Narrow(FromUtf8(identifier) + L"\r\n", TextEncoding::AnsiCodePage);
    OpenedShader shader(StagedShader::OfPlaylist(BytesOf(line.value_or(std::string()))));
    shader.source_.names.shader = identifier;
    return shader;
}

OpenedShader OpenedShader::OfPlaylist(const std::wstring& path) {
    return OpenedShader(StagedShader::OfPlaylist(BytesOf(ReadInputFile(path))));
}

OpenedShader OpenedShader::OfFile(const std::wstring& path, const IncludeFolder& include,
                                  const std::string& name) {
    ShaderSource source = ReadShaderSource(path, include, name);
    OpenedShader shader(StagedShader::OfDocument(StagedBytes(source)));
    shader.path_ = path;
    shader.include_ = include;
    shader.watch_.emplace(source.files);
    shader.source_ = std::move(source);
    return shader;
}

void OpenedShader::StageAgain() {
    ShaderSource source = ReadShaderSource(path_, include_, source_.names.shader);
    if (!picture_.empty()) {
        source.document = WithPicture(source.document, picture_);
    }
    staged_.Replace(StagedBytes(source));
    watch_->Watch(source.files);
    source_ = std::move(source);
}

void OpenedShader::UsePicture(const std::string& path) {
    picture_ = path;
    StageAgain();
}

bool OpenedShader::Refresh() {
    if (!watch_ || !watch_->Changed()) {
        return false;
    }
    const bool read = FailureOf([&] { StageAgain(); }).empty();
    if (!read) {
        watch_->ReportAgain();
    }
    return read;
}

}  // namespace pixelforge::preview
