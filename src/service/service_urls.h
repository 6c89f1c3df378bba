// URLs of the web service, and the cache file for each.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/text.h"

/// Host name from the build setting of the same name. The default is a reserved name that never resolves.
#ifndef PIXELFORGE_SERVICE_HOST
#define PIXELFORGE_SERVICE_HOST "pixelforge.example"
#endif

namespace pixelforge {

inline constexpr wchar_t kServiceHost[] = L"" PIXELFORGE_SERVICE_HOST;

enum class ServiceContent {
    Shader,
    Search,
    Media,
};

/// The URL of a shader document or of a media file, with the identifier or name percent-encoded. False if it
/// does not fit, and for "." and "..".
bool FormatShaderUrl(const wchar_t* id, wchar_t (&url)[kPathUnits]);
bool FormatMediaUrl(const wchar_t* name, wchar_t (&url)[kPathUnits]);

/// The text after the last "/" of a document's source, decoded if the source is a media URL of the service.
/// std::nullopt if it cannot be decoded.
std::optional<std::wstring> MediaNameOf(std::wstring_view src);

/// What a URL requests, and the cache file for it, relative to the cache root.
struct CacheEntry {
    ServiceContent content;
    wchar_t name[kPathUnits];
};

/// Identifiers and media names are decoded. False for a URL that is not the service's, and for an identifier
/// without a cached name, a query that is too long, or a name that is not a plain file name.
bool ClassifyUrl(const wchar_t* url, CacheEntry& entry);

}  // namespace pixelforge
