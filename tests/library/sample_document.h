// A complete document of one pass, and the means to change single places of it.
#pragma once

#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

#include "library/document_reader.h"

namespace pixelforge::test {

inline constexpr std::string_view kSampleDocument =
    R"({"Shader":{"ver":"0.1","info":{"id":"MdX3Rr","date":"1364860800","viewed":12,"name":"Title",)"
    R"("username":"someone","description":"Words","likes":3,"published":1,"flags":8,"usePreview":2,)"
    R"("tags":["a","b","c"],"hasliked":4},"renderpass":[{"inputs":[{"id":258,"src":"/media/x.png",)"
    R"("ctype":"buffer","channel":1,"sampler":{"filter":"mipmap","wrap":"repeat","vflip":"true",)"
    R"("srgb":"false","internal":"byte"},"published":1}],"outputs":[],"code":"void f(){}",)"
    R"("name":"Buffer A","description":"","type":"buffer"}]}})";

/// The text with the first occurrence of `from`, which must exist, replaced.
inline std::string Replaced(std::string_view text, std::string_view from, std::string_view to) {
    std::string result(text);
    const std::size_t at = result.find(from);
    if (at == result.npos) {
        throw std::invalid_argument("no such place: " + std::string(from));
    }
    return result.replace(at, from.size(), to);
}

struct ReadResult {
    std::unique_ptr<ShaderDocument> document = std::make_unique<ShaderDocument>();
    ReadOutcome outcome;

    const RenderPass& Pass(PassKind kind) const { return document->passes[static_cast<std::uint32_t>(kind)]; }
};

inline ReadResult Read(const std::string& text) {
    ReadResult result;
    result.outcome = ReadShaderDocument(text.c_str(), *result.document);
    return result;
}

inline ReadResult ReadWith(std::string_view from, std::string_view to) {
    return Read(Replaced(kSampleDocument, from, to));
}

}  // namespace pixelforge::test
