// Addresses of the web service, and the cache file that belongs to each.
#pragma once

#include "base/text.h"

namespace pixelforge {

enum class ServiceContent {
    Shader,
    Search,
    Media,
};

/// The address of a shader's document, or of a media file by its name. False when it does not fit.
bool FormatShaderUrl(const wchar_t* id, wchar_t (&url)[kPathUnits]) noexcept;
bool FormatMediaUrl(const wchar_t* name, wchar_t (&url)[kPathUnits]) noexcept;

/// What an address asks for, and the name below the cache root that keeps the answer.
struct CacheEntry {
    ServiceContent content;
    wchar_t name[kPathUnits];
};

/// False for an address that is none of the service's, and for one whose file could not be kept in its
/// folder: an identifier without a cached name, a query that is too long, a name that is no plain one.
bool ClassifyUrl(const wchar_t* url, CacheEntry& entry);

}  // namespace pixelforge
