// Addresses and bodies of the test service.
#pragma once

#include <string>

#include "library/service_host.h"

namespace pixelforge::test {

/// "https://", the host below `subdomain` (which ends in a dot, or is empty), and the path.
inline std::wstring Url(const std::wstring& path, const std::wstring& subdomain = L"") {
    return L"https://" + subdomain + kServiceHost + path;
}

inline std::wstring ShaderUrl(const std::wstring& id) {
    return Url(L"/api/v1/shaders/" + id + L"?key=fz3kq9");
}

inline std::wstring MediaUrl(const std::wstring& name) {
    return Url(L"/media/a/" + name);
}

/// What the service sends as "SIZE.bin".
inline std::string Pattern(std::size_t size) {
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<char>(i * 31 % 251);
    }
    return bytes;
}

}  // namespace pixelforge::test
