// Steps from a name to a complete shader document.
#include "library/load_shader.h"

#include "base/file.h"
#include "library/document_media.h"
#include "library/document_origin.h"
#include "library/document_reader.h"
#include "library/service_client.h"
#include "library/service_urls.h"
#include "library/usable_json.h"

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
    const ReadOutcome outcome = ReadShaderDocument(reinterpret_cast<const char*>(text.get()), document);
    reason = outcome.error;
    RestrictSources(document);
    return outcome.complete;
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
