// Drops the shader for the module and follows its files.
#include "preview/documents/shader_handover.h"

#include <utility>

#include "preview/documents/shader_source.h"
#include "preview/host/file_paths.h"
#include "preview/host/host_error.h"

namespace pixelforge::preview {

ShaderHandover ShaderHandover::OfIdentifier(const std::string& identifier) {
    const std::string line = identifier + "\r\n";
    return ShaderHandover(
        ShaderDrop::OfPlaylist({reinterpret_cast<const std::uint8_t*>(line.data()), line.size()}));
}

ShaderHandover ShaderHandover::OfPlaylist(const std::wstring& path) {
    return ShaderHandover(ShaderDrop::OfPlaylist(ReadInputFile(path)));
}

ShaderHandover ShaderHandover::OfFile(const std::wstring& path, const std::wstring& includeFolder) {
    ShaderSource source = OpenShader(path, includeFolder);
    ShaderHandover shader(ShaderDrop::OfDocument(source.document));
    shader.path_ = path;
    shader.includeFolder_ = includeFolder;
    shader.remark_ = std::move(source.remark);
    shader.watch_.emplace(std::move(source.files));
    return shader;
}

bool ShaderHandover::Refresh() {
    if (!watch_ || !watch_->Changed()) {
        return false;
    }
    try {
        ShaderSource source = OpenShader(path_, includeFolder_);
        drop_.ReplaceDocument(source.document);
        watch_->Watch(std::move(source.files));
        return true;
    } catch (const HostError&) {
        watch_->LookAgain();
        return false;
    }
}

}  // namespace pixelforge::preview
