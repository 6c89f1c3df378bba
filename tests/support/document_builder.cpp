// Writing of test documents.
#include "tests/support/document_builder.h"

#include <cstdio>

namespace pixelforge::test {
namespace {

std::string InputJson(const Input& input) {
    return "{\"id\":" + std::to_string(input.id) + ",\"src\":" + Quoted(input.src) +
           ",\"ctype\":" + Quoted(input.ctype) + ",\"channel\":" + std::to_string(input.channel) +
           ",\"sampler\":{\"filter\":" + Quoted(input.filter) + ",\"wrap\":" + Quoted(input.wrap) +
           ",\"vflip\":" + Quoted(input.vflip) +
           ",\"srgb\":\"false\",\"internal\":\"byte\"},\"published\":1}";
}

std::string Joined(const std::vector<std::string>& items) {
    std::string text;
    for (const std::string& item : items)
        text += (text.empty() ? "" : ",") + item;
    return text;
}

}  // namespace

std::string Quoted(std::string_view text) {
    std::string quoted = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') {
            quoted += std::string("\\") + c;
        } else if (static_cast<unsigned char>(c) < 0x20) {
            char escape[8];
            std::snprintf(escape, sizeof(escape), "\\u%04x", static_cast<unsigned>(c));
            quoted += escape;
        } else {
            quoted += c;
        }
    }
    return quoted + "\"";
}

std::string MainImage(std::string_view body) {
    return "void mainImage(out vec4 c, in vec2 p)\n{\n" + std::string(body) + "\n}\n";
}

DocumentBuilder& DocumentBuilder::Pass(std::string_view type, std::string_view name, std::string_view code,
                                       const std::vector<Input>& inputs) {
    std::vector<std::string> written;
    for (const Input& input : inputs)
        written.push_back(InputJson(input));
    passes_.push_back("{\"inputs\":[" + Joined(written) +
                      "],\"outputs\":[{\"id\":37,\"channel\":0}],\"code\":" + Quoted(code) +
                      ",\"name\":" + Quoted(name) + ",\"description\":\"\",\"type\":" + Quoted(type) + "}");
    return *this;
}

std::string DocumentBuilder::Json() const {
    return "{\"Shader\":{\"ver\":\"0.1\",\"info\":{\"id\":\"tEsT01\",\"date\":\"1700000000\",\"viewed\":1,"
           "\"name\":\"Test\",\"username\":\"tester\",\"description\":\"A test\",\"likes\":0,\"published\":3,"
           "\"flags\":0,\"usePreview\":0,\"tags\":[\"test\"],\"hasliked\":0},\"renderpass\":[" +
           Joined(passes_) + "]}}";
}

}  // namespace pixelforge::test
