// Opens and closes the module's WinINet session.
#include <windows.h>

#include <objbase.h>
#include <wininet.h>

#include "service/internet_handle.h"
#include "service/internet_session.h"

namespace pixelforge {
namespace {

constexpr wchar_t kUserAgent[] =
    L"Mozilla/5.0 (Windows NT 10.0; Win64; x64) AppleWebKit/537.36 (KHTML, like Gecko) "
    L"Chrome/125.0.0.0 Safari/537.36";

/// INTERNET_OPTION_HTTP_DECODING; WinINet then unpacks compressed replies.
constexpr DWORD kHttpDecodingOption = 65;

/// The first call decides for the process. An apartment of the other kind, which the host may have set
/// up before, serves as well.
bool HasApartment() noexcept {
    static const HRESULT status = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    return SUCCEEDED(status) || status == RPC_E_CHANGED_MODE;
}

}  // namespace

UniqueInternetHandle OpenInternet() noexcept {
    return UniqueInternetHandle(InternetOpenW(kUserAgent, INTERNET_OPEN_TYPE_PRECONFIG, nullptr, nullptr, 0));
}

InternetSession::~InternetSession() {
    if (handle) {
        InternetCloseHandle(handle);
    }
}

HeapRecord<InternetSession> OpenInternetSession() {
    if (!HasApartment()) {
        return nullptr;
    }
    HeapRecord<InternetSession> session = NewHeapRecord<InternetSession>();
    if (!session) {
        return nullptr;
    }
    session->handle = OpenInternet().Release();
    DWORD decode = 1;
    if (!session->handle ||
        !InternetSetOptionW(session->handle, kHttpDecodingOption, &decode, sizeof(decode))) {
        return nullptr;
    }
    return session;
}

}  // namespace pixelforge
