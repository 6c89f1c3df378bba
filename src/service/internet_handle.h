// Owner of WinINet handles (Windows only).
#pragma once

#include <windows.h>

#include <wininet.h>

#include "base/win_handles.h"

namespace pixelforge {

struct InternetHandleTraits {
    using Handle = HINTERNET;
    static void Close(HINTERNET handle) noexcept { InternetCloseHandle(handle); }
};

using UniqueInternetHandle = UniqueHandle<InternetHandleTraits>;

/// The root of all requests, with the module's user agent and the system's proxy settings.
UniqueInternetHandle OpenInternet() noexcept;

}  // namespace pixelforge
