// Judges file names that come from documents, whatever file system is below.
#include "base/file.h"

#include <algorithm>
#include <array>
#include <string>

namespace pixelforge {
namespace {

/// What file systems take as one component.
constexpr std::size_t kLongestComponent = 255;

bool IsSeparator(wchar_t c) noexcept {
    return c == L'\\' || c == L'/';
}

bool IsForbidden(wchar_t c) noexcept {
    constexpr std::wstring_view kForbidden = L":<>|\"?*";
    return c < L' ' || kForbidden.find(c) != kForbidden.npos;
}

wchar_t Upper(wchar_t c) noexcept {
    return c >= L'a' && c <= L'z' ? static_cast<wchar_t>(c - L'a' + L'A') : c;
}

bool EqualsIgnoringCase(std::wstring_view text, std::wstring_view upper) noexcept {
    return std::ranges::equal(text, upper, {}, Upper);
}

/// COM and LPT take the digits 1 to 9 and their superscript forms, and the system also knows 0.
bool IsNumberedDevice(std::wstring_view stem) noexcept {
    constexpr std::wstring_view kNumbers = L"0123456789\u00B9\u00B2\u00B3";
    return stem.size() == 4 && kNumbers.find(stem[3]) != kNumbers.npos &&
           (EqualsIgnoringCase(stem.substr(0, 3), L"COM") || EqualsIgnoringCase(stem.substr(0, 3), L"LPT"));
}

bool IsReservedDevice(std::wstring_view component) noexcept {
    constexpr std::array<std::wstring_view, 7> kDevices = {L"CON",    L"PRN",     L"AUX",   L"NUL",
                                                           L"CONIN$", L"CONOUT$", L"CLOCK$"};
    std::wstring_view stem = component.substr(0, component.find(L'.'));
    stem.remove_prefix(std::min(stem.find_first_not_of(L' '), stem.size()));
    stem = stem.substr(0, stem.find_last_not_of(L' ') + 1);
    const auto isStem = [stem](std::wstring_view device) { return EqualsIgnoringCase(stem, device); };
    return std::ranges::any_of(kDevices, isStem) || IsNumberedDevice(stem);
}

bool IsOpenableComponent(std::wstring_view component) noexcept {
    if (component.empty() || component == L"." || component == L"..") {
        return true;
    }
    const bool cutBySystem = component.back() == L'.' || component.back() == L' ';
    return component.size() <= kLongestComponent && !cutBySystem && !IsReservedDevice(component) &&
           std::ranges::none_of(component, IsForbidden);
}

std::wstring_view WithoutDrive(std::wstring_view name) noexcept {
    const bool drive =
        name.size() >= 2 && name[1] == L':' && Upper(name[0]) >= L'A' && Upper(name[0]) <= L'Z';
    return name.substr(drive ? 2 : 0);
}

}  // namespace

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
