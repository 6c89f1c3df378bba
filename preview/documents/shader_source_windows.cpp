// Reads the user's file and the files that belong to it.
#include "preview/documents/shader_source.h"

#include <algorithm>
#include <cwchar>
#include <span>
#include <string_view>

#include "base/file.h"
#include "base/text.h"
#include "preview/documents/named_files.h"
#include "preview/documents/raw_shader.h"
#include "preview/documents/second_form.h"
#include "preview/host/file_paths.h"
#include "preview/host/host_error.h"

namespace pixelforge::preview {
namespace {

/// Includes that include each other end here at the latest.
constexpr std::size_t kMostFiles = 512;

std::string_view AsText(const std::vector<std::uint8_t>& bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

std::vector<std::uint8_t> AsBytes(const std::string& text) {
    return {text.begin(), text.end()};
}

/// UTF-8, whatever code page the file is in, and without a byte order mark.
std::string TextOfFile(const std::wstring& path) {
    const auto bytes = ReadInputFile(path);
    const std::string_view text = AsText(bytes);
    std::string utf8 = ToUtf8(Widen(text, DetectEncoding(text)).value_or(std::wstring()));
    return utf8.starts_with("\xEF\xBB\xBF") ? utf8.substr(3) : utf8;
}

/// Empty for a file that cannot be read now: whether that matters is the module's to say.
std::string TextOfNamedFile(const std::wstring& path) {
    try {
        return TextOfFile(path);
    } catch (const HostError&) {
        return {};
    }
}

bool HasExtensionOf(const std::wstring& path, std::span<const std::wstring_view> extensions) {
    return std::ranges::any_of(extensions, [&](std::wstring_view end) {
        return path.size() >= end.size() &&
               _wcsicmp(path.c_str() + path.size() - end.size(), end.data()) == 0;
    });
}

bool IsPlainShader(const std::wstring& path) {
    constexpr std::wstring_view kExtensions[] = {L".glsl", L".frag", L".fs"};
    return HasExtensionOf(path, kExtensions);
}

/// "folder\plasma.a.glsl" for "folder\plasma.glsl" and "a".
std::wstring PassPath(const std::wstring& path, std::string_view stem) {
    const std::size_t dot = path.rfind(L'.');
    return path.substr(0, dot + 1) + FromUtf8(stem) + path.substr(dot);
}

void OpenPlainShader(const std::wstring& path, ShaderSource& source) {
    std::vector<RawPass> passes = {{"image", TextOfFile(path)}};
    source.remark = "a plain shader, taken as the Image pass";
    for (const std::string_view stem : kRawPassStems) {
        const std::wstring passPath = PassPath(path, stem);
        source.files.push_back(passPath);
        if (IsExistingFile(passPath.c_str())) {
            passes.push_back({std::string(stem), TextOfFile(passPath)});
            source.remark += ", with ." + std::string(stem);
        }
    }
    source.document =
        AsBytes(DocumentOfRawPasses(ToUtf8(path.substr(path.find_last_of(L"\\/") + 1)), passes));
}

void OpenDocument(const std::wstring& path, ShaderSource& source) {
    source.document = ReadInputFile(path);
    if (auto translated = TranslateSecondForm(AsText(source.document))) {
        source.document = AsBytes(*translated);
        source.remark = "a document of the form without \"Shader\", translated";
    }
}

/// Where the module may find a named file: beside the shader or in the include folder.
void AddNamedFiles(std::string_view text, const std::wstring& folder, const std::wstring& includeFolder,
                   std::vector<std::wstring>& files) {
    for (const std::string& name : NamedFiles(text)) {
        if (!IsOpenableLocalName(FromUtf8(name))) {
            continue;
        }
        for (const std::wstring& base : {folder, includeFolder}) {
            const std::wstring path = base + L"\\" + FromUtf8(name);
            if (!base.empty() && files.size() < kMostFiles && std::ranges::find(files, path) == files.end()) {
                files.push_back(path);
            }
        }
    }
}

bool MayNameOthers(const std::wstring& path) {
    constexpr std::wstring_view kMedia[] = {L".png", L".jpg", L".jpeg", L".bmp", L".gif", L".tif", L".bin"};
    return IsExistingFile(path.c_str()) && !HasExtensionOf(path, kMedia);
}

}  // namespace

ShaderSource OpenShader(const std::wstring& absolutePath, const std::wstring& includeFolder) {
    ShaderSource source;
    source.files.push_back(absolutePath);
    if (IsPlainShader(absolutePath)) {
        OpenPlainShader(absolutePath, source);
    } else {
        OpenDocument(absolutePath, source);
    }
    const std::wstring folder = absolutePath.substr(0, absolutePath.find_last_of(L"\\/"));
    const std::size_t own = source.files.size();
    AddNamedFiles(AsText(source.document), folder, includeFolder, source.files);
    for (std::size_t i = own; i < source.files.size(); ++i) {
        if (MayNameOthers(source.files[i])) {
            AddNamedFiles(TextOfNamedFile(source.files[i]), folder, includeFolder, source.files);
        }
    }
    return source;
}

}  // namespace pixelforge::preview
