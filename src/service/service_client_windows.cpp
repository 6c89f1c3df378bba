// The order of every request: cache, network, cache.
#include "service/service_client.h"

#include <utility>

#include "base/file.h"
#include "document/document_reader.h"
#include "document/usable_json.h"
#include "service/http_get.h"
#include "service/service_urls.h"
#include "service/shader_cache.h"

namespace pixelforge {
namespace {

/// The check cuts its text, and the cache keeps what was received.
JsonTextFault CheckCopy(std::span<const std::uint8_t> body) {
    std::string copy(body.begin(), body.end());
    return CheckJsonText(copy.data());
}

std::span<const std::uint8_t> BytesOf(const HttpReply& reply) {
    return {reply.body.get(), reply.length};
}

std::string FailedTransfer(const HttpReply& reply) {
    return reply.systemError
               ? "the service cannot be reached (error " + std::to_string(reply.systemError) + ")"
               : "the service's answer broke off";
}

/// Empty for a reply that may be kept: the cache never forgets.
std::string FaultOf(const HttpReply& reply, ServiceContent content) {
    if (!reply.body) {
        return FailedTransfer(reply);
    }
    if (reply.status < 200 || reply.status > 299) {
        return "the service answered with status " + std::to_string(reply.status);
    }
    const JsonTextFault fault =
        content == ServiceContent::Shader ? CheckCopy(BytesOf(reply)) : JsonTextFault::None;
    return fault == JsonTextFault::None ? "" : std::string("the service's answer: ") + DescribeFault(fault);
}

HeapBytes FetchAndStore(InternetSession* session, const wchar_t* url, ServiceContent content,
                        const wchar_t* path, std::uint32_t* outLength, std::string& reason) {
    HttpReply reply = HttpGetReply(session, url, nullptr);
    reason = FaultOf(reply, content);
    if (!reason.empty()) {
        return nullptr;
    }
    // There was no such file a moment ago: one that is there now comes whole from another process, which
    // may hold it open so that it cannot be replaced.
    if (!StoreResponse(path, BytesOf(reply)) && !(reply.length && IsExistingFile(path))) {
        reason = "the service's answer cannot be written to the cache";
        return nullptr;
    }
    *outLength = reply.length;
    return std::move(reply.body);
}

std::int32_t AlwaysContinue(std::uint32_t) {
    return 1;
}

/// The name below the cache root, and the address, of what a channel or an identifier names.
struct Download {
    ServiceContent content;
    wchar_t name[kPathUnits];
    wchar_t url[kPathUnits];
};

bool NameMedia(std::wstring_view src, Download& download) {
    const std::wstring name(src.substr(src.rfind(L'/') + 1));
    download.content = ServiceContent::Media;
    return IsPlainFileName(name) && FormatMediaUrl(name.c_str(), download.url) &&
           FormatBounded(download.name, kPathUnits, L"Assets\\%s", name.c_str()) == kFormatComplete;
}

bool NameDocument(const wchar_t* shaderId, Download& download) {
    download.content = ServiceContent::Shader;
    return IsPlainFileName(std::wstring(shaderId) + L".json") && FormatShaderUrl(shaderId, download.url) &&
           FormatBounded(download.name, kPathUnits, L"Shaders\\%s.json", shaderId) == kFormatComplete;
}

}  // namespace

HeapBytes FetchWithCache(InternetSession* session, const wchar_t* url, std::uint32_t* outLength,
                         std::string& reason) {
    CacheEntry entry;
    wchar_t path[kPathUnits];
    *outLength = 0;
    if (!ClassifyUrl(url, entry) || !FormatCachePath(entry.name, path)) {
        reason = "neither an existing file nor a name that the service could know";
        return nullptr;
    }
    if (!IsExistingFile(path)) {
        return FetchAndStore(session, url, entry.content, path, outLength, reason);
    }
    HeapBytes cached = ReadWholeFile(path, outLength);
    if (!cached) {
        reason = "its file in the cache cannot be read";
    }
    return cached;
}

bool DownloadToCacheFile(InternetSession* session, const wchar_t* shaderId, const wchar_t* src,
                         wchar_t* outPath, std::string& reason) {
    if (!session || !shaderId || !outPath || (src && !*src)) {
        reason = "no session, identifier, path or name to download with";
        return false;
    }
    if (src && IsExistingFile(src)) {
        CopyCut(outPath, kPathUnits, src);
        return true;
    }
    Download download;
    wchar_t path[kPathUnits];
    if (!(src ? NameMedia(src, download) : NameDocument(shaderId, download)) ||
        !FormatCachePath(download.name, path)) {
        reason = "neither an existing file nor a name that the service could know";
        return false;
    }
    CopyCut(outPath, kPathUnits, path);
    if (IsExistingFile(path)) {
        return true;
    }
    const HttpReply reply = HttpGetReply(session, download.url, AlwaysContinue);
    reason = FaultOf(reply, download.content);
    if (!reason.empty()) {
        return false;
    }
    StoreResponse(path, BytesOf(reply));
    return true;
}

}  // namespace pixelforge
