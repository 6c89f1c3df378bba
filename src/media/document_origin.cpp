// Applies the rule to a document's inputs.
#include "media/document_origin.h"

#include <string>

#include "base/file.h"

namespace pixelforge {
namespace {

std::wstring PlainNameOf(std::wstring_view src) {
    const std::wstring name(src.substr(src.find_last_of(L"\\/") + 1));
    return IsPlainFileName(name) ? name : std::wstring();
}

std::wstring LocalNameOf(std::wstring_view src) {
    return IsOpenableLocalName(src) ? std::wstring(src) : std::wstring();
}

}  // namespace

void RestrictSources(ShaderDocument& document) {
    for (RenderPass& pass : document.passes) {
        for (PassInput& input : pass.inputs) {
            const bool local = document.origin == DocumentOrigin::LocalFile;
            CopyCut(input.src, local ? LocalNameOf(input.src) : PlainNameOf(input.src));
        }
    }
}

}  // namespace pixelforge
