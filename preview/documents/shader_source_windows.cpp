// Reads the shader and collects the paths of its files.
#include "preview/documents/shader_source.h"

#include <windows.h>

// Otherwise the header redefines the runtime library's string functions.
#define NO_DSHOW_STRSAFE
#include <dshow.h>
#include <mmdeviceapi.h>
#include <wrl/client.h>

#include <algorithm>
#include <iterator>
#include <span>
#include <string_view>
#include <thread>
#include <utility>

#include "base/file.h"
#include "base/text.h"
#include "base/win_handles.h"
#include "preview/documents/document_conversion.h"
#include "preview/documents/source_faults.h"
#include "preview/host/file_paths.h"
#include "preview/host/host_error.h"

namespace pixelforge::preview {
namespace {

/// Also ends recursive includes.
constexpr std::size_t kMaximumFiles = 512;

using Microsoft::WRL::ComPtr;

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
    MadeDocument made = DocumentOfPassFiles(StemOf(path), passes, [&](const std::string& file) {
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

// Devices. A thread of their own, because the module expects a host's thread without COM.

template <class Work>
void OnComThread(const Work& work) {
    std::thread([&] {
        const ComApartment apartment;
        work();
    }).join();
}

bool HasSoundOutput() {
    ComPtr<IMMDeviceEnumerator> devices;
    ComPtr<IMMDevice> device;
    return SUCCEEDED(CoCreateInstance(__uuidof(MMDeviceEnumerator), nullptr, CLSCTX_ALL,
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

void WarnOfAbsentDevice(ShaderSource& source, bool camera) {
    bool wanted = false;
    bool present = false;
    const auto fits = [camera](const InputPlace& input) {
        constexpr std::string_view kSound[] = {"audio", "music", "musicstream", "mic"};
        return camera ? input.type == "webcam" : std::ranges::find(kSound, input.type) != std::end(kSound);
    };
    for (const InputPlace& input : source.names.inputs) {
        if (!fits(input)) {
            continue;
        }
        if (!std::exchange(wanted, true)) {
            OnComThread([&] { present = camera ? HasCamera() : HasSoundOutput(); });
        }
        if (!present) {
            source.warnings.push_back(
                input.place + ": warning: " + input.pass + ", iChannel" + std::to_string(input.channel) +
                (camera ? ": there is no camera" : ": there is no sound output device"));
        }
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
    {
        const WorkingFolder here(absolutePath);
        std::ranges::move(MissingIncludes(source.names), std::back_inserter(source.warnings));
    }
    WarnOfAbsentDevice(source, false);
    WarnOfAbsentDevice(source, true);
    const std::wstring folder = absolutePath.substr(0, absolutePath.find_last_of(L"\\/"));
    const std::size_t ownFiles = source.files.size();
    AddNamedFiles(source.document, folder, include.path, source.files);
    for (std::size_t i = ownFiles; i < source.files.size(); ++i) {
        if (MayNameFiles(source.files[i])) {
            AddNamedFiles(ReadTextIfPossible(source.files[i]), folder, include.path, source.files);
        }
    }
    return source;
}

}  // namespace pixelforge::preview
