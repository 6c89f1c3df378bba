// Documents made from plain shaders and from documents without "Shader", read by the module's own reader.
#include <gmock/gmock.h>

#include "document/document_reader.h"
#include "preview/documents/document_conversion.h"
#include "preview/documents/shader_source.h"

namespace pixelforge::preview {
namespace {

using testing::ElementsAre;

ShaderDocument Read(const std::string& json) {
    ShaderDocument document = {};
    EXPECT_NO_THROW(ReadShaderDocument(json.c_str(), document)) << json;
    return document;
}

const RenderPass& PassOf(const ShaderDocument& document, PassKind kind) {
    return document.passes[static_cast<std::size_t>(kind)];
}

constexpr int kKeyboard = 99;

/// The slot that each channel reads; 0 for none.
std::vector<int> Sources(const RenderPass& pass) {
    std::vector<int> sources;
    for (const PassInput& input : pass.inputs) {
        sources.push_back(input.ctype == ChannelType::Keyboard ? kKeyboard : input.sourcePass);
    }
    return sources;
}

TEST(PassFiles, ReadEachOther) {
    const std::pair<std::vector<std::string>, std::vector<int>> cases[] = {
        {{"image"}, {kKeyboard, 0, 0, 0}},
        {{"image", "a"}, {2, kKeyboard, 0, 0}},
        {{"image", "common", "b", "cube"}, {6, 3, kKeyboard, 0}},
        {{"image", "a", "b", "c", "d", "cube"}, {2, 3, 4, 5}}};
    for (const auto& [stems, sources] : cases) {
        std::vector<PassFile> passes;
        for (const std::string& stem : stems) {
            passes.push_back({stem, "// \"" + stem + "\"\n\\"});
        }
        const ShaderDocument document = Read(DocumentOfPassFiles("n\"\xC3\xA9", passes));
        EXPECT_STREQ(document.info.name, L"n\"\x00E9");
        EXPECT_STREQ(PassOf(document, PassKind::Image).code.get(), "// \"image\"\n\\");
        EXPECT_EQ(Sources(PassOf(document, PassKind::Image)), sources) << stems.back();
        if (stems.size() > 2) {
            EXPECT_EQ(Sources(PassOf(document, PassKind::BufferB)), sources);
        }
    }
}

TEST(BareDocument, BecomesTheSameShader) {
    const std::string shader = R"({"ver":"0.1","info":{"id":"x","name":"N","username":"U"},"renderpass":[
        {"outputs":[{"channel":0,"id":"4dfGRr"}],"inputs":[
            {"channel":0,"type":"buffer","id":"4dXGR8","filepath":"/media/previz/buffer01.png","sampler":
                {"filter":"nearest","wrap":"repeat","vflip":"true","srgb":"false","internal":"byte"}},
            {"channel":2,"type":"cubemap","id":"4dX3Rr","filepath":"/media/a//media/previz/cubemap00.png"},
            {"channel":3,"type":"texture","filepath":"/media/a/wood.png"}],
         "code":"image","name":"Image","type":"image"},
        {"outputs":[],"inputs":[],"code":"b","name":"Buffer B","type":"buffer"}]})";
    for (const std::string& text : {shader, "[" + shader + "]"}) {
        const ShaderDocument document = Read(ConvertBareDocument(text).value());
        const RenderPass& image = PassOf(document, PassKind::Image);
        EXPECT_THAT(Sources(image), ElementsAre(3, 0, 6, 0));
        EXPECT_EQ(image.inputs[0].sampler.filter, kFilterNearest);
        EXPECT_EQ(image.inputs[2].ctype, ChannelType::CubeBuffer);
        EXPECT_STREQ(image.inputs[3].src, L"/media/a/wood.png");
        EXPECT_STREQ(PassOf(document, PassKind::BufferB).code.get(), "b");
        EXPECT_STREQ(document.info.username, L"U");
    }
}

TEST(BareDocument, MayBeIncompleteButOtherTextsAreRejected) {
    for (const char* text : {"", "[", "[]", "[1]", "3", "{\"Shader\":{\"renderpass\":[]}}",
                             "{\"renderpass\":1}", "[[]]", "{\"Shader\":1,\"renderpass\":[]}"}) {
        EXPECT_FALSE(ConvertBareDocument(text)) << text;
    }
    EXPECT_TRUE(ConvertBareDocument(R"({"renderpass":[1,{"inputs":[7,{"channel":"x"}]}],"info":3})"));
}

TEST(NamedFiles, AreIncludesAndMedia) {
    EXPECT_THAT(NamedFiles("#include \"a.glsl\"\n#include<b>\n#include \"a.glsl\"\n\"#include \\\"c\\\"\\n\" "
                           "{\"src\" : \"m\\/t.png\", \"src\":\"\", \"filepath\":\"f\"} #include \"open"),
                ElementsAre("a.glsl", "c", "m/t.png", "f"));
}

}  // namespace
}  // namespace pixelforge::preview
