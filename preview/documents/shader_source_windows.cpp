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

/// The file's name without extension.
std::string StemOf(const std::wstring& path) {
    const std::wstring name = FileNameOf(path);
    return ToUtf8(name.substr(0, name.rfind(L'.')));
}

void ReadPlainShader(const std::wstring& path, const std::string& name, ShaderSource& source) {
    std::vector<PassFile> passes = {{"image", ReadText(path), name}};
    source.conversion = "plain shader, used as the Image pass";
    for (const std::string_view stem : kPassFileStems) {
        const std::wstring passPath = FromUtf8(PassFileName(ToUtf8(path), stem));
        source.files.push_back(passPath);
        if (IsExistingFile(passPath.c_str())) {
            passes.push_back({std::string(stem), ReadText(passPath), PassFileName(name, stem)});
            source.conversion += ", with ." + std::string(stem);
        }
    }
    MadeDocument made = DocumentOfPassFiles(StemOf(path), passes, [&](const std::string& file) {
        return IsExistingFile((FolderOf(path) + FromUtf8(file)).c_str());
    });
    source.document = std::move(made.json);
    source.errors = std::move(made.errors);
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

ShaderSource ReadShaderSource(const std::wstring& absolutePath, const std::wstring& includeFolder,
                              std::string_view name) {
    ShaderSource source;
    source.files.push_back(absolutePath);
    if (IsPlainShader(absolutePath)) {
        ReadPlainShader(absolutePath, std::string(name), source);
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
