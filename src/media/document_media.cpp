// Visiting of channels and loading of their files.
#include "media/document_media.h"

#include <algorithm>
#include <optional>
#include <string>
#include <utility>

#include "base/bitmap.h"
#include "base/debug_output.h"
#include "base/file.h"
#include "media/cube_cross.h"
#include "media/cube_faces.h"
#include "media/image_decoder.h"
#include "media/volume_file.h"
#include "service/service_client.h"
#include "service/service_urls.h"

namespace pixelforge {
namespace {

constexpr std::int32_t kMediaLoaded = -1;

constexpr const char* kPassNames[kPassSlots] = {"unknown pass", "Common",   "Buffer A", "Buffer B",
                                                "Buffer C",     "Buffer D", "Cube A",   "Image"};

bool ShowsFile(ChannelType type) noexcept {
    return type == ChannelType::Texture || type == ChannelType::CubeMap || type == ChannelType::Volume;
}

/// Replaces the channel's source by the path of a file on this machine. A stranger's plain name is asked for
/// by its address at the service, so that it finds no other file of that name.
bool FetchSource(InternetSession* session, const ShaderDocument& document, PassInput& input,
                 std::string& reason) {
    const bool local = document.origin == DocumentOrigin::LocalFile;
    wchar_t address[kPathUnits] = {};
    wchar_t path[kPathUnits];
    if (!local && !FormatMediaUrl(input.src, address)) {
        reason = "its name is too long";
        return false;
    }
    if (DownloadToCacheFile(session, document.info.id, local ? input.src : address, path, reason)) {
        CopyCut(input.src, path);
        reason = "the service's answer cannot be written to the cache";
        return IsExistingFile(path);
    }
    return local && IsExistingFile(input.src);
}

bool LoadTexture(PassInput& input, std::string& reason) {
    input.faces[0] = DecodeImageFile(input.src, reason);
    return static_cast<bool>(input.faces[0]);
}

bool LoadFaceFiles(PassInput& input, std::string& reason) {
    UniqueBitmap faces[6];
    for (std::uint32_t face = 0; face < std::size(faces); ++face) {
        wchar_t path[kPathUnits];
        if (!CubeFacePath(input.src, face, path) || !IsExistingFile(path)) {
            continue;
        }
        faces[face] = DecodeImageFile(path, reason);
        if (!faces[face]) {
            reason.insert(0, "face " + std::to_string(face) + ": ");
            return false;
        }
    }
    std::move(std::begin(faces), std::end(faces), std::begin(input.faces));
    return true;
}

bool LoadCross(PassInput& input, std::string& reason) {
    const UniqueBitmap picture = DecodeImageFile(input.src, reason);
    if (!picture) {
        return false;
    }
    reason = "no cross of 4 by 3 cells is in the picture";
    return SplitCubeCross(picture.Get(), input.faces);
}

bool LoadCubeMap(PassInput& input, std::string& reason) {
    wchar_t second[kPathUnits];
    const bool hasFaceFiles = CubeFacePath(input.src, 1, second) && IsExistingFile(second);
    return hasFaceFiles ? LoadFaceFiles(input, reason) : LoadCross(input, reason);
}

ChannelSize SizeOfPicture(const PassInput& input) noexcept {
    const SectionPixels pixels = PixelsOf(input.faces[0].Get());
    return {static_cast<float>(pixels.width), static_cast<float>(pixels.height), 1.0F};
}

std::optional<ChannelSize> LoadVolume(PassInput& input, std::string& reason) {
    std::uint32_t size = 0;
    HeapBytes file = ReadWholeFile(input.src, &size);
    const auto header = file ? ReadVolumeHeader({file.get(), size}) : std::nullopt;
    if (!header) {
        reason = file ? "it is no volume" : "it cannot be read";
        return std::nullopt;
    }
    input.volume = std::move(file);
    input.volumeBytes = size;
    return ChannelSize{static_cast<float>(header->width), static_cast<float>(header->height),
                       static_cast<float>(header->depth)};
}

/// The size of the medium, or nothing when the channel stays empty.
std::optional<ChannelSize> LoadMedium(PassInput& input, std::string& reason) {
    switch (input.ctype) {
        case ChannelType::Volume:
            return LoadVolume(input, reason);
        case ChannelType::CubeMap:
            return LoadCubeMap(input, reason) ? std::optional(SizeOfPicture(input)) : std::nullopt;
        default:
            return LoadTexture(input, reason) ? std::optional(SizeOfPicture(input)) : std::nullopt;
    }
}

std::optional<ChannelSize> LoadChannel(InternetSession* session, const ShaderDocument& document,
                                       PassInput& input, std::string& reason) {
    if (!input.src[0]) {
        reason = "it names no file that this document may use";
        return std::nullopt;
    }
    if (!FetchSource(session, document, input, reason)) {
        reason.insert(0, "no such file is here; ");
        return std::nullopt;
    }
    return LoadMedium(input, reason);
}

void LoadPassMedia(InternetSession* session, const ShaderDocument& document, RenderPass& pass) {
    for (std::uint32_t channel = 0; channel < kChannels; ++channel) {
        PassInput& input = pass.inputs[channel];
        if (!ShowsFile(input.ctype)) {
            continue;
        }
        std::string reason;
        if (const auto size = LoadChannel(session, document, input, reason)) {
            pass.channelResolution[channel] = *size;
            input.sourcePass = kMediaLoaded;
        } else {
            ReportEmptyChannel(pass.kind, channel, input.src, reason);
        }
    }
}

}  // namespace

bool LoadDocumentMedia(InternetSession* session, ShaderDocument& document) {
    for (RenderPass& pass : document.passes) {
        if (pass.kind != PassKind::Other) {
            LoadPassMedia(session, document, pass);
        }
    }
    return true;
}

void ReportEmptyChannel(PassKind pass, std::uint32_t channel, const wchar_t* file, std::string_view reason) {
    const auto slot = std::min(static_cast<std::uint32_t>(pass), kPassSlots - 1);
    std::string line =
        std::string(kPassNames[slot]) + ", iChannel" + std::to_string(channel) + " stays empty: ";
    if (file && *file) {
        line += ToUtf8(file) + ": ";
    }
    WriteDebugLine(line.append(reason));
}

}  // namespace pixelforge
