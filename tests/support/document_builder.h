// Builds the JSON of shader documents for tests, which specify only what matters to them.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace pixelforge::test {

/// One input of a pass. Ids of passes: 257 to 260 for Buffer A to D, 41 for Cube A.
struct Input {
    int channel = 0;
    std::string ctype = "buffer";
    int id = 257;
    std::string filter = "nearest";
    std::string wrap = "clamp";
    std::string src = "";
    std::string vflip = "true";
};

class DocumentBuilder {
public:
    DocumentBuilder& Pass(std::string_view type, std::string_view name, std::string_view code,
                          const std::vector<Input>& inputs = {}) {
        json_ += json_.ends_with('}') ? R"(,{"inputs":[)" : R"({"inputs":[)";
        for (const Input& input : inputs) {
            json_ += (&input == inputs.data() ? "" : ",") + Json(input);
        }
        json_ += R"(],"outputs":[{"id":37,"channel":0}],"code":)" + Quoted(code) + R"(,"name":)" +
                 Quoted(name) + R"(,"description":"","type":)" + Quoted(type) + "}";
        return *this;
    }

    DocumentBuilder& Image(std::string_view code, const std::vector<Input>& inputs = {}) {
        return Pass("image", "Image", code, inputs);
    }
    DocumentBuilder& Buffer(char letter, std::string_view code, const std::vector<Input>& inputs = {}) {
        return Pass("buffer", std::string("Buffer ") + letter, code, inputs);
    }
    DocumentBuilder& Common(std::string_view code) { return Pass("common", "Common", code); }

    std::string Json() const { return json_ + "]}}"; }

private:
    static std::string Quoted(std::string_view text) {
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

    static std::string Json(const Input& input) {
        return R"({"id":)" + std::to_string(input.id) + R"(,"src":)" + Quoted(input.src) + R"(,"ctype":)" +
               Quoted(input.ctype) + R"(,"channel":)" + std::to_string(input.channel) +
               R"(,"sampler":{"filter":)" + Quoted(input.filter) + R"(,"wrap":)" + Quoted(input.wrap) +
               R"(,"vflip":)" + Quoted(input.vflip) + R"(,"srgb":"false","internal":"byte"},"published":1})";
    }

    std::string json_ =
        R"({"Shader":{"ver":"0.1","info":{"id":"tEsT01","date":"1700000000","viewed":1,"name":"Test",)"
        R"("username":"tester","description":"A test","likes":0,"published":3,"flags":0,"usePreview":0,)"
        R"("tags":["test"],"hasliked":0},"renderpass":[)";
};

/// A `mainImage` function with the given body; the output colour is `c`, the coordinate `p`.
inline std::string MainImage(std::string_view body) {
    return "void mainImage(out vec4 c, in vec2 p)\n{\n" + std::string(body) + "\n}\n";
}

/// A document of one Image pass, which is `MainImage` of the body.
inline std::string ImageDocument(std::string_view body, const std::vector<Input>& inputs = {}) {
    return DocumentBuilder().Image(MainImage(body), inputs).Json();
}

}  // namespace pixelforge::test
