// Documents made from plain shaders and from documents without "Shader", read by the module's own reader.
#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "document/document_reader.h"
#include "preview/documents/document_conversion.h"

namespace pixelforge::preview {
namespace {

using testing::ElementsAre;
using testing::StartsWith;

const FileExists kNoFiles = [](const std::string&) { return false; };

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
            passes.push_back({stem, "// \"" + stem + "\"\n\\", stem + ".glsl"});
        }
        const ShaderDocument document = Read(DocumentOfPassFiles("n\"\xC3\xA9", passes, kNoFiles).json);
        EXPECT_STREQ(document.info.name, L"n\"\x00E9");
        EXPECT_STREQ(PassOf(document, PassKind::Image).code.get(), "// \"image\"\n\\");
        EXPECT_EQ(Sources(PassOf(document, PassKind::Image)), sources) << stems.back();
        if (stems.size() > 2) {
            EXPECT_EQ(Sources(PassOf(document, PassKind::BufferB)), sources);
        }
    }
}

const std::string kLantern = "media/lan tern.png";

/// With Buffer A, Common and a picture beside the shader "dir/s.glsl".
MadeDocument WithComments(const std::string& image, const std::string& common = "") {
    return DocumentOfPassFiles("s",
                               {{"image", image, "dir/s.glsl"},
                                {"common", common, "dir/s.common.glsl"},
                                {"a", "\n", "dir/s.a.glsl"}},
                               [](const std::string& file) { return file == kLantern; });
}

TEST(CommentLines, NameInputsAndProperties) {
    const MadeDocument made = WithComments(
        "//@ name A  B \r\nvoid f() { //@ name C\n}\n\t//@iChannel2 \"media/lan tern.png\" filter=mipmap "
        "wrap=repeat\n//@ iChannel0 Buffer A vflip=true\n//@ iChannel3 sound filter=nearest\n//@ tags t u");
    EXPECT_THAT(made.errors, ElementsAre());
    EXPECT_EQ(made.inputs[1].file, kLantern);
    const ShaderDocument document = Read(made.json);
    EXPECT_STREQ(document.info.name, L"A  B");
    EXPECT_STREQ(document.info.tags, L"t, u");
    const auto& inputs = PassOf(document, PassKind::Image).inputs;
    EXPECT_THAT(Sources(PassOf(document, PassKind::Image)), ElementsAre(2, 0, 0, 0));
    EXPECT_THAT(Sources(PassOf(document, PassKind::BufferA)), ElementsAre(0, 0, 0, 0));
    EXPECT_EQ(inputs[0].sampler.vflip, 1);
    EXPECT_EQ(inputs[1].ctype, ChannelType::None);
    EXPECT_STREQ(inputs[2].src, L"media/lan tern.png");
    EXPECT_EQ(inputs[2].sampler.filter, kFilterMipmap);
    EXPECT_EQ(inputs[2].sampler.wrap, kWrapRepeat);
    EXPECT_EQ(inputs[2].sampler.vflip, 1);
    EXPECT_EQ(inputs[3].ctype, ChannelType::Audio);
    EXPECT_EQ(inputs[3].sampler.filter, kFilterNearest);
}

