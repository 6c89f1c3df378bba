// JSON output of test documents.
#include "tests/support/document_builder.h"

#include <cstdio>

namespace pixelforge::test {
namespace {

std::string Quoted(std::string_view text) {
    std::string quoted = "\"";
    for (const char c : text) {
        char escape[8] = {c};
        if (c == '"' || c == '\\' || static_cast<unsigned char>(c) < 0x20) {
            std::snprintf(escape, sizeof(escape), "\\u%04x", static_cast<unsigned>(c));
        }
        quoted += escape;
    }
    return quoted + "\"";
}

std::string InputJson(const Input& input) {
    return R"({"id":)" + std::to_string(input.id) + R"(,"src":)" + Quoted(input.src) + R"(,"ctype":)" +
           Quoted(input.ctype) + R"(,"channel":)" + std::to_string(input.channel) +
           R"(,"sampler":{"filter":)" + Quoted(input.filter) + R"(,"wrap":)" + Quoted(input.wrap) +
           R"(,"vflip":)" + Quoted(input.vflip) + R"(,"srgb":"false","internal":"byte"},"published":1})";
}

}  // namespace

std::string MainImage(std::string_view body) {
    return "void mainImage(out vec4 c, in vec2 p)\n{\n" + std::string(body) + "\n}\n";
}

DocumentBuilder& DocumentBuilder::Pass(std::string_view type, std::string_view name, std::string_view code,
                                       const std::vector<Input>& inputs) {
    passes_ += passes_.empty() ? R"({"inputs":[)" : R"(,{"inputs":[)";
    for (const Input& input : inputs) {
        passes_ += (&input == inputs.data() ? "" : ",") + InputJson(input);
    }
    passes_ += R"(],"outputs":[{"id":37,"channel":0}],"code":)" + Quoted(code) + R"(,"name":)" +
               Quoted(name) + R"(,"description":"","type":)" + Quoted(type) + "}";
    return *this;
}

std::string DocumentBuilder::Json() const {
    return R"({"Shader":{"ver":"0.1","info":{"id":"tEsT01","date":"1700000000","viewed":1,"name":"Test",)"
           R"("username":"tester","description":"A test","likes":0,"published":3,"flags":0,"usePreview":0,)"
           R"("tags":["test"],"hasliked":0},"renderpass":[)" +
           passes_ + "]}}";
}

}  // namespace pixelforge::test
