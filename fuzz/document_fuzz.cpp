// The check for usable JSON text and the document reader.
#include <cwchar>
#include <string>

#include "base/load_error.h"
#include "base/text.h"
#include "document/document_reader.h"
#include "document/usable_json.h"
#include "fuzz/fuzz_input.h"
#include "media/document_media.h"

namespace pixelforge::fuzz {
namespace {

template <std::size_t... N>
void RequireTerminated(const wchar_t (&... fields)[N]) {
    Require((std::wmemchr(fields, L'\0', N) && ...), "fields are terminated");
}

/// A second check must find nothing more to cut.
void CheckUsable(const HeapText& text) {
    const std::string before = text.get();
    if (!IsUsableJsonText(text.get())) {
        Require(before == text.get(), "a rejected text stays unchanged");
        return;
    }
    const std::string_view kept = text.get();
    Require(before.starts_with(kept), "only the end is cut");
    Require(kept.ends_with('}') || kept.ends_with(']'), "a usable text ends with its last value");
    Require(IsUsableJsonText(text.get()), "a usable text stays usable");
}

void CheckRead(const HeapText& text, DocumentOrigin origin) {
    const HeapRecord<ShaderDocument> document = NewHeapRecord<ShaderDocument>();
    document->origin = origin;
    const std::string error = FailureOf([&] { ReadShaderDocument(text.get(), *document); });
    Require(IsValidUtf8(error) && error.find('\n') == std::string::npos, "an error is one line of UTF-8");
    const ShaderInfo& info = document->info;
    RequireTerminated(info.id, info.name, info.username, info.description, info.date, info.tags);
    RestrictSources(*document);
    for (const RenderPass& pass : document->passes) {
        for (const PassInput& input : pass.inputs) {
            RequireTerminated(input.src);
            Require(input.ctype <= ChannelType::Audio && input.channel < kChannels && input.sourcePass >= 0 &&
                        input.sourcePass < static_cast<int>(kPassSlots),
                    "numbers are in range");
            Require(origin == DocumentOrigin::LocalFile || !std::wcspbrk(input.src, L"\\/:"),
                    "sources of a service document are plain names");
        }
    }
}

}  // namespace

// The reader also gets texts that the check would have rejected.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const HeapText text = ExactText({reinterpret_cast<const char*>(data), size});
    CheckUsable(text);
    CheckRead(text, DocumentOrigin::Service);
    CheckRead(text, DocumentOrigin::LocalFile);
    return 0;
}

}  // namespace pixelforge::fuzz