TEST(CommentLines, FailWithFileLineAndColumn) {
    const std::pair<const char*, const char*> cases[] = {
        {"iChannel4 keyboard", "5: error: iChannel4 does not exist; a pass has iChannel0 to iChannel3"},
        {"iChannel keyboard", "5: error: iChannel does not exist; a pass has iChannel0 to iChannel3"},
        {"ichannel0 sound", "5: error: unknown word \"ichannel0\"; "},
        {"iChannel1", "5: error: iChannel1 lacks its input; "},
        {"iChannel1 microphone", "15: error: unknown input \"microphone\"; "},
        {"iChannel1 sound loud", "21: error: unexpected word; "},
        {"iChannel1 buffer e", "22: error: unknown buffer; "},
        {"iChannel1 buffer b", "22: error: there is no file s.b.glsl"},
        {"iChannel1 cube", "15: error: there is no file s.cube.glsl"},
        {"iChannel1 none.png", "15: error: there is no file \"none.png\" in the shader's folder"},
        {"iChannel1 cube ../x.png", "20: error: the path \"../x.png\" leads out of the shader's folder"},
        {"iChannel1 volume a/..\\..\\x.bin", "22: error: the path \"a/..\\..\\x.bin\" leads out of "},
        {"iChannel1 \"//host/x.png\"", "15: error: the path \"//host/x.png\" leads out of "},
        {"iChannel1 C:x.png", "15: error: the path \"C:x.png\" leads out of "},
        {"iChannel1 a\x1B[2J.png", "15: error: \"a [2J.png\" is not a file name"},
        {"iChannel1 con.png", "15: error: \"con.png\" is not a file name"},
        {"iChannel1 sound filter=sharp", "21: error: filter is nearest, linear or mipmap, not \"sharp\""},
        {"iChannel1 sound wrap=clamp repeat", "32: error: unknown setting \"repeat\"; "},
    };
    for (const auto& [line, error] : cases) {
        EXPECT_THAT(WithComments("\n//@ " + std::string(line)).errors,
                    ElementsAre(StartsWith("dir/s.glsl:2:" + std::string(error))));
    }
    EXPECT_THAT(WithComments("//@ iChannel0 sound\n//@ iChannel0 camera", "//@ iChannel1 camera").errors,
                ElementsAre("dir/s.glsl:2:5: error: iChannel0 is already set in line 1",
                            "dir/s.common.glsl:1:5: error: Common has no inputs of its own"));
}

std::string FileText(const std::filesystem::path& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

TEST(Examples, ArePackedFromTheirPlainShaders) {
    const std::filesystem::path folder = std::filesystem::path(PIXELFORGE_SOURCE_DIR) / "examples";
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        const std::string stem = entry.path().stem().string();
        if (entry.path().extension() != ".glsl" || stem.find('.') != std::string::npos) {
            continue;
        }
        std::vector<PassFile> passes = {{"image", FileText(entry.path()), stem}};
        for (const std::string_view pass : kPassFileStems) {
            const auto path = folder / PassFileName(stem + ".glsl", pass);
            if (std::filesystem::exists(path)) {
                passes.push_back({std::string(pass), FileText(path), path.filename().string()});
            }
        }
        const MadeDocument made = DocumentOfPassFiles(
            stem, passes, [&](const std::string& file) { return std::filesystem::exists(folder / file); });
        EXPECT_THAT(made.errors, ElementsAre());
        EXPECT_EQ(made.json + "\n", FileText(folder / (stem + ".json")))
            << "./run examples/" << stem << ".glsl --pack examples/" << stem << ".json";
        ++count;
    }
    EXPECT_GT(count, 0);
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

TEST(MadeDocuments, GetADroppedPictureOnChannel0OfTheImage) {
    const std::string made = DocumentOfPassFiles("s", {{"image", "i", ""}, {"a", "b", ""}}, kNoFiles).json;
    const ShaderDocument document = Read(WithPicture(made, "c:\\p \"1\".png"));
    const auto& input = PassOf(document, PassKind::Image).inputs[0];
    EXPECT_EQ(input.ctype, ChannelType::Texture);
    EXPECT_STREQ(input.src, L"c:\\p \"1\".png");
    EXPECT_EQ(PassOf(document, PassKind::Image).inputs[1].ctype, ChannelType::Keyboard);
    EXPECT_EQ(Sources(PassOf(document, PassKind::BufferA))[0], 2);
    for (const char* text : {"", "[1]", R"({"Shader":{"renderpass":[3,{"type":"image"}]}})"}) {
        EXPECT_EQ(WithPicture(text, "p.png"), text);
    }
}

}  // namespace
}  // namespace pixelforge::preview
