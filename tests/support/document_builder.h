// Builds the JSON of shader documents for tests, which specify only what matters to them.
#pragma once

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
                          const std::vector<Input>& inputs = {});

    DocumentBuilder& Image(std::string_view code, const std::vector<Input>& inputs = {}) {
        return Pass("image", "Image", code, inputs);
    }
    DocumentBuilder& Buffer(char letter, std::string_view code, const std::vector<Input>& inputs = {}) {
        return Pass("buffer", std::string("Buffer ") + letter, code, inputs);
    }
    DocumentBuilder& Common(std::string_view code) { return Pass("common", "Common", code); }

    std::string Json() const;

private:
    std::string passes_;  ///< as JSON, separated by commas
};

/// A `mainImage` function with the given body; the output colour is `c`, the coordinate `p`.
std::string MainImage(std::string_view body);

/// A document of one Image pass, which is `MainImage` of the body.
inline std::string ImageDocument(std::string_view body, const std::vector<Input>& inputs = {}) {
    return DocumentBuilder().Image(MainImage(body), inputs).Json();
}

}  // namespace pixelforge::test
