// Fetches URLs through WinINet.
#include "service/http_get.h"

#include <windows.h>

#include <objbase.h>
#include <wininet.h>

#include <algorithm>
#include <charconv>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "base/load_error.h"
#include "base/text.h"

namespace pixelforge {
namespace {

constexpr wchar_t kUserAgent[] =
    L"Mozilla/5.0 (Windows NT 10.0; Win64; x64) AppleWebKit/537.36 (KHTML, like Gecko) "
    L"Chrome/125.0.0.0 Safari/537.36";

/// INTERNET_OPTION_HTTP_DECODING, which the headers lack: WinINet then decodes compressed responses.
constexpr DWORD kHttpDecodingOption = 65;

/// ERROR_INTERNET_DECODING_FAILED, which the headers lack.
constexpr DWORD kDecodingFailed = 12175;

constexpr std::size_t kHeaderUnits = 16384;
constexpr DWORD kSchemeUnits = 32;
constexpr DWORD kPlainFlags = INTERNET_FLAG_RELOAD | INTERNET_FLAG_NO_CACHE_WRITE | INTERNET_FLAG_NO_COOKIES |
                              INTERNET_FLAG_NO_AUTO_REDIRECT;
constexpr int kMaximumRedirects = 10;

/// The only success whose body is not the whole file.
constexpr std::uint32_t kStatusPartialContent = 206;

constexpr ULONGLONG kSlowStartMilliseconds = 60'000;
constexpr std::uint64_t kSlowestBytesPerSecond = 1024;

using HeaderText = std::unique_ptr<wchar_t[], HeapBlockDeleter>;

/// The compiler's guard of a function-local static would leave a thread record after the module's unload.
constinit INIT_ONCE apartmentOnce = INIT_ONCE_STATIC_INIT;
constinit HRESULT apartmentStatus = E_UNEXPECTED;

BOOL CALLBACK EnterApartment(INIT_ONCE*, void*, void**) noexcept {
    apartmentStatus = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    return TRUE;
}

/// The first call decides for the process. An apartment of another kind, set up by the host, serves as well.
bool HasApartment() noexcept {
    InitOnceExecuteOnce(&apartmentOnce, EnterApartment, nullptr, nullptr);
    return SUCCEEDED(apartmentStatus) || apartmentStatus == RPC_E_CHANGED_MODE;
}

[[noreturn]] void ThrowLastError(const char* problem) {
    const DWORD error = GetLastError();
    throw LoadError(
        std::string(error == kDecodingFailed ? "the service's response cannot be decompressed" : problem) +
        " (error " + std::to_string(error) + ")");
}

/// The parent of all requests, with the system's proxy settings.
UniqueInternetHandle OpenInternet() noexcept {
    return UniqueInternetHandle(InternetOpenW(kUserAgent, INTERNET_OPEN_TYPE_PRECONFIG, nullptr, nullptr, 0));
}

/// Empty for a null or malformed URL.
std::wstring SchemeOf(const wchar_t* url) {
    wchar_t scheme[kSchemeUnits] = {};
    URL_COMPONENTSW parts = {};
    parts.dwStructSize = sizeof(parts);
    parts.lpszScheme = scheme;
    parts.dwSchemeLength = kSchemeUnits;
    return url && InternetCrackUrlW(url, 0, 0, &parts) ? scheme : L"";
}

DWORD RequestFlags(const wchar_t* url) {
    const std::wstring scheme = SchemeOf(url);
    return scheme == L"https" || scheme == L"ftps" ? kPlainFlags | INTERNET_FLAG_SECURE : kPlainFlags;
}

/// Null without extra headers.
HeaderText MakeHeaders() {
    if (*extraHeaderText == L'\0') {
        return nullptr;
    }
    HeaderText headers(static_cast<wchar_t*>(AllocateHeapBlock(kHeaderUnits * sizeof(wchar_t))));
    if (!headers) {
        throw std::bad_alloc();
    }
    FormatBounded(headers.get(), kHeaderUnits, L"%s\r\nReferer: %s\r\n\r\n", extraHeaderText, L"");
    return headers;
}

UniqueInternetHandle OpenRequest(HINTERNET internet, const wchar_t* url, DWORD flags) {
    const HeaderText headers = MakeHeaders();
    const std::size_t length = headers ? std::wstring_view(headers.get()).size() : 0;
    UniqueInternetHandle request(
        InternetOpenUrlW(internet, url, headers.get(), static_cast<DWORD>(length), flags, 0));
    if (!request) {
        ThrowLastError("the service cannot be reached");
    }
    return request;
}

std::optional<std::wstring> QueryHeader(HINTERNET request, DWORD header) {
    DWORD bytes = 0;
    if (HttpQueryInfoW(request, header, nullptr, &bytes, nullptr) ||
        GetLastError() != ERROR_INSUFFICIENT_BUFFER) {
        return std::nullopt;
    }
    std::wstring value(bytes / sizeof(wchar_t) + 1, L'\0');
    return HttpQueryInfoW(request, header, value.data(), &bytes, nullptr) ? std::optional(value.c_str())
                                                                          : std::nullopt;
}

/// 0 without a response.
std::uint32_t QueryStatus(HINTERNET request) noexcept {
    DWORD status = 0;
    DWORD size = sizeof(status);
    HttpQueryInfoW(request, HTTP_QUERY_STATUS_CODE | HTTP_QUERY_FLAG_NUMBER, &status, &size, nullptr);
    return status;
}

/// 0 without the header. WinINet's own conversion wraps larger numbers and ignores words.
std::uint32_t AnnouncedBytes(HINTERNET request) {
    const std::string text = ToUtf8(QueryHeader(request, HTTP_QUERY_CONTENT_LENGTH).value_or(L"0"));
    const char* const end = text.data() + text.size();
    std::uint32_t bytes = 0;
    const auto [stop, error] = std::from_chars(text.data(), end, bytes);
    if (error != std::errc() || stop != end) {
        throw LoadError("the length of the service's response is not a 32-bit number");
    }
    return bytes;
}

/// If so, the announced length is that of the compressed body.
bool IsCompressed(HINTERNET request) {
    const std::wstring encoding = QueryHeader(request, HTTP_QUERY_CONTENT_ENCODING).value_or(L"");
    return EqualIgnoringAsciiCase(encoding, L"gzip") || EqualIgnoringAsciiCase(encoding, L"deflate");
}

/// Reads what has arrived: a read of more would block until all of it is there. 0 at the end.
DWORD ReadAvailable(HINTERNET request, std::span<std::uint8_t> room) {
    DWORD available = 0;
    if (!InternetQueryDataAvailable(request, &available, 0, 0)) {
        ThrowLastError("the service's response broke off");
    }
    const DWORD wanted = std::clamp(available, DWORD{1}, static_cast<DWORD>(room.size()));
    DWORD got = 0;
    if (!InternetReadFile(request, room.data(), wanted, &got)) {
        ThrowLastError("the service's response broke off");
    }
    return got;
}

/// WinINet's time-out begins again with each byte.
void RequireSpeed(ULONGLONG started, std::uint64_t bytes) {
    const ULONGLONG elapsed = GetTickCount64() - started;
    if (elapsed > kSlowStartMilliseconds && bytes < elapsed / 1000 * kSlowestBytesPerSecond) {
        throw LoadError("the service sends too slowly");
    }
}

/// WinINet reports no error for a truncated body, hence the check against the `expected` bytes.
void ReadBody(HINTERNET request, DownloadBuffer& body, std::uint32_t expected, HttpProgress progress) {
    const ULONGLONG started = GetTickCount64();
    while (const DWORD got = ReadAvailable(request, body.Room())) {
        body.Add(got);
        RequireSpeed(started, body.Count());
        if (progress && progress(body.Count()) == 0) {
            throw LoadError("the transfer was cancelled");
        }
    }
    if (body.Count() < expected) {
        throw LoadError("the service's response was cut short");
    }
}

void ReadWholeBody(HINTERNET request, HttpProgress progress, const SizeLimit& limit, DownloadBuffer& body) {
    const std::uint32_t announced = AnnouncedBytes(request);
    body.Start(announced, limit);
    if (progress) {
        progress(0);
    }
    ReadBody(request, body, IsCompressed(request) ? 0 : announced, progress);
}

/// Of a bad status and a bad body, the status is the cause.
HttpReply ReadReply(HINTERNET request, HttpProgress progress, const SizeLimit& limit) {
    HttpReply reply;
    reply.status = QueryStatus(request);
    DownloadBuffer body;
    const std::string failure = FailureOf([&] { ReadWholeBody(request, progress, limit, body); });
    if (!failure.empty()) {
        const std::string badStatus = FaultOfStatus(reply.status);
        throw LoadError(badStatus.empty() ? failure : badStatus);
    }
    reply.length = body.Count();
    reply.body = body.Take();
    return reply;
}

/// Where a response redirects to; std::nullopt if it does not redirect.
std::optional<std::wstring> RedirectTarget(HINTERNET request, const wchar_t* url) {
    const std::uint32_t status = QueryStatus(request);
    const auto location = QueryHeader(request, HTTP_QUERY_LOCATION);
    const bool redirects = status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
    if (!redirects || !location) {
        return std::nullopt;
    }
    wchar_t target[INTERNET_MAX_URL_LENGTH] = {};
    DWORD units = INTERNET_MAX_URL_LENGTH;
    if (!InternetCombineUrlW(url, location->c_str(), target, &units, 0)) {
        ThrowLastError("the service redirected to an invalid address");
    }
    return target;
}

/// Follows redirects itself: WinINet does so without a limit, and from https to http.
HttpReply Get(HINTERNET internet, const wchar_t* url, HttpProgress progress, const SizeLimit& limit) {
    std::wstring target;
    for (int redirects = 0; redirects <= kMaximumRedirects; ++redirects) {
        // A redirect may name any host, which must not learn who is logged in to this machine.
        const DWORD login = redirects == 0 ? 0 : INTERNET_FLAG_NO_AUTH;
        const UniqueInternetHandle request = OpenRequest(internet, url, RequestFlags(url) | login);
        const auto next = RedirectTarget(request.Get(), url);
        if (!next) {
            return ReadReply(request.Get(), progress, limit);
        }
        target = *next;
        url = target.c_str();
        if (SchemeOf(url) != L"https") {
            throw LoadError("the service redirected to an address without https");
        }
    }
    throw LoadError("the service redirected more than 10 times");
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

std::string FaultOfStatus(std::uint32_t status) {
    if (status == 0) {
        return "the service closed the connection without a response";
    }
    const bool whole = status >= 200 && status <= 299 && status != kStatusPartialContent;
    return whole ? std::string() : "the service returned status " + std::to_string(status);
}

HttpReply HttpGetReply(InternetSession* session, const wchar_t* url, HttpProgress progress,
                       const SizeLimit& limit) {
    if (session) {
        return Get(session->handle.Get(), url, progress, limit);
    }
    const UniqueInternetHandle internet = OpenInternet();
    if (!internet) {
        ThrowLastError("no Internet session");
    }
    return Get(internet.Get(), url, progress, limit);
}

HeapBytes HttpGet(InternetSession* session, const wchar_t* url, std::uint32_t* outLength,
                  HttpProgress progress) {
    HttpReply reply;
    FailureOf([&] { reply = HttpGetReply(session, url, progress); });
    *outLength = reply.length;
    return std::move(reply.body);
}

}  // namespace pixelforge
