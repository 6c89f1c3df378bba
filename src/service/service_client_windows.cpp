// Looks in the cache first, then fetches and stores.
#include "service/service_client.h"

#include <utility>

#include "base/file.h"
#include "base/load_error.h"
#include "document/usable_json.h"
#include "service/http_get.h"
#include "service/service_urls.h"
#include "service/shader_cache.h"

namespace pixelforge {
namespace {

constexpr const char* kInvalidName = "not a valid name for the service";

/// Checks a copy, because the check truncates its text and the cache stores the response unchanged.
void RequireUsableJson(std::span<const std::uint8_t> body) {
    std::string copy(body.begin(), body.end());
    const JsonTextFault fault = CheckJsonText(copy.data());
    if (fault != JsonTextFault::None) {
        throw LoadError(std::string("the service's response: ") + DescribeFault(fault));
    }
}

std::span<const std::uint8_t> BodyOf(const HttpReply& reply) {
    return {reply.body.get(), reply.length};
}

/// Cached files never expire, so bad replies must not be stored.
void RequireCacheableReply(const HttpReply& reply, ServiceContent content) {
    const std::string badStatus = FaultOfStatus(reply.status);
    if (!badStatus.empty()) {
        throw LoadError(badStatus);
    }
    if (reply.length == 0) {
        throw LoadError("the service's response is empty");
    }
    if (content == ServiceContent::Shader) {
        RequireUsableJson(BodyOf(reply));
    }
}

const SizeLimit& LimitOf(ServiceContent content) noexcept {
    return content == ServiceContent::Shader ? kDocumentLimit : kResponseLimit;
}

HttpReply FetchAndStore(InternetSession* session, const wchar_t* url, ServiceContent content,
                        const wchar_t* path) {
    HttpReply reply = HttpGetReply(session, url, nullptr, LimitOf(content));
    RequireCacheableReply(reply, content);
    // The file did not exist a moment ago. If it does now, another process has stored it in full, and may
    // hold it open, which prevents replacing it.
    if (!StoreResponse(path, BodyOf(reply)) && !IsExistingFile(path)) {
        throw LoadError("the service's response cannot be written to the cache");
    }
    return reply;
}

HttpReply ReadOrFetch(InternetSession* session, const wchar_t* url) {
    CacheEntry entry;
    wchar_t path[kPathUnits];
    if (!ClassifyUrl(url, entry) || !FormatCachePath(entry.name, path)) {
        throw LoadError(kInvalidName);
    }
    if (!IsExistingFile(path)) {
        return FetchAndStore(session, url, entry.content, path);
    }
    HttpReply cached;
    cached.body = ReadWholeFile(path, &cached.length, LimitOf(entry.content));
    if (!cached.body) {
        throw LoadError("its cached file cannot be read");
    }
    return cached;
}

std::int32_t AlwaysContinue(std::uint32_t) {
    return 1;
}

/// The URL and the cache file, relative to the cache root, of a media file or a document.
struct Download {
    ServiceContent content;
    wchar_t name[kPathUnits];
    wchar_t url[kPathUnits];
};

bool NameMedia(std::wstring_view src, Download& download) {
    const auto name = MediaNameOf(src);
    download.content = ServiceContent::Media;
    return name && IsPlainFileName(*name) && FormatMediaUrl(name->c_str(), download.url) &&
           FormatBounded(download.name, kPathUnits, L"Assets\\%s", name->c_str()) == kFormatComplete;
}

bool NameDocument(const wchar_t* shaderId, Download& download) {
    download.content = ServiceContent::Shader;
    return IsPlainFileName(std::wstring(shaderId) + L".json") && FormatShaderUrl(shaderId, download.url) &&
           FormatBounded(download.name, kPathUnits, L"Shaders\\%s.json", shaderId) == kFormatComplete;
}

/// `outPath` is set before the request.
void FetchFile(InternetSession* session, const wchar_t* shaderId, const wchar_t* src, wchar_t* outPath) {
    Download download;
    wchar_t path[kPathUnits];
    if (!(src ? NameMedia(src, download) : NameDocument(shaderId, download)) ||
        !FormatCachePath(download.name, path)) {
        throw LoadError(kInvalidName);
    }
    CopyCut(outPath, kPathUnits, path);
    if (!IsExistingFile(path)) {
        const HttpReply reply =
            HttpGetReply(session, download.url, AlwaysContinue, LimitOf(download.content));
        RequireCacheableReply(reply, download.content);
        StoreResponse(path, BodyOf(reply));
    }
}

}  // namespace

HeapBytes FetchWithCache(InternetSession* session, const wchar_t* url, std::uint32_t* outLength,
                         std::string& reason) {
    HttpReply reply;
    reason = FailureOf([&] { reply = ReadOrFetch(session, url); });
    *outLength = reply.length;
    return std::move(reply.body);
}

bool DownloadToCacheFile(InternetSession* session, const wchar_t* shaderId, const wchar_t* src,
                         wchar_t* outPath, std::string& reason) {
    reason = FailureOf([&] {
        if (!session || !shaderId || !outPath || (src && !*src)) {
            throw LoadError("missing session, identifier, path or name");
        }
        if (src && IsExistingFile(src)) {
            CopyCut(outPath, kPathUnits, src);
        } else {
            FetchFile(session, shaderId, src, outPath);
        }
    });
    return reason.empty();
}

}  // namespace pixelforge
