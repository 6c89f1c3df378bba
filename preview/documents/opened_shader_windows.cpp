// Stages the shader and watches its files.
#include "preview/documents/opened_shader.h"

#include <utility>

#include "preview/documents/shader_source.h"
#include "preview/host/file_paths.h"
#include "preview/host/host_error.h"

namespace pixelforge::preview {

OpenedShader OpenedShader::OfIdentifier(const std::string& identifier) {
    return OpenedShader(StagedShader::OfPlaylist(BytesOf(identifier + "\r\n")));
}

OpenedShader OpenedShader::OfPlaylist(const std::wstring& path) {
    return OpenedShader(StagedShader::OfPlaylist(BytesOf(ReadInputFile(path))));
}

OpenedShader OpenedShader::OfFile(const std::wstring& path, const std::wstring& includeFolder) {
    ShaderSource source = ReadShaderSource(path, includeFolder);
    OpenedShader shader(StagedShader::OfDocument(BytesOf(source.document)));
    shader.path_ = path;
    shader.includeFolder_ = includeFolder;
    shader.conversion_ = std::move(source.conversion);
    shader.watch_.emplace(std::move(source.files));
    return shader;
}

bool OpenedShader::Refresh() {
    if (!watch_ || !watch_->Changed()) {
        return false;
    }
    try {
        ShaderSource source = ReadShaderSource(path_, includeFolder_);
        staged_.ReplaceDocument(BytesOf(source.document));
        watch_->Watch(std::move(source.files));
        return true;
    } catch (const HostError&) {
        watch_->ReportAgain();
        return false;
    }
}

}  // namespace pixelforge::preview
