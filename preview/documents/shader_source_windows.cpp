// Reads the shader and collects the paths of its files.
#include "preview/documents/shader_source.h"

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
#include <utility>

#include "base/file.h"
#include "base/text.h"
#include "base/win_handles.h"
#include "preview/documents/document_conversion.h"
#include "preview/documents/source_faults.h"
#include "preview/host/file_paths.h"

namespace pixelforge::preview {
namespace {

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
    for (PassFile& pass : passes) {
        source.names.texts.push_back(
            {std::string(PassNameOf(pass.stem)), std::move(pass.name), std::move(pass.code)});
    }
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
                                      IID_PPV_ARGS(devices.GetAddressOf()))) &&
           SUCCEEDED(devices->GetDefaultAudioEndpoint(eRender, eConsole, device.GetAddressOf()));
}

bool HasCamera() {
    ComPtr<ICreateDevEnum> devices;
    ComPtr<IEnumMoniker> cameras;
    ComPtr<IMoniker> first;
    return SUCCEEDED(CoCreateInstance(CLSID_SystemDeviceEnum, nullptr, CLSCTX_INPROC_SERVER,
                                      IID_PPV_ARGS(devices.GetAddressOf()))) &&
           devices->CreateClassEnumerator(CLSID_VideoInputDeviceCategory, cameras.GetAddressOf(), 0) ==
               S_OK &&
           cameras->Next(1, first.GetAddressOf(), nullptr) == S_OK;
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

/// The module looks for named files beside the shader and in the include folder.
void AddNamedFile(const std::wstring& name, const std::wstring& folder, const std::wstring& includeFolder,
                  std::vector<std::wstring>& files) {
    if (IsOpenableLocalName(name)) {
        files.push_back(std::filesystem::path(folder) / name);
        files.push_back(std::filesystem::path(includeFolder) / name);
    }
}

}  // namespace

ShaderSource ReadShaderSource(const std::wstring& absolutePath, const IncludeFolder& include,
                              const std::string& name) {
    ShaderSource source;
    source.names = {
        .shader = name, .file = true, .includeFolder = ToUtf8(include.path), .includeName = include.name};
    source.files.push_back(absolutePath);
    if (IsPlainShader(absolutePath)) {
        ReadPlainShader(absolutePath, source);
    } else {
        ReadDocument(absolutePath, source);
    }
    const WorkingFolder here(absolutePath);
    std::ranges::move(MissingIncludes(source.names), std::back_inserter(source.warnings));
    WarnOfAbsentDevices(source);
    for (const InputPlace& input : source.names.inputs) {
        AddNamedFile(FromUtf8(input.file), FolderOf(absolutePath), include.path, source.files);
    }
    for (const std::string& included : source.names.includes) {
        AddNamedFile(FromUtf8(included), FolderOf(absolutePath), include.path, source.files);
    }
    return source;
}

}  // namespace pixelforge::preview
