// Formats and classifies URLs of the web service.
#include "service/service_urls.h"

#include <charconv>
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

bool IsUnreserved(char c) noexcept {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' ||
           c == '.' || c == '_' || c == '~';
}

/// Encodes as UTF-8 what RFC 3986 does not list as unreserved. WinINet would convert other characters to the
/// ANSI code page, which loses most of them and turns full-width dots and slashes into "../".
std::wstring PercentEncoded(std::wstring_view text) {
    constexpr wchar_t kDigits[] = L"0123456789ABCDEF";
    std::wstring encoded;
    for (const char c : ToUtf8(text)) {
        const auto byte = static_cast<unsigned char>(c);
        if (IsUnreserved(c)) {
            encoded += static_cast<wchar_t>(byte);
        } else {
            encoded += {L'%', kDigits[byte >> 4], kDigits[byte & 15]};
        }
    }
    return encoded;
}

/// std::nullopt for an incomplete escape, a NUL, and bytes that are not UTF-8.
std::optional<std::wstring> PercentDecoded(std::wstring_view text) {
    const std::string encoded = ToUtf8(text);
    std::string decoded;
    for (std::size_t i = 0; i < encoded.size(); ++i) {
        unsigned value = static_cast<unsigned char>(encoded[i]);
        if (encoded[i] == '%') {
            const char* const digits = encoded.data() + i + 1;
            if (encoded.size() - i < 3 || std::from_chars(digits, digits + 2, value, 16).ptr != digits + 2) {
                return std::nullopt;
            }
            i += 2;
        }
        if (value == 0) {
            return std::nullopt;
        }
        decoded += static_cast<char>(value);
    }
    return Widen(decoded, TextEncoding::Utf8);
}

/// No encoding keeps a server from resolving these.
bool IsDotSegment(std::wstring_view name) noexcept {
    return name == L"." || name == L"..";
}

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

bool SetMedia(CacheEntry& entry, const std::wstring& rest) {
    const auto file = PercentDecoded(rest);
    return file && SetName(entry, ServiceContent::Media, L"Assets", *file);
}

bool SetShader(CacheEntry& entry, const std::wstring& rest) {
    const auto id = PercentDecoded(rest.substr(0, rest.find(kKeyParameter)));
    wchar_t name[kPathUnits];
    return id && !IsDotSegment(*id) && CachedNameForShaderId(id->c_str(), name) &&
           SetName(entry, ServiceContent::Shader, L"Shaders", std::wstring(name) + L".json");
}

}  // namespace

bool FormatShaderUrl(const wchar_t* id, wchar_t (&url)[kPathUnits]) {
    return !IsDotSegment(id) &&
           FormatBounded(url, kPathUnits, L"https://%s/api/v1/shaders/%s?key=%s", kServiceHost,
                         PercentEncoded(id).c_str(), kServiceKey) == kFormatComplete;
}

bool FormatMediaUrl(const wchar_t* name, wchar_t (&url)[kPathUnits]) {
    return !IsDotSegment(name) && FormatBounded(url, kPathUnits, L"https://%s/media/a/%s", kServiceHost,
                                                PercentEncoded(name).c_str()) == kFormatComplete;
}

std::optional<std::wstring> MediaNameOf(std::wstring_view src) {
    wchar_t folder[kPathUnits];
    FormatMediaUrl(L"", folder);
    const std::wstring_view name = src.substr(src.rfind(L'/') + 1);
    return src.starts_with(folder) ? PercentDecoded(name) : std::wstring(name);
}

// A search URL also contains the document mark, hence the order.
bool ClassifyUrl(const wchar_t* url, CacheEntry& entry) {
    if (const auto query = TextAfter(url, kSearchMark)) {
        return SetSearch(entry, *query);
    }
    if (const auto file = TextAfter(url, kMediaMark)) {
        return SetMedia(entry, *file);
    }
    if (const auto rest = TextAfter(url, kShaderMark)) {
        return SetShader(entry, *rest);
    }
    return false;
}

}  // namespace pixelforge
