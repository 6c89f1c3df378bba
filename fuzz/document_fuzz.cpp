// The usable-JSON check and the document reader.
#include <algorithm>
#include <cstring>
#include <iterator>
#include <memory>
#include <string>

#include "base/text.h"
#include "fuzz/fuzz_input.h"
#include "library/document_origin.h"
#include "library/document_reader.h"

namespace pixelforge::fuzz {
namespace {

template <std::size_t N>
void RequireTerminated(const wchar_t (&field)[N]) {
    Require(std::find(std::begin(field), std::end(field), L'\0') != std::end(field), "fields are terminated");
}

/// What was cut off must not matter to a second look.
void CheckUsable(const HeapText& text) {
    const std::string before = text.get();
    if (!IsUsableJsonText(text.get())) {
        Require(before == text.get(), "a text that is refused stays as it is");
        return;
    }
    const std::string_view kept = text.get();
    Require(before.starts_with(kept), "only the end is cut off");
    Require(kept.ends_with('}') || kept.ends_with(']'), "a usable text ends where its last value closes");
    Require(IsUsableJsonText(text.get()), "a usable text stays usable");
}

void CheckInput(const PassInput& input) {
    RequireTerminated(input.src);
    Require(input.ctype <= ChannelType::Audio, "channel types are known");
    Require(input.channel < kChannels, "channel numbers are in range");
    Require(input.sourcePass >= -1 && input.sourcePass < static_cast<int>(kPassSlots),
            "source passes are slots");
}

void CheckDocument(ShaderDocument& document) {
    const ShaderInfo& info = document.info;
    RequireTerminated(info.id);
    RequireTerminated(info.name);
    RequireTerminated(info.username);
    RequireTerminated(info.description);
    RequireTerminated(info.date);
    RequireTerminated(info.tags);
    RestrictSources(document);
    for (const RenderPass& pass : document.passes) {
        for (const PassInput& input : pass.inputs) {
            CheckInput(input);
            Require(document.origin == DocumentOrigin::LocalFile || !std::wcspbrk(input.src, L"\\/:"),
                    "a stranger's sources are plain names");
        }
    }
}

void CheckRead(const HeapText& text) {
    for (const DocumentOrigin origin : {DocumentOrigin::Service, DocumentOrigin::LocalFile}) {
        const auto document = std::make_unique<ShaderDocument>();
        document->origin = origin;
        const ReadOutcome outcome = ReadShaderDocument(text.get(), *document);
        Require(outcome.complete == outcome.error.empty(), "there is an error or a document");
        Require(IsValidUtf8(outcome.error) && outcome.error.find('\n') == std::string::npos,
                "an error is one line of UTF-8");
        CheckDocument(*document);
    }
}

}  // namespace
}  // namespace pixelforge::fuzz

// The reader also meets texts that the check would have refused.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace pixelforge::fuzz;
    const pixelforge::HeapText text = ExactText({reinterpret_cast<const char*>(data), size});
    CheckUsable(text);
    CheckRead(text);
    return 0;
}
