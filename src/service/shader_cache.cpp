// Builds the names of cached files.
#include "service/shader_cache.h"

#include <cwctype>

namespace pixelforge {
namespace {

constexpr std::size_t kLongestIdentifier = 20;
constexpr std::size_t kLongestQuery = 160;

constexpr std::size_t kGroupBytes = 5;
constexpr std::size_t kGroupSymbols = 8;
constexpr std::size_t kSymbolBits = 5;
static_assert(kLongestQuery / kGroupBytes * kGroupSymbols < kPathUnits);

void WriteGroup(std::uint64_t bits, wchar_t* out) noexcept {
    constexpr wchar_t kAlphabet[] = L"ABCDEFGHIJKLMNOPQRSTUVWXYZ234567";
    for (std::size_t i = kGroupSymbols; i-- > 0; bits >>= kSymbolBits) {
        out[i] = kAlphabet[bits & 31];
    }
}

}  // namespace

bool CachedNameForShaderId(const wchar_t* id, wchar_t* out) {
    const std::wstring_view name = id ? id : L"";
    if (!out || name.empty() || name.size() > kLongestIdentifier) {
        return false;
    }
    wchar_t lower[kLongestIdentifier + 1] = {};
    unsigned capitals = 0;
    for (std::size_t i = 0; i < name.size(); ++i) {
        const auto unit = static_cast<std::wint_t>(name[i]);
        capitals |= std::iswupper(unit) ? 1u << i : 0u;
        lower[i] = static_cast<wchar_t>(std::iswupper(unit) ? std::towlower(unit) : unit);
    }
    return FormatBounded(out, kPathUnits, L"%s_%X", lower, capitals) == kFormatComplete;
}

bool EncodeQueryName(const wchar_t* text, wchar_t* out) {
    if (!text || !out) {
        return false;
    }
    const std::wstring_view query = text;
    if (query.size() > kLongestQuery) {
        return false;
    }
    for (std::size_t first = 0; first < query.size(); first += kGroupBytes, out += kGroupSymbols) {
        std::uint64_t bits = 0;
        for (std::size_t i = first; i < first + kGroupBytes; ++i) {
            bits = bits << 8 | (i < query.size() ? static_cast<unsigned>(query[i]) & 0xFFu : 0u);
        }
        WriteGroup(bits, out);
    }
    *out = L'\0';
    return true;
}

}  // namespace pixelforge
