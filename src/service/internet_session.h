// The module's WinINet session.
#pragma once

#include "base/heap.h"

namespace pixelforge {

/// Owns one WinINet handle (an HINTERNET); closed with the record.
struct InternetSession {
    void* handle = nullptr;
    // The native build has nothing to close. NOLINTNEXTLINE(performance-trivially-destructible)
    ~InternetSession();
};

/// Opens a session with the module's user agent and transparent decoding of compressed replies. The
/// first call brings up a single-threaded COM apartment on the calling thread; if that fails, this and
/// every later call returns null.
HeapRecord<InternetSession> OpenInternetSession();

}  // namespace pixelforge
