// Turns an identifier or path into a shader document with its media.
#include "module/shader_loader.h"

#include "base/file.h"
#include "base/load_error.h"
#include "document/document_reader.h"
#include "document/usable_json.h"
#include "media/document_media.h"
#include "service/service_client.h"
#include "service/service_urls.h"

namespace pixelforge {
namespace {

HeapBytes ReadLocalFile(const wchar_t* path) {
    std::uint32_t size = 0;
    HeapBytes text = ReadWholeFile(path, &size, kDocumentLimit);
    if (!text) {
        throw LoadError("cannot be read");
    }
    return text;
}

HeapBytes FetchDocument(InternetSession* session, const wchar_t* id) {
    wchar_t url[kPathUnits];
    CacheEntry entry;
    if (!FormatShaderUrl(id, url) || !ClassifyUrl(url, entry)) {
        throw LoadError("neither a local file nor a valid identifier");
    }
    std::uint32_t size = 0;
    std::string reason;
    HeapBytes text = FetchWithCache(session, url, &size, reason);
    if (!text) {
        throw LoadError(reason);
    }
    return text;
}

void ReadDocument(const HeapBytes& text, ShaderDocument& document) {
    const JsonTextFault fault = CheckJsonText(reinterpret_cast<char*>(text.get()));
    if (fault != JsonTextFault::None) {
        throw LoadError(DescribeFault(fault));
    }
    // The passes read before an error stay in the document, so they are restricted too.
    const std::string failure =
        FailureOf([&] { ReadShaderDocument(reinterpret_cast<const char*>(text.get()), document); });
    RestrictSources(document);
    if (!failure.empty()) {
        throw LoadError(failure);
    }
}

void LoadDocument(InternetSession* session, const wchar_t* idOrPath, ShaderDocument* document) {
    if (!session || !idOrPath || !document) {
        throw LoadError("missing session, name or document");
    }
    // Judged first: looking for a network path would already contact its host.
    const bool local = IsOpenableLocalName(idOrPath) && IsExistingFile(idOrPath);
    document->origin = local ? DocumentOrigin::LocalFile : DocumentOrigin::Service;
    ReadDocument(local ? ReadLocalFile(idOrPath) : FetchDocument(session, idOrPath), *document);
    LoadDocumentMedia(session, *document);
}

}  // namespace

bool LoadShaderById(InternetSession* session, const wchar_t* idOrPath, ShaderDocument* document,
                    std::string& reason) {
    reason = FailureOf([&] { LoadDocument(session, idOrPath, document); });
    return reason.empty();
}

}  // namespace pixelforge
