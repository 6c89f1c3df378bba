// Folders of paths, and which file names from documents may be opened.
#include "base/file.h"

#include <algorithm>
#include <array>
#include <limits>
#include <string>

#include "base/load_error.h"
#include "base/text.h"

namespace pixelforge {
namespace {

/// Longest path component of common file systems.
constexpr std::size_t kLongestComponent = 255;

bool IsSeparator(wchar_t c) noexcept {
    return c == L'\\' || c == L'/';
}

bool IsAsciiLetter(wchar_t c) noexcept {
    return (c >= L'A' && c <= L'Z') || (c >= L'a' && c <= L'z');
}

bool IsForbidden(wchar_t c) noexcept {
    constexpr std::wstring_view kForbidden = L":<>|\"?*";
    return c < L' ' || kForbidden.find(c) != kForbidden.npos;
}

/// COM or LPT and a digit or a superscript 1, 2 or 3. The system also reserves COM0 and LPT0.
bool IsNumberedDevice(std::wstring_view stem) noexcept {
    constexpr std::wstring_view kNumbers = L"0123456789\u00B9\u00B2\u00B3";
    return stem.size() == 4 && kNumbers.find(stem[3]) != kNumbers.npos &&
           (StartsWithIgnoringAsciiCase(stem, L"COM") || StartsWithIgnoringAsciiCase(stem, L"LPT"));
}

bool IsReservedDevice(std::wstring_view component) noexcept {
    constexpr std::array<std::wstring_view, 7> kDevices = {L"CON",    L"PRN",     L"AUX",   L"NUL",
                                                           L"CONIN$", L"CONOUT$", L"CLOCK$"};
    std::wstring_view stem = component.substr(0, component.find(L'.'));
    stem.remove_prefix(std::min(stem.find_first_not_of(L' '), stem.size()));
    stem = stem.substr(0, stem.find_last_not_of(L' ') + 1);
    const auto isStem = [stem](std::wstring_view device) { return EqualIgnoringAsciiCase(stem, device); };
    return std::ranges::any_of(kDevices, isStem) || IsNumberedDevice(stem);
}

bool IsOpenableComponent(std::wstring_view component) noexcept {
    if (component.empty() || component == L"." || component == L"..") {
        return true;
    }
    // The system strips a trailing dot or space.
    const bool stripped = component.back() == L'.' || component.back() == L' ';
    return component.size() <= kLongestComponent && !stripped && !IsReservedDevice(component) &&
           std::ranges::none_of(component, IsForbidden);
}

std::wstring_view WithoutDrive(std::wstring_view name) noexcept {
    return name.substr(name.size() >= 2 && name[1] == L':' && IsAsciiLetter(name[0]) ? 2 : 0);
}

}  // namespace

HeapBytes ReadWholeFile(const wchar_t* path, std::uint32_t* outSize) {
    return ReadWholeFile(path, outSize, {std::numeric_limits<std::uint64_t>::max(), ""});
}

bool FolderOfPath(const wchar_t* path, wchar_t* out) noexcept {
    const std::wstring_view full = path ? path : L"";
    if (!out || full.empty()) {
        return false;
    }
    const std::size_t drive = full.size() >= 2 && full[1] == L':' ? 2 : 0;
    const std::size_t separator = full.find_last_of(L"\\/");
    const std::size_t length = separator == full.npos ? drive : std::max(drive, separator + 1);
    if (length >= kPathUnits) {
        return false;
    }
    CopyCut(out, kPathUnits, full.substr(0, length));
    return true;
}

bool IsOpenableLocalName(std::wstring_view name) noexcept {
    if (name.size() >= 2 && IsSeparator(name[0]) && IsSeparator(name[1])) {
        return false;
    }
    std::wstring_view rest = WithoutDrive(name);
    if (rest.empty()) {
        return false;
    }
    while (!rest.empty()) {
        const auto end = static_cast<std::size_t>(std::ranges::find_if(rest, IsSeparator) - rest.begin());
        if (!IsOpenableComponent(rest.substr(0, end))) {
            return false;
        }
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return true;
}

bool IsPlainFileName(std::wstring_view name) noexcept {
    return !name.empty() && name != L"." && name != L".." && std::ranges::none_of(name, IsSeparator) &&
           IsOpenableComponent(name);
}

}  // namespace pixelforge
