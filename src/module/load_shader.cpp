// Steps from a name to a complete shader document.
#include "module/load_shader.h"

#include "base/file.h"
#include "base/load_error.h"
#include "document/document_reader.h"
#include "document/usable_json.h"
#include "media/document_media.h"
#include "service/service_client.h"
#include "service/service_urls.h"

namespace pixelforge {
namespace {

HeapBytes ReadLocalFile(const wchar_t* path, std::string& reason) {
    std::uint32_t size = 0;
    HeapBytes text = ReadWholeFile(path, &size);
    if (!text) {
        reason = "cannot be read";
    }
    return text;
}

HeapBytes FetchDocument(InternetSession* session, const wchar_t* id, std::string& reason) {
    wchar_t url[kPathUnits];
    std::uint32_t size = 0;
    FormatShaderUrl(id, url);
    return FetchWithCache(session, url, &size, reason);
}

bool IsUsable(const HeapBytes& text, std::string& reason) {
    const JsonTextFault fault = CheckJsonText(reinterpret_cast<char*>(text.get()));
    if (fault != JsonTextFault::None) {
        reason = DescribeFault(fault);
    }
    return fault == JsonTextFault::None;
}

bool ReadDocument(const HeapBytes& text, ShaderDocument& document, std::string& reason) {
    reason = FailureOf([&] { ReadShaderDocument(reinterpret_cast<const char*>(text.get()), document); });
    RestrictSources(document);
    return reason.empty();
}

}  // namespace

bool LoadShaderById(InternetSession* session, const wchar_t* idOrPath, ShaderDocument* document,
                    std::string& reason) {
    if (!session || !idOrPath || !document) {
        reason = "no session, name or document to load with";
        return false;
    }
    const bool local = IsExistingFile(idOrPath);
    document->origin = local ? DocumentOrigin::LocalFile : DocumentOrigin::Service;
    const HeapBytes text = local ? ReadLocalFile(idOrPath, reason) : FetchDocument(session, idOrPath, reason);
    return text && IsUsable(text, reason) && ReadDocument(text, *document, reason) &&
           LoadDocumentMedia(session, *document);
}

}  // namespace pixelforge
