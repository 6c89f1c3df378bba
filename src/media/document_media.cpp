// Restricts sources and loads the files of channels.
#include "media/document_media.h"

#include <algorithm>
#include <string>
#include <utility>

#include "base/bitmap.h"
#include "base/debug_output.h"
#include "base/file.h"
#include "base/load_error.h"
#include "media/cube_map.h"
#include "media/image_decoder.h"
#include "media/volume_file.h"
#include "service/service_client.h"
#include "service/service_urls.h"

namespace pixelforge {
namespace {

constexpr std::int32_t kMediaLoaded = -1;

std::wstring PlainNameOf(std::wstring_view src) {
    const std::wstring name(src.substr(src.find_last_of(L"\\/") + 1));
    return IsPlainFileName(name) ? name : std::wstring();
}

std::wstring LocalNameOf(std::wstring_view src) {
    return IsOpenableLocalName(src) ? std::wstring(src) : std::wstring();
}

bool ShowsFile(ChannelType type) noexcept {
    return type == ChannelType::Texture || type == ChannelType::CubeMap || type == ChannelType::Volume;
}

/// Replaces the channel's source with the path of a local file. A plain name in a service document is first
/// expanded to its URL, so that it cannot match an unrelated local file.
void FetchSource(InternetSession* session, const ShaderDocument& document, PassInput& input) {
    const bool local = document.origin == DocumentOrigin::LocalFile;
    wchar_t url[kPathUnits] = {};
    wchar_t path[kPathUnits];
    std::string reason;
    if (!local && !FormatMediaUrl(input.src, url)) {
        throw LoadError("no such file; its name is too long for the service");
    }
    const bool fetched =
        DownloadToCacheFile(session, document.info.id, local ? input.src : url, path, reason);
    if (fetched) {
        CopyCut(input.src, path);
        reason = "the service's response cannot be written to the cache";
    }
    if (!(fetched || local) || !IsExistingFile(input.src)) {
        throw LoadError("no such file; " + reason);
    }
}

UniqueBitmap DecodePicture(const wchar_t* path) {
    std::string reason;
    UniqueBitmap picture = DecodeImageFile(path, reason);
    if (!picture) {
        throw LoadError(reason);
    }
    return picture;
}

void LoadFaceFiles(PassInput& input) {
    UniqueBitmap faces[6];
    for (std::uint32_t face = 0; face < std::size(faces); ++face) {
        wchar_t path[kPathUnits];
        if (!CubeFacePath(input.src, face, path) || !IsExistingFile(path)) {
            continue;
        }
        std::string reason;
        faces[face] = DecodeImageFile(path, reason);
        if (!faces[face]) {
            throw LoadError("face " + std::to_string(face) + ": " + reason);
        }
    }
    std::move(std::begin(faces), std::end(faces), std::begin(input.faces));
}

void LoadCubeMap(PassInput& input) {
    wchar_t second[kPathUnits];
    if (CubeFacePath(input.src, 1, second) && IsExistingFile(second)) {
        LoadFaceFiles(input);
    } else if (!SplitCubeCross(DecodePicture(input.src).Get(), input.faces)) {
        throw LoadError("no cross of 4 by 3 cells in the picture");
    }
}

ChannelSize SizeOfPicture(const PassInput& input) noexcept {
    const SectionPixels pixels = PixelsOf(input.faces[0].Get());
    return {static_cast<float>(pixels.width), static_cast<float>(pixels.height), 1.0F};
}

ChannelSize LoadVolume(PassInput& input) {
    std::uint32_t size = 0;
    HeapBytes file = ReadWholeFile(input.src, &size);
    if (!file) {
        throw LoadError("cannot be read");
    }
    const auto header = ReadVolumeHeader({file.get(), size});
    if (!header) {
        throw LoadError("not a volume file");
    }
    input.volume = std::move(file);
    input.volumeBytes = size;
    return {static_cast<float>(header->width), static_cast<float>(header->height),
            static_cast<float>(header->depth)};
}

ChannelSize LoadMedium(PassInput& input) {
    switch (input.ctype) {
        case ChannelType::Volume:
            return LoadVolume(input);
        case ChannelType::CubeMap:
            LoadCubeMap(input);
            return SizeOfPicture(input);
        default:
            input.faces[0] = DecodePicture(input.src);
            return SizeOfPicture(input);
    }
}

void LoadChannel(InternetSession* session, const ShaderDocument& document, RenderPass& pass,
                 std::uint32_t channel) {
    PassInput& input = pass.inputs[channel];
    if (!input.src[0]) {
        throw LoadError("it names no file that this document may use");
    }
    FetchSource(session, document, input);
    pass.channelResolution[channel] = LoadMedium(input);
    input.sourcePass = kMediaLoaded;
}

void LoadPassMedia(InternetSession* session, const ShaderDocument& document, RenderPass& pass) {
    for (std::uint32_t channel = 0; channel < kChannels; ++channel) {
        const PassInput& input = pass.inputs[channel];
        if (!ShowsFile(input.ctype)) {
            continue;
        }
        const std::string failure = FailureOf([&] { LoadChannel(session, document, pass, channel); });
        if (!failure.empty()) {
            ReportEmptyChannel(pass.kind, channel, input.src, failure);
        }
    }
}

}  // namespace

void RestrictSources(ShaderDocument& document) {
    const bool local = document.origin == DocumentOrigin::LocalFile;
    for (RenderPass& pass : document.passes) {
        for (PassInput& input : pass.inputs) {
            CopyCut(input.src, local ? LocalNameOf(input.src) : PlainNameOf(input.src));
        }
    }
}

bool LoadDocumentMedia(InternetSession* session, ShaderDocument& document) {
    for (RenderPass& pass : document.passes) {
        if (pass.kind != PassKind::Other) {
            LoadPassMedia(session, document, pass);
        }
    }
    return true;
}

void ReportEmptyChannel(PassKind pass, std::uint32_t channel, const wchar_t* file, std::string_view reason) {
    std::string line = std::string(PassNarrowName(static_cast<std::uint32_t>(pass))) + ", iChannel" +
                       std::to_string(channel) + " stays empty: ";
    if (file && *file) {
        line += ToUtf8(file) + ": ";
    }
    WriteDebugLine(line.append(reason));
}

}  // namespace pixelforge
