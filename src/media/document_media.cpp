// Restricts sources, and finds and loads the files of channels.
#include "media/document_media.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <map>
#include <memory>
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

/// The path of a local file, in the cache if the source is the service's. A plain name in a service document
/// is first expanded to its URL, so that it cannot match an unrelated local file.
std::wstring FetchSource(InternetSession* session, const ShaderDocument& document, const wchar_t* src) {
    const bool local = document.origin == DocumentOrigin::LocalFile;
    wchar_t url[kPathUnits] = {};
    wchar_t path[kPathUnits] = {};
    std::string reason;
    if (!local && !FormatMediaUrl(src, url)) {
        throw LoadError("no such file; its name is too long for the service");
    }
    if (!DownloadToCacheFile(session, document.info.id, local ? src : url, path, reason)) {
        throw LoadError("no such file; " + reason);
    }
    if (!IsExistingFile(path)) {
        throw LoadError("no such file; the service's response cannot be written to the cache");
    }
    return path;
}

/// The result of fetching a source, for all channels that name it.
struct FetchedFile {
    std::wstring path;
    std::string fault;  ///< empty if there is a path
};

/// The files of one load by source. A missing one is requested once, not once a channel.
using FetchedFiles = std::map<std::wstring, FetchedFile>;

const FetchedFile& FetchOnce(InternetSession* session, const ShaderDocument& document, const wchar_t* src,
                             FetchedFiles& files) {
    const auto [entry, added] = files.try_emplace(src);
    FetchedFile& file = entry->second;
    if (added) {
        file.fault = FailureOf([&] { file.path = FetchSource(session, document, src); });
    }
    return file;
}

/// The medium of another channel of the same type and path, or a new one.
std::shared_ptr<Medium> MediumOf(const ShaderDocument& document, const PassInput& input) {
    for (const RenderPass& pass : document.passes) {
        for (const PassInput& other : pass.inputs) {
            if (other.medium && other.ctype == input.ctype &&
                std::wstring_view(other.src) == std::wstring_view(input.src)) {
                return other.medium;
            }
        }
    }
    return std::make_shared<Medium>();
}

void FindMedium(InternetSession* session, const ShaderDocument& document, PassInput& input,
                FetchedFiles& files) {
    if (!input.src[0]) {
        throw LoadError("it names no file that this document may use");
    }
    const FetchedFile& file = FetchOnce(session, document, input.src, files);
    if (!file.fault.empty()) {
        throw LoadError(file.fault);
    }
    CopyCut(input.src, file.path);
    input.medium = MediumOf(document, input);
}

void FindPassMedia(InternetSession* session, const ShaderDocument& document, RenderPass& pass,
                   FetchedFiles& files) {
    for (std::uint32_t channel = 0; channel < kChannels; ++channel) {
        PassInput& input = pass.inputs[channel];
        const bool named = input.src[0] || input.refusedSrc[0];
        if (!ShowsFile(input.ctype) || !named) {
            continue;
        }
        const std::string failure = FailureOf([&] { FindMedium(session, document, input, files); });
        if (!failure.empty()) {
            ReportEmptyChannel(pass.kind, channel, input.src[0] ? input.src : input.refusedSrc, failure);
        }
    }
}

/// What is left of the budget with `bytes` in use.
std::uint64_t BytesLeft(std::uint64_t bytes) noexcept {
    return kMediaBudget - std::min(bytes, kMediaBudget);
}

void AddWithinBudget(std::uint64_t& bytes, std::uint64_t added) {
    if (added > BytesLeft(bytes)) {
        throw LoadError(kBeyondBudget);
    }
    bytes += added;
}

/// `bytes` of the document's budget are in use; the picture's are added.
UniqueBitmap DecodePicture(const wchar_t* path, std::uint64_t& bytes) {
    std::string reason;
    UniqueBitmap picture = DecodeImageFile(path, reason, BytesLeft(bytes));
    if (!picture) {
        throw LoadError(reason);
    }
    AddWithinBudget(bytes, PixelsOf(picture.Get()).bytes.size());
    return picture;
}

void LoadFaceFiles(const wchar_t* src, Medium& medium, std::uint64_t& bytes) {
    for (std::uint32_t face = 0; face < std::size(medium.faces); ++face) {
        wchar_t path[kPathUnits];
        if (!CubeFacePath(src, face, path) || !IsExistingFile(path)) {
            continue;
        }
        const std::string failure = FailureOf([&] { medium.faces[face] = DecodePicture(path, bytes); });
        if (!failure.empty()) {
            throw LoadError("face " + std::to_string(face) + ": " + failure);
        }
    }
}

