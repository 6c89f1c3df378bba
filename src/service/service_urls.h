// URLs of the web service, and the cache file for each.
#pragma once

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

/// The URL of a shader document or of a media file. False if it does not fit.
bool FormatShaderUrl(const wchar_t* id, wchar_t (&url)[kPathUnits]) noexcept;
bool FormatMediaUrl(const wchar_t* name, wchar_t (&url)[kPathUnits]) noexcept;

/// What a URL requests, and the cache file for it, relative to the cache root.
struct CacheEntry {
    ServiceContent content;
    wchar_t name[kPathUnits];
};

/// False for a URL that is not the service's, and for an identifier without a cached name, a query that is
/// too long, or a name that is not a plain file name.
bool ClassifyUrl(const wchar_t* url, CacheEntry& entry);

}  // namespace pixelforge
