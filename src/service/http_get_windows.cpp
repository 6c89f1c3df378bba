// Fetches URLs through WinINet.
#include "service/http_get.h"

#include <windows.h>

#include <objbase.h>
#include <wininet.h>

#include <memory>
#include <string_view>
#include <utility>

#include "base/text.h"
#include "service/download_buffer.h"

namespace pixelforge {
namespace {

constexpr wchar_t kUserAgent[] =
    L"Mozilla/5.0 (Windows NT 10.0; Win64; x64) AppleWebKit/537.36 (KHTML, like Gecko) "
    L"Chrome/125.0.0.0 Safari/537.36";

/// INTERNET_OPTION_HTTP_DECODING, which the headers lack: WinINet then decodes compressed responses.
constexpr DWORD kHttpDecodingOption = 65;

constexpr std::size_t kHeaderUnits = 16384;
constexpr DWORD kSchemeUnits = 32;
constexpr DWORD kPlainFlags = INTERNET_FLAG_RELOAD | INTERNET_FLAG_NO_CACHE_WRITE;

using HeaderText = std::unique_ptr<wchar_t[], HeapBlockDeleter>;

/// The first call decides for the process. An apartment of another kind, set up by the host, serves as well.
bool HasApartment() noexcept {
    static const HRESULT status = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    return SUCCEEDED(status) || status == RPC_E_CHANGED_MODE;
}

/// The parent of all requests, with the system's proxy settings.
UniqueInternetHandle OpenInternet() noexcept {
    return UniqueInternetHandle(InternetOpenW(kUserAgent, INTERNET_OPEN_TYPE_PRECONFIG, nullptr, nullptr, 0));
}

DWORD RequestFlags(const wchar_t* url) noexcept {
    wchar_t scheme[kSchemeUnits] = {};
    URL_COMPONENTSW parts = {};
    parts.dwStructSize = sizeof(parts);
    parts.lpszScheme = scheme;
    parts.dwSchemeLength = kSchemeUnits;
    if (!url || !InternetCrackUrlW(url, 0, 0, &parts)) {
        return kPlainFlags;
    }
    const std::wstring_view name = scheme;
    return name == L"https" || name == L"ftps" ? kPlainFlags | INTERNET_FLAG_SECURE : kPlainFlags;
}

/// Null without extra headers. False if out of memory.
bool MakeHeaders(HeaderText& headers) {
    if (*extraHeaderText == L'\0') {
        return true;
    }
    headers.reset(static_cast<wchar_t*>(AllocateHeapBlock(kHeaderUnits * sizeof(wchar_t))));
    if (!headers) {
        return false;
    }
    FormatBounded(headers.get(), kHeaderUnits, L"%s\r\nReferer: %s\r\n\r\n", extraHeaderText, L"");
    return true;
}

UniqueInternetHandle OpenRequest(HINTERNET internet, const wchar_t* url) {
    HeaderText headers;
    if (!MakeHeaders(headers)) {
        return {};
    }
    const std::size_t length = headers ? std::wstring_view(headers.get()).size() : 0;
    return UniqueInternetHandle(
        InternetOpenUrlW(internet, url, headers.get(), static_cast<DWORD>(length), RequestFlags(url), 0));
}

/// A header's numeric value, or 0.
std::uint32_t QueryNumber(HINTERNET request, DWORD header) noexcept {
    DWORD number = 0;
    DWORD size = sizeof(number);
    return HttpQueryInfoW(request, header | HTTP_QUERY_FLAG_NUMBER, &number, &size, nullptr) ? number : 0;
}

bool HasHeader(HINTERNET request, DWORD header) noexcept {
    wchar_t value[2];
    DWORD size = sizeof(value);
    return HttpQueryInfoW(request, header, value, &size, nullptr) ||
           GetLastError() == ERROR_INSUFFICIENT_BUFFER;
}

/// The length of a complete body, or 0 if unknown: a compressed body announces its compressed length.
std::uint32_t ExpectedBytes(HINTERNET request, std::uint32_t announced) noexcept {
    return HasHeader(request, HTTP_QUERY_CONTENT_ENCODING) ? 0 : announced;
}

/// WinINet reports no error for a truncated body, hence the length check.
bool ReadBody(HINTERNET request, DownloadBuffer& body, std::uint32_t expected, HttpProgress progress) {
    for (;;) {
        const std::span<std::uint8_t> room = body.Room();
        DWORD got = 0;
        if (!InternetReadFile(request, room.data(), static_cast<DWORD>(room.size()), &got)) {
            return false;
        }
        if (got == 0) {
            return body.Count() >= expected;
        }
        if (!body.Add(got) || (progress && progress(body.Count()) == 0)) {
            return false;
        }
    }
}

HttpReply ReadReply(HINTERNET request, HttpProgress progress) {
    HttpReply reply;
    reply.status = QueryNumber(request, HTTP_QUERY_STATUS_CODE);
    const std::uint32_t announced = QueryNumber(request, HTTP_QUERY_CONTENT_LENGTH);
    DownloadBuffer body;
    if (!body.Start(announced)) {
        return reply;
    }
    if (progress) {
        progress(0);
    }
    SetLastError(ERROR_SUCCESS);
    if (!ReadBody(request, body, ExpectedBytes(request, announced), progress)) {
        reply.systemError = GetLastError();
        return reply;
    }
    reply.length = body.Count();
    reply.body = body.Take();
    return reply;
}

HttpReply Get(HINTERNET internet, const wchar_t* url, HttpProgress progress) {
    const UniqueInternetHandle request = OpenRequest(internet, url);
    if (!request) {
        HttpReply reply;
        reply.systemError = GetLastError();
        return reply;
    }
    return ReadReply(request.Get(), progress);
}

}  // namespace

void InternetHandleTraits::Close(void* handle) noexcept {
    InternetCloseHandle(handle);
}

HeapRecord<InternetSession> OpenInternetSession() {
    HeapRecord<InternetSession> session = HasApartment() ? NewHeapRecord<InternetSession>() : nullptr;
    if (!session) {
        return nullptr;
    }
    session->handle = OpenInternet();
    DWORD decode = 1;
    if (!session->handle ||
        !InternetSetOptionW(session->handle.Get(), kHttpDecodingOption, &decode, sizeof(decode))) {
        return nullptr;
    }
    return session;
}

const wchar_t* extraHeaderText = L"";

HttpReply HttpGetReply(InternetSession* session, const wchar_t* url, HttpProgress progress) {
    if (session) {
        return Get(session->handle.Get(), url, progress);
    }
    const UniqueInternetHandle internet = OpenInternet();
    return internet ? Get(internet.Get(), url, progress) : HttpReply{};
}

HeapBytes HttpGet(InternetSession* session, const wchar_t* url, std::uint32_t* outLength,
                  HttpProgress progress) {
    HttpReply reply = HttpGetReply(session, url, progress);
    *outLength = reply.length;
    return std::move(reply.body);
}

}  // namespace pixelforge
