// Reads the shader, collects the paths of its files, stages it and polls the files.
#include "preview/documents/opened_shader.h"

#include <windows.h>

// Otherwise the header redefines the runtime library's string functions.
#define NO_DSHOW_STRSAFE
#include <dshow.h>
#include <mmdeviceapi.h>
#include <wrl/client.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <string_view>
#include <thread>

#include "base/file.h"
#include "base/load_error.h"
#include "base/text.h"
#include "base/win_handles.h"
#include "preview/documents/document_conversion.h"
#include "preview/documents/source_faults.h"

namespace pixelforge::preview {
namespace {

/// Between two looks at the files. Polling works however an editor replaces a file.
constexpr auto kInterval = std::chrono::milliseconds(150);

using Microsoft::WRL::ComPtr;

/// As UTF-8 without a byte order mark.
std::string ReadText(const std::wstring& path) {
    const std::string text = ReadInputFile(path);
    std::string utf8 = ToUtf8(Widen(text, DetectEncoding(text)).value_or(std::wstring()));
    return utf8.starts_with("\xEF\xBB\xBF") ? utf8.substr(3) : utf8;
}

bool IsPlainShader(const std::filesystem::path& path) {
    const std::wstring_view extensions[] = {L".glsl", L".frag", L".fs"};
    return std::ranges::any_of(extensions, [own = path.extension()](std::wstring_view extension) {
        return EqualIgnoringAsciiCase(own.native(), extension);
    });
}

void ReadPlainShader(const std::wstring& path, ShaderSource& source) {
    const std::string& name = source.names.shader;
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
    const std::wstring stem = std::filesystem::path(path).stem();
    MadeDocument made = DocumentOfPassFiles(ToUtf8(stem), passes, [&](const std::string& file) {
        return IsExistingFile((FolderOf(path) + FromUtf8(file)).c_str());
    });
    source.document = std::move(made.json);
    source.errors = std::move(made.errors);
    source.names.inputs = std::move(made.inputs);
    source.names.texts = std::move(made.texts);
}

void ReadDocument(const std::wstring& path, ShaderSource& source) {
    source.document = ReadInputFile(path);
    source.warnings = DocumentFaults(source.document, source.names);
    if (auto converted = ConvertBareDocument(source.document)) {
        source.document = std::move(*converted);
        source.conversion = "document without \"Shader\", converted";
    }
}

bool HasSoundOutput() {
    ComPtr<IMMDeviceEnumerator> devices;
    ComPtr<IMMDevice> device;
    return SUCCEEDED(CoCreateInstance(__uuidof(MMDeviceEnumerator), nullptr, CLSCTX_INPROC_SERVER,
                                      IID_PPV_ARGS(&devices))) &&
           SUCCEEDED(devices->GetDefaultAudioEndpoint(eRender, eConsole, &device));
}

bool HasCamera() {
    ComPtr<ICreateDevEnum> devices;
    ComPtr<IEnumMoniker> cameras;
    ComPtr<IMoniker> first;
    return SUCCEEDED(CoCreateInstance(CLSID_SystemDeviceEnum, nullptr, CLSCTX_INPROC_SERVER,
                                      IID_PPV_ARGS(&devices))) &&
           devices->CreateClassEnumerator(CLSID_VideoInputDeviceCategory, &cameras, 0) == S_OK &&
           cameras->Next(1, &first, nullptr) == S_OK;
}

/// On a thread of its own, because the module expects a host's thread without COM.
bool IsAbsent(bool (*isPresent)()) {
    bool present = false;
    std::thread([&] {
        const ComApartment apartment;
        present = isPresent();
    }).join();
    return !present;
}

void WarnOfAbsentDevices(ShaderSource& source) {
    constexpr std::string_view kSound[] = {"audio", "music", "musicstream", "mic"};
    for (const InputPlace& input : source.names.inputs) {
        const bool camera = input.type == "webcam";
        const bool sound = std::ranges::find(kSound, input.type) != std::end(kSound);
        if ((camera && IsAbsent(HasCamera)) || (sound && IsAbsent(HasSoundOutput))) {
            source.warnings.push_back(
                input.place + ": warning: " + input.pass + ", iChannel" + std::to_string(input.channel) +
                (camera ? ": there is no camera" : ": there is no sound output device"));
        }
    }
}

/// Times and sizes, zeros for files that do not exist.
std::vector<std::uint32_t> StampsOf(const std::vector<std::wstring>& files) {
    std::vector<std::uint32_t> stamps;
    for (const std::wstring& file : files) {
        WIN32_FILE_ATTRIBUTE_DATA found = {};
        GetFileAttributesExW(LongPath(file).c_str(), GetFileExInfoStandard, &found);
        stamps.insert(stamps.end(),
                      {found.ftLastWriteTime.dwHighDateTime, found.ftLastWriteTime.dwLowDateTime,
                       found.nFileSizeHigh, found.nFileSizeLow});
    }
    return stamps;
}

}  // namespace

ShaderSource ReadShaderSource(const UserPath& file, const UserPath& include) {
    ShaderSource source;
    source.files = {file.path};
    source.names = {.shader = file.name,
                    .file = true,
                    .includeFolder = ToUtf8(include.path),
                    .includeName = include.name};
    if (IsPlainShader(file.path)) {
        ReadPlainShader(file.path, source);
    } else {
        ReadDocument(file.path, source);
    }
    const WorkingFolder here(file.path);
    std::ranges::move(MissingIncludes(source.names), std::back_inserter(source.warnings));
    WarnOfAbsentDevices(source);
    // The module looks for named files beside the shader and in the include folder.
    std::vector<std::string> named = source.names.includes;
    std::ranges::transform(source.names.inputs, std::back_inserter(named), &InputPlace::file);
    for (const std::string& name : named) {
        if (const std::wstring wide = FromUtf8(name); IsOpenableLocalName(wide)) {
            source.files.push_back(std::filesystem::path(FolderOf(file.path)) / wide);
            source.files.push_back(std::filesystem::path(include.path) / wide);
        }
    }
    return source;
}

OpenedShader OpenedShader::OfIdentifier(const std::string& identifier) {
    const auto line = Narrow(FromUtf8(identifier) + L"\r\n", TextEncoding::AnsiCodePage);
    OpenedShader shader(StagedShader::OfPlaylist(BytesOf(line.value_or(std::string()))));
    shader.source_.names.shader = identifier;
    return shader;
}

OpenedShader OpenedShader::OfPlaylist(const std::wstring& absolutePath) {
    return OpenedShader(StagedShader::OfPlaylist(BytesOf(ReadInputFile(absolutePath))));
}

OpenedShader OpenedShader::OfFile(const UserPath& file, const UserPath& include, const std::string& picture) {
    OpenedShader shader(StagedShader::OfDocument({}));
    shader.file_ = file;
    shader.include_ = include;
    shader.picture_ = picture;
    shader.Stage();
    return shader;
}

void OpenedShader::Stage() {
    ShaderSource source = ReadShaderSource(file_, include_);
    if (!picture_.empty()) {
        source.document = WithPicture(source.document, picture_);
    }
    staged_.Replace(BytesOf(source.errors.empty() ? source.document : std::string_view()));
    stamps_ = StampsOf(source.files);
    source_ = std::move(source);
}

bool OpenedShader::Refresh() {
    const auto now = std::chrono::steady_clock::now();
    if (file_.path.empty() || now - lastPoll_ < kInterval) {
        return false;
    }
    lastPoll_ = now;
    std::vector<std::uint32_t> stamps = StampsOf(source_.files);
    // An editor may write a file in several steps: staged one interval after the last.
    const bool changing = stamps != stamps_;
    stamps_ = std::move(stamps);
    const bool whole = changed_ && !changing;
    changed_ = changing || (whole && !FailureOf([&] { Stage(); }).empty());
    return whole && !changed_;
}

}  // namespace pixelforge::preview
