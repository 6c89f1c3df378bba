// Formats and classifies URLs of the web service.
#include "service/service_urls.h"

#include <optional>
#include <string>
#include <string_view>

#include "base/file.h"
#include "service/shader_cache.h"

namespace pixelforge {
namespace {

constexpr wchar_t kServiceKey[] = L"fz3kq9";
constexpr std::wstring_view kKeyParameter = L"?key=";
constexpr std::wstring_view kSearchMark = L"/api/v1/shaders/query/";
constexpr std::wstring_view kMediaMark = L"/media/a/";
constexpr std::wstring_view kShaderMark = L"/api/v1/shaders/";

std::optional<std::wstring> TextAfter(std::wstring_view url, std::wstring_view mark) {
    const std::size_t found = url.find(mark);
    if (found == url.npos) {
        return std::nullopt;
    }
    return std::wstring(url.substr(found + mark.size()));
}

bool SetName(CacheEntry& entry, ServiceContent content, const wchar_t* folder, const std::wstring& file) {
    entry.content = content;
    return IsPlainFileName(file) &&
           FormatBounded(entry.name, kPathUnits, L"%s\\%s", folder, file.c_str()) == kFormatComplete;
}

bool SetSearch(CacheEntry& entry, const std::wstring& query) {
    wchar_t name[kPathUnits];
    return EncodeQueryName(query.c_str(), name) &&
           SetName(entry, ServiceContent::Search, L"Searches", std::wstring(name) + L".json");
}

bool SetShader(CacheEntry& entry, const std::wstring& rest) {
    const std::wstring id = rest.substr(0, rest.find(kKeyParameter));
    wchar_t name[kPathUnits];
    return CachedNameForShaderId(id.c_str(), name) &&
           SetName(entry, ServiceContent::Shader, L"Shaders", std::wstring(name) + L".json");
}

}  // namespace

bool FormatShaderUrl(const wchar_t* id, wchar_t (&url)[kPathUnits]) noexcept {
    return FormatBounded(url, kPathUnits, L"https://%s/api/v1/shaders/%s?key=%s", kServiceHost, id,
                         kServiceKey) == kFormatComplete;
}

bool FormatMediaUrl(const wchar_t* name, wchar_t (&url)[kPathUnits]) noexcept {
    return FormatBounded(url, kPathUnits, L"https://%s/media/a/%s", kServiceHost, name) == kFormatComplete;
}

// A search URL also contains the document mark, hence the order.
bool ClassifyUrl(const wchar_t* url, CacheEntry& entry) {
    if (const auto query = TextAfter(url, kSearchMark)) {
        return SetSearch(entry, *query);
    }
    if (const auto file = TextAfter(url, kMediaMark)) {
        return SetName(entry, ServiceContent::Media, L"Assets", *file);
    }
    if (const auto rest = TextAfter(url, kShaderMark)) {
        return SetShader(entry, *rest);
    }
    return false;
}

}  // namespace pixelforge
