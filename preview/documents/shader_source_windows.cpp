// Reads the shader and collects the paths of its files.
#include "preview/documents/shader_source.h"

#include <algorithm>
#include <span>
#include <string_view>
#include <utility>

#include "base/file.h"
#include "base/text.h"
#include "preview/documents/document_conversion.h"
#include "preview/host/file_paths.h"
#include "preview/host/host_error.h"

namespace pixelforge::preview {
namespace {

/// Also ends recursive includes.
constexpr std::size_t kMaximumFiles = 512;

/// As UTF-8 without a byte order mark.
std::string ReadText(const std::wstring& path) {
    const std::string text = ReadInputFile(path);
    std::string utf8 = ToUtf8(Widen(text, DetectEncoding(text)).value_or(std::wstring()));
    return utf8.starts_with("\xEF\xBB\xBF") ? utf8.substr(3) : utf8;
}

/// Empty if the file cannot be read; the module reports whether that matters.
std::string ReadTextIfPossible(const std::wstring& path) {
    try {
        return ReadText(path);
    } catch (const HostError&) {
        return {};
    }
}

bool HasExtension(const std::wstring& path, std::span<const std::wstring_view> extensions) {
    return std::ranges::any_of(extensions, [&](std::wstring_view extension) {
        const std::size_t start = path.size() - std::min(path.size(), extension.size());
        return EqualIgnoringAsciiCase(std::wstring_view(path).substr(start), extension);
    });
}

bool IsPlainShader(const std::wstring& path) {
    constexpr std::wstring_view kExtensions[] = {L".glsl", L".frag", L".fs"};
    return HasExtension(path, kExtensions);
}

/// "folder\plasma.a.glsl" for "folder\plasma.glsl" and "a".
std::wstring PassPath(const std::wstring& path, std::string_view stem) {
    const std::size_t dot = path.rfind(L'.');
    return path.substr(0, dot + 1) + FromUtf8(stem) + path.substr(dot);
}

void ReadPlainShader(const std::wstring& path, ShaderSource& source) {
    std::vector<PassFile> passes = {{"image", ReadText(path)}};
    source.conversion = "plain shader, used as the Image pass";
    for (const std::string_view stem : kPassFileStems) {
        const std::wstring passPath = PassPath(path, stem);
        source.files.push_back(passPath);
        if (IsExistingFile(passPath.c_str())) {
            passes.push_back({std::string(stem), ReadText(passPath)});
            source.conversion += ", with ." + std::string(stem);
        }
    }
    source.document = DocumentOfPassFiles(ToUtf8(FileNameOf(path)), passes);
}

void ReadDocument(const std::wstring& path, ShaderSource& source) {
    source.document = ReadInputFile(path);
    if (auto converted = ConvertBareDocument(source.document)) {
        source.document = std::move(*converted);
        source.conversion = "document without \"Shader\", converted";
    }
}

/// The module looks for named files beside the shader and in the include folder.
void AddNamedFiles(std::string_view text, const std::wstring& folder, const std::wstring& includeFolder,
                   std::vector<std::wstring>& files) {
    for (const std::string& name : NamedFiles(text)) {
        if (!IsOpenableLocalName(FromUtf8(name))) {
            continue;
        }
        for (const std::wstring& base : {folder, includeFolder}) {
            const std::wstring path = base + L"\\" + FromUtf8(name);
            if (!base.empty() && files.size() < kMaximumFiles &&
                std::ranges::find(files, path) == files.end()) {
                files.push_back(path);
            }
        }
    }
}

bool MayNameFiles(const std::wstring& path) {
    constexpr std::wstring_view kMedia[] = {L".png", L".jpg", L".jpeg", L".bmp", L".gif", L".tif", L".bin"};
    return IsExistingFile(path.c_str()) && !HasExtension(path, kMedia);
}

}  // namespace

ShaderSource ReadShaderSource(const std::wstring& absolutePath, const std::wstring& includeFolder) {
    ShaderSource source;
    source.files.push_back(absolutePath);
    if (IsPlainShader(absolutePath)) {
        ReadPlainShader(absolutePath, source);
    } else {
        ReadDocument(absolutePath, source);
    }
    const std::wstring folder = absolutePath.substr(0, absolutePath.find_last_of(L"\\/"));
    const std::size_t ownFiles = source.files.size();
    AddNamedFiles(source.document, folder, includeFolder, source.files);
    for (std::size_t i = ownFiles; i < source.files.size(); ++i) {
        if (MayNameFiles(source.files[i])) {
            AddNamedFiles(ReadTextIfPossible(source.files[i]), folder, includeFolder, source.files);
        }
    }
    return source;
}

}  // namespace pixelforge::preview