/// Counts only the faces: the picture lives no longer than this. It is copied at 32 bits, so it must fit at
/// that depth.
void LoadCross(const wchar_t* src, Medium& medium, std::uint64_t& bytes) {
    std::uint64_t bytesWithPicture = bytes;
    UniqueBitmap picture = DecodePicture(src, bytesWithPicture);
    const SectionPixels size = PixelsOf(picture.Get());
    if (std::uint64_t{4} * static_cast<std::uint32_t>(size.width) * static_cast<std::uint32_t>(size.height) >
        BytesLeft(bytes)) {
        throw LoadError(kBeyondBudget);
    }
    if (!SplitCubeCross(std::move(picture), medium.faces, BytesLeft(bytes))) {
        throw LoadError("no cross of 4 by 3 cells in the picture");
    }
    AddWithinBudget(bytes, std::size(medium.faces) * PixelsOf(medium.faces[0].Get()).bytes.size());
}

void LoadCubeMap(const wchar_t* src, Medium& medium, std::uint64_t& bytes) {
    wchar_t second[kPathUnits];
    if (CubeFacePath(src, 1, second) && IsExistingFile(second)) {
        LoadFaceFiles(src, medium, bytes);
    } else {
        LoadCross(src, medium, bytes);
    }
}

ChannelSize SizeOfPicture(const Medium& medium) noexcept {
    const SectionPixels pixels = PixelsOf(medium.faces[0].Get());
    return {static_cast<float>(pixels.width), static_cast<float>(pixels.height), 1.0F};
}

ChannelSize LoadVolume(const wchar_t* src, Medium& medium, std::uint64_t& bytes) {
    HeapBytes file = ReadWholeFile(src, &medium.volumeBytes, {BytesLeft(bytes), kBeyondBudget});
    if (!file) {
        throw LoadError("cannot be read");
    }
    const auto header = ReadVolumeHeader({file.get(), medium.volumeBytes});
    if (!header) {
        throw LoadError("not a volume file");
    }
    constexpr std::uint32_t kAnySide = std::numeric_limits<std::uint32_t>::max();
    if (const char* fault = FaultOfVolume(*header, medium.volumeBytes, kAnySide)) {
        throw LoadError(fault);
    }
    AddWithinBudget(bytes, std::max<std::uint64_t>(medium.volumeBytes, TextureBytesOfVolume(*header)));
    medium.volume = std::move(file);
    return {static_cast<float>(header->width), static_cast<float>(header->height),
            static_cast<float>(header->depth)};
}

ChannelSize LoadFile(const PassInput& input, Medium& medium, std::uint64_t& bytes) {
    switch (input.ctype) {
        case ChannelType::Volume:
            return LoadVolume(input.src, medium, bytes);
        case ChannelType::CubeMap:
            LoadCubeMap(input.src, medium, bytes);
            return SizeOfPicture(medium);
        default:
            medium.faces[0] = DecodePicture(input.src, bytes);
            return SizeOfPicture(medium);
    }
}

/// Control characters, which occur in refused names, would reach the reader's terminal.
std::string PrintableName(std::wstring_view name) {
    std::wstring printable(name);
    std::ranges::replace_if(
        printable, [](wchar_t c) { return c < L' ' || c == 0x7F; }, L'?');
    return ToUtf8(printable);
}

}  // namespace

void RestrictSources(ShaderDocument& document) {
    const bool local = document.origin == DocumentOrigin::LocalFile;
    for (RenderPass& pass : document.passes) {
        for (PassInput& input : pass.inputs) {
            const std::wstring allowed = local ? LocalNameOf(input.src) : PlainNameOf(input.src);
            if (allowed.empty()) {
                CopyCut(input.refusedSrc, input.src);
            }
            CopyCut(input.src, allowed);
        }
    }
}

bool LoadDocumentMedia(InternetSession* session, ShaderDocument& document) {
    document.mediaBytes = 0;
    FetchedFiles files;
    for (RenderPass& pass : document.passes) {
        if (pass.kind != PassKind::Other) {
            FindPassMedia(session, document, pass, files);
        }
    }
    return true;
}

void LoadMedium(ShaderDocument& document, const PassInput& input) {
    Medium& medium = *input.medium;
    if (medium.faces[0] || medium.volume) {
        AddWithinBudget(document.mediaBytes, medium.bytes);
        return;
    }
    Medium loaded = {};
    std::uint64_t bytes = document.mediaBytes;
    loaded.size = LoadFile(input, loaded, bytes);
    loaded.bytes = bytes - document.mediaBytes;
    document.mediaBytes = bytes;
    medium = std::move(loaded);
}

void ReportEmptyChannel(PassKind pass, std::uint32_t channel, const wchar_t* file, std::string_view reason) {
    std::string line = std::string(PassNarrowName(static_cast<std::uint32_t>(pass))) + ", iChannel" +
                       std::to_string(channel) + " stays empty: ";
    if (file && *file) {
        line += PrintableName(file) + ": ";
    }
    WriteDebugLine(line.append(reason));
}

}  // namespace pixelforge
