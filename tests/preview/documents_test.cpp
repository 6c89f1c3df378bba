// Documents made from plain shaders and from others, and messages under the user's own file names.
#include <gmock/gmock.h>

#include <filesystem>
#include <regex>
#include <tuple>

#include "preview/documents/document_conversion.h"
#include "preview/documents/editor_lines.h"
#include "preview/documents/source_faults.h"
#include "tests/support/temp_file.h"

namespace pixelforge::preview {
namespace {

using testing::ElementsAre;
using testing::FieldsAre;

const FileExists kNoFiles = [](const std::string&) { return false; };

/// A line for each pass, input and unusual sampler; without indentation, comment lines and usual settings.
std::string Compact(const std::string& json) {
    const std::pair<std::string, const char*> edits[] = {
        {"\n *", ""},
        {R"("code": "//@([^"\\]|\\.)*",)", ""},
        {R"("outputs": \[\{"id": (\d+),"channel": 0\}\])", R"("outputs": [$1])"},
        {R"(,"srgb": "false","internal": "byte")", ""},
        {R"(,"sampler": \{"filter": "linear","wrap": "clamp","vflip": "false"\})", ""},
        {R"(\{"c?type|"sampler|"description|"renderpass)", "\n$&"}};
    std::string text = json;
    for (const auto& [pattern, with] : edits) {
        text = std::regex_replace(text, std::regex(pattern), with);
    }
    return "\n" + text + "\n";
}

TEST(PassFiles, ReadEachOther) {
    EXPECT_EQ(PassFileName("../s.t.glsl", "a"), "../s.t.a.glsl");
    // The files, how many passes read, and in each of them the channels with the ids that they read.
    const std::tuple<std::vector<std::string>, int, std::string> cases[] = {
        {{"image"}, 1, "0 33, "},
        {{"image", "a"}, 2, "0 257, 1 33, "},
        {{"image", "common", "b", "cube"}, 3, "0 41, 1 258, 2 33, "},
        {{"image", "a", "b", "c", "d", "cube"}, 6, "0 257, 1 258, 2 259, 3 260, "}};
    for (const auto& [stems, readers, channels] : cases) {
        std::vector<PassFile> passes;
        for (const std::string& stem : stems) {
            passes.push_back({stem, "", ""});
        }
        std::string expected;
        for (int i = 0; i < readers; ++i) {
            expected += channels;
        }
        const std::string json = DocumentOfPassFiles("s", passes, kNoFiles).json;
        EXPECT_EQ(std::regex_replace(json, std::regex(R"("channel": (\d),\s*"id": (\d+))"), "$1 $2, ",
                                     std::regex_constants::format_no_copy),
                  expected);
    }
}

const std::string kLantern = "media/lan tern.png";

/// With Buffer D, Common and a picture beside the shader "dir/s.glsl".
MadeDocument WithComments(const std::string& image, const std::string& common = "") {
    return DocumentOfPassFiles("s",
                               {{"image", image, "dir/s.glsl"},
                                {"common", common, "dir/s.common.glsl"},
                                {"d", "\n", "dir/s.d.glsl"}},
                               [](const std::string& file) { return file == kLantern; });
}

TEST(CommentLines, NameInputsAndProperties) {
    const MadeDocument made = DocumentOfPassFiles(
        "s\"\xC3\xA9",
        {{"image",
          "//@ name A  B \r\nvoid f() { //@ name C\n}\n\t//@iChannel2 \"media/lan tern.png\" filter=mipmap "
          "wrap=repeat\n//@ iChannel0\tBuffer D vflip=true\n//@ iChannel3 sound\r\n//@ iChannel1 CUBE\n"
          "//@ tags t\tu\n//@ author Name One\n//@ description name",
          "dir/s.glsl"},
         {"common", "", "dir/s.common.glsl"},
         {"d",
          "//@ iChannel0 volume V.x filter=nearest\n//@ iChannel1 cube V.x\n//@ iChannel2 camera\n"
          "//@ iChannel3 keyboard",
          "dir/s.d.glsl"},
         {"cube", "//@ iChannel1 V.x vflip=false", "dir/s.cube.glsl"}},
        [](const std::string& file) { return file == kLantern || file == "V.x"; });
    EXPECT_THAT(made.errors, ElementsAre());
    EXPECT_EQ(Compact(made.json), R"(
{"Shader": {"ver": "0.1","info": {"id": "s\"é","date": "0","viewed": 0,"name": "A  B","username": "Name One",
"description": "name","likes": 0,"published": 0,"flags": 0,"usePreview": 0,"tags": ["t","u"],"hasliked": 0},
"renderpass": [
{"type": "image","name": "Image","inputs": [
{"ctype": "buffer","channel": 0,"id": 260,"src": "",
"sampler": {"filter": "linear","wrap": "clamp","vflip": "true"}},
{"ctype": "cubemap","channel": 1,"id": 41,"src": ""},
{"ctype": "texture","channel": 2,"id": 0,"src": "media/lan tern.png",
"sampler": {"filter": "mipmap","wrap": "repeat","vflip": "true"}},
{"ctype": "music","channel": 3,"id": 0,"src": ""}],"outputs": [37]},
{"type": "common","name": "Common","code": "","inputs": [],"outputs": []},
{"type": "buffer","name": "Buffer D","inputs": [
{"ctype": "volume","channel": 0,"id": 0,"src": "V.x",
"sampler": {"filter": "nearest","wrap": "clamp","vflip": "false"}},
{"ctype": "cubemap","channel": 1,"id": 0,"src": "V.x"},
{"ctype": "webcam","channel": 2,"id": 0,"src": ""},
{"ctype": "keyboard","channel": 3,"id": 33,"src": ""}],"outputs": [260]},
{"type": "cubemap","name": "Cube A","inputs": [
{"ctype": "texture","channel": 1,"id": 0,"src": "V.x"}],"outputs": [41]}]}}
)");
    ASSERT_EQ(made.inputs.size(), 9u);
    EXPECT_THAT(made.inputs[2], FieldsAre("Image", 2, "texture", "dir/s.glsl:4:1", kLantern));
    EXPECT_THAT(made.inputs[8], FieldsAre("Cube A", 1, "texture", "dir/s.cube.glsl:1:1", "V.x"));
    EXPECT_THAT(made.texts[3], FieldsAre("Cube A", "dir/s.cube.glsl", "//@ iChannel1 V.x vflip=false"));
}

TEST(CommentLines, FailWithFileLineAndColumn) {
    const std::string inputs =
        "expected a picture's file name (in quotes if it has blanks), buffer a to buffer d, cube, cube FILE, "
        "volume FILE, keyboard, sound or camera";
    const std::string words = "expected iChannel0 to iChannel3, name, author, description or tags";
    const std::string settings = "expected filter, wrap or vflip";
    const std::pair<const char*, std::string> cases[] = {
        {"iChannel4 keyboard", "5: error: iChannel4 does not exist; a pass has iChannel0 to iChannel3"},
        {"iChannel10 sound", "5: error: iChannel10 does not exist; a pass has iChannel0 to iChannel3"},
        {"ichannel0 sound", "5: error: unknown word \"ichannel0\"; " + words},
        {"iChannel1", "5: error: iChannel1 lacks its input; " + inputs},
        {"iChannel1 microphone", "15: error: unknown input \"microphone\"; " + inputs},
        {"iChannel1 a.png b.png", "15: error: unknown input \"a.png b.png\"; " + inputs},
        {"iChannel1 buffer e", "22: error: unknown buffer; expected buffer a to buffer d"},
        {"iChannel1 buffer b", "22: error: there is no file s.b.glsl"},
        {"iChannel1 cube", "15: error: there is no file s.cube.glsl"},
        {"iChannel1 \"sound\"", "15: error: there is no file \"sound\" in the shader's folder"},
        {"iChannel1 cube ../x.png", "20: error: the path \"../x.png\" leads out of the shader's folder"},
        {"iChannel1 volume a/..\\..\\x.bin",
         "22: error: the path \"a/..\\..\\x.bin\" leads out of the shader's folder"},
        {"iChannel1 \"//host/x.png", "15: error: the path \"//host/x.png\" leads out of the shader's folder"},
        {"iChannel1 C:x.png", "15: error: the path \"C:x.png\" leads out of the shader's folder"},
        {"iChannel1 a\x1B[2J.png", "15: error: \"a [2J.png\" is not a file name"},
        {"iChannel1 con.png", "15: error: \"con.png\" is not a file name"},
        {"iChannel1 sound filter=sharp", "21: error: filter is nearest, linear or mipmap, not \"sharp\""},
        {"iChannel1 sound wrap=mirror", "21: error: wrap is clamp or repeat, not \"mirror\""},
        {"iChannel1 sound vflip=", "21: error: vflip is false or true, not \"\""},
        {"iChannel1 sound srgb=true", "21: error: unknown setting \"srgb=true\"; " + settings},
        {"iChannel1 sound wrap=clamp repeat", "32: error: unknown setting \"repeat\"; " + settings},
        {"iChannel1 sound wrap=clamp filter", "32: error: unknown setting \"filter\"; " + settings}};
    for (const auto& [line, error] : cases) {
        EXPECT_THAT(WithComments("\n//@ " + std::string(line)).errors, ElementsAre("dir/s.glsl:2:" + error));
    }
    EXPECT_EQ(WithComments("//@ iChannel1 none.png").inputs[0].file, "none.png") << "to be watched";
    EXPECT_THAT(
        WithComments("//@ iChannel0 sound\n//@ iChannel0 cube\n//@\n//@ x", "//@ iChannel1 camera").errors,
        ElementsAre("dir/s.glsl:2:5: error: iChannel0 is already set in line 1",
                    "dir/s.glsl:4:5: error: unknown word \"x\"; " + words,
                    "dir/s.common.glsl:1:5: error: Common has no inputs of its own"));
}

TEST(BareDocument, BecomesTheSameShader) {
    const std::string shader =
        R"({"ver":"9","info":{"id":"x","date":"1","viewed":2,"name":"N","username":"U",
        "description":"D","likes":"3","published":4,"flags":5,"usePreview":6,"tags":["t"],"hasliked":7},
        "renderpass":[
        {"outputs":[{"channel":0,"id":"4dfGRr"}],"inputs":[
            {"channel":0,"type":"buffer","id":"4dXGR8","filepath":"/media/previz/buffer00.png","sampler":
                {"filter":"nearest","wrap":"repeat","vflip":"true","srgb":"true","internal":"float"}},
            {"channel":1,"type":"buffer","filepath":"/media/previz/buffer01.png"},
            {"channel":2,"type":"buffer","filepath":"/media/previz/buffer02.png"}],
         "code":"i","name":"Image","type":"image"},
        {"inputs":[{"channel":1,"type":"buffer","filepath":"/media/previz/buffer03.png"},
            {"channel":2,"type":"cubemap","filepath":"/media/a//media/previz/cubemap00.png"},
            {"channel":3,"type":"texture","filepath":"/media/a/wood.png"}],
         "code":"a","name":"Buffer A","type":"buffer"},
        {"name":"Buf B","type":"buffer"}, {"name":"Cubemap A","type":"cubemap"}, {"type":"common"}]})";
    for (const std::string& text : {shader, "[" + shader + "]"}) {
        EXPECT_EQ(Compact(ConvertBareDocument(text).value()), R"(
{"Shader": {"ver": "0.1","info": {"id": "x","date": "1","viewed": 2,"name": "N","username": "U",
"description": "D","likes": 0,"published": 4,"flags": 5,"usePreview": 6,"tags": [],"hasliked": 7},
"renderpass": [
{"type": "image","name": "Image","code": "i","inputs": [
{"ctype": "buffer","channel": 0,"id": 257,"src": "/media/previz/buffer00.png",
"sampler": {"filter": "nearest","wrap": "repeat","vflip": "true","srgb": "true","internal": "float"}},
{"ctype": "buffer","channel": 1,"id": 258,"src": "/media/previz/buffer01.png"},
{"ctype": "buffer","channel": 2,"id": 259,"src": "/media/previz/buffer02.png"}],"outputs": [37]},
{"type": "buffer","name": "Buffer A","code": "a","inputs": [
{"ctype": "buffer","channel": 1,"id": 260,"src": "/media/previz/buffer03.png"},
{"ctype": "cubemap","channel": 2,"id": 41,"src": "/media/a//media/previz/cubemap00.png"},
{"ctype": "texture","channel": 3,"id": 0,"src": "/media/a/wood.png"}],"outputs": [257]},
{"type": "buffer","name": "Buf B","code": "","inputs": [],"outputs": [258]},
{"type": "cubemap","name": "Cubemap A","code": "","inputs": [],"outputs": [41]},
{"type": "common","name": "","code": "","inputs": [],"outputs": []}]}}
)");
    }
}

TEST(BareDocument, MayBeIncompleteButOtherTextsAreRejected) {
    for (const char* text : {"", "[", "[]", "[1]", "3", "{\"Shader\":{\"renderpass\":[]}}",
                             "{\"renderpass\":1}", "[[]]", "{\"Shader\":1,\"renderpass\":[]}"}) {
        EXPECT_FALSE(ConvertBareDocument(text)) << text;
    }
    EXPECT_FALSE(ConvertBareDocument(std::string(1'000'000, '[')));
    EXPECT_TRUE(ConvertBareDocument(R"({"renderpass":[1,{"inputs":[7,{"channel":"x"}]}],"info":3})"));
}

TEST(MadeDocuments, GetADroppedPictureOnChannel0OfTheImage) {
    const std::string made = DocumentOfPassFiles("s", {{"a", "b", ""}, {"image", "i", ""}}, kNoFiles).json;
    EXPECT_THAT(Compact(WithPicture(made, "c:\\p \"1\".png")), testing::EndsWith(R"("outputs": [257]},
{"type": "image","name": "Image","code": "i","inputs": [
{"ctype": "buffer","channel": 0,"id": 257,"src": ""},
{"ctype": "keyboard","channel": 1,"id": 33,"src": ""},
{"ctype": "texture","channel": 0,"id": 0,"src": "c:\\p \"1\".png",
"sampler": {"filter": "mipmap","wrap": "repeat","vflip": "true"}}],"outputs": [37]}]}}
)"));
    for (const char* text : {"", "[1]", R"({"Shader":{"renderpass":[3,{"type":"image","inputs":3}]}})"}) {
        EXPECT_EQ(WithPicture(text, "p.png"), text);
    }
}

using Lines = std::vector<std::string>;

const SourceNames kPlain = {.shader = "s/p.glsl",
                            .file = true,
                            .texts = {{"Image", "s/p.glsl", "1\r\n2\r\n3\r\n\r\n"},
                                      {"Common", "s/p.common.glsl", ""},
                                      {"Buffer A", "s/p.a.glsl", "1"},
                                      {"Z:\\lib\\n.glsl", "lib/n.glsl", ""}},
                            .inputs = {{"Buffer A", 2, "", ""}, {"Image", 2, "texture", "s/p.glsl:7:1"}}};

TEST(EditorLines, NameTheUsersFileAndLine) {
    const std::pair<const char*, const char*> cases[] = {
        {"Buffer A:12:5: error: x", "s/p.a.glsl:12:5: error: x"},
        {"Image: Common:3:4: warning: x", "s/p.common.glsl:3:4: warning: x"},
        {"Image: common:3: error C1008: x", "s/p.common.glsl:3:1: error: C1008: x"},
        {"Image: Z:\\lib\\n.glsl:2: ERROR: 'x' : bad", "lib/n.glsl:2:1: error: 'x' : bad"},
        {"Image:4:1: preprocessor error: x", "s/p.glsl:4:1: error: x"},
        {"Image:3: #include is indented", "s/p.glsl:3:1: error: #include is indented"},
        {"Image: error: no mainImage", "s/p.glsl:1:1: error: no mainImage"},
        {"Image: 0:10(1): error: two places", "s/p.glsl:1:1: error: 0:10(1): error: two places"},
        {"Image: 0:10(1): Warning: x", "s/p.glsl:1:1: warning: 0:10(1): Warning: x"},
        {"Image: Fragment info", "s/p.glsl: Fragment info"},
        {"Image: after the end of Image (a brace may be missing): error: x",
         "s/p.glsl:3:1: error: x (after the end of the text; a brace may be missing)"},
        {"Image: in the module's own lines after Image: error: x", "s/p.glsl:3:1: error: x"},
        {"Image, iChannel2 stays empty: a.png: no such file",
         "s/p.glsl:7:1: warning: iChannel2 stays empty: a.png: no such file"},
        {"Image, iChannel0 stays empty: x", "s/p.glsl:1:1: warning: iChannel0 stays empty: x"},
        {"cannot load a shader: s/p.glsl: line 3, column 5: Missing a comma",
         "s/p.glsl:3:5: error: Missing a comma"},
        {"cannot load a shader: s/p.glsl: Shader.ver: missing", "s/p.glsl:1:1: error: Shader.ver: missing"},
        {"GL_INVALID_VALUE: bad", "GL_INVALID_VALUE: bad"},
        {"Image of something else", "Image of something else"}};
    for (const auto& [line, expected] : cases) {
        EXPECT_THAT(EditorLines({line}, kPlain), ElementsAre(expected));
    }
}

TEST(EditorLines, SeparateFaultsOfALoadFoldCandidatesAndDropRepetitions) {
    const Lines lines = {
        "Buffer A: Common:1:2: error: x",
        "Image: Common:1:2: error: x",
        "Image:5:6: error: no f(int)'; candidates are:",
        "Image:5:6: error:    f(a)",
        "Image:5:6: error:    f(b)",
        "Image:5:6: error:    f(c)",
        "Image:5:6: error:   ",
        "Image:5:6: error: y",
        "Image:5:6: error: candidates are:",
        "Image:5:7: error:  z",
        "cannot load a shader: s/p.glsl: Cube A fails, Buffer A:3: too many, at most 64, Image fails"};
    EXPECT_THAT(EditorLines(lines, kPlain),
                ElementsAre("s/p.common.glsl:1:2: error: x",
                            "s/p.glsl:5:6: error: no f(int)'; candidates are: f(a), f(b) and 1 more",
                            "s/p.glsl:5:6: error: y", "s/p.glsl:5:6: error: candidates are:",
                            "s/p.glsl:5:7: error:  z", "s/p.a.glsl:3:1: error: too many, at most 64",
                            "cannot load a shader: s/p.glsl: Cube A fails, Image fails"));
}

TEST(EditorLines, NameTheDocumentWithThePass) {
    const Lines lines = {"Buffer A:12:5: error: x",
                         "Image: Common:1:2: error: x",
                         "cannot load a shader: abc: Buffer A does not compile, Image does not compile",
                         "Image:1:1: error: y",
                         "cannot load a shader: d: z",
                         "Image:2:2: warning: loads"};
    EXPECT_THAT(EditorLines(lines, {}),
                ElementsAre("abc: Buffer A:12:5: error: x", "abc: Common:1:2: error: x", lines[2],
                            "d: Image:1:1: error: y", lines[4], lines[5]))
        << "a playlist's picks";
    EXPECT_THAT(EditorLines({lines[0], lines[4]}, {.shader = "d"}),
                ElementsAre("d: Buffer A:12:5: error: x", lines[4]));
}

TEST(SourceFaults, NameWhatTheModuleIgnoresInADocument) {
    SourceNames names = {.shader = "e.json"};
    const std::string document =
        "[{\"renderpass\":[\n{\"type\":\"image\", \"name\":\"\", \"code\":\"\\n\\n\", \"inputs\":[\n"
        "{\"type\":\"video\", \"channel\":1}, {\"type\":\"mic\"},\n {\"channel\":4, \"ctype\":\"buffer\"},\n"
        "{\"ctype\":\"mic\", \"channel\":3, "
        "\"src\":\"m\\/\"}]},\n{\"type\":\"sound\"},\n{\"type\":\"buffer\", "
        "\"name\":\"Buffer\\u001BE\"},\n"
        "{\"type\":\"cubemap\", \"name\":\"Cube B\"}, {\"type\":\"geometry\"}, {},\n"
        "{\"type\":\"common\"}, {\"type\":\"buffer\", \"name\":\"Buf A\"}, "
        "{\"type\":\"cubemap\", \"name\":\"Cubemap A\"},\n"
        "{\"type\":\"image\", \"code\":\"later\"}]}]";
    EXPECT_THAT(
        DocumentFaults(document, names),
        ElementsAre(
            "e.json:3:9: warning: Image, iChannel1: inputs of the unknown kind \"video\" are "
            "ignored, and the channel is not declared",
            "e.json:3:40: warning: Image: an input on a channel outside 0 to 3 is ignored",
            "e.json:4:24: warning: Image: an input on a channel outside 0 to 3 is ignored",
            "e.json:6:9: warning: the pass \"\" of type \"sound\" is ignored: the module plays no sound",
            "e.json:7:9: warning: the pass \"Buffer E\" of type \"buffer\" is ignored: unknown name or type",
            "e.json:8:9: warning: the pass \"Cube B\" of type \"cubemap\" is ignored: unknown name or type",
            "e.json:8:46: warning: the pass \"\" of type \"geometry\" is ignored: unknown name or type",
            "e.json:1:1: warning: the pass \"\" of type \"\" is ignored: unknown name or type"));
    ASSERT_EQ(names.texts.size(), 4u) << "two passes of one name";
    EXPECT_EQ(names.texts[3].code, "later");
    ASSERT_EQ(names.inputs.size(), 1u);
    EXPECT_EQ(names.inputs[0].place, "e.json:5:10");
    EXPECT_EQ(names.inputs[0].file, "m/");
    EXPECT_THAT(DocumentFaults("{", names), ElementsAre()) << "the module reports that";
}

TEST(SourceFaults, NameMissingIncludesWithThePlacesSearched) {
    const auto start = std::filesystem::current_path();
    const test::TempFolder folder;
    std::filesystem::current_path(folder.Path());
    folder.Write("dot.", "x");
    folder.Write("here.glsl", "\n#include \"deep\"\n");
    SourceNames names = {
        .shader = "s/p.glsl",
        .texts = {{"Image", "s/p.glsl", "#include \"here.glsl\"\n#include \"dot.\"\n/*"},
                  {"Common", "s/p.common.glsl",
                   "/*/\n\n#include \"n\"\n*/\n#include\"n\"\n#include N \"n\"\n#include \"n"},
                  {"Buffer A", "s/p.a.glsl",
                   "#include \"here.glsl\"\n#include \"common\"\n#include \"PREFIX\"\n#include \"/no\""}},
        .includeFolder = "lib",
        .includeName = "l"};
    const Lines faults = MissingIncludes(names);
    std::filesystem::current_path(start);
    EXPECT_THAT(
        faults,
        ElementsAre("s/p.glsl:2:1: warning: no include file \"dot.\"; the module does not open such a name",
                    "s/p.a.glsl:4:1: warning: no include file \"/no\"; looked for /no and l//no",
                    "s/here.glsl:2:1: warning: no include file \"deep\"; looked for s/deep and l/deep"));
    EXPECT_THAT(names.includes, ElementsAre("here.glsl", "/no", "deep"));
}

TEST(SourceFaults, NameThePlaylistLinesThatCannotBePicked) {
    EXPECT_EQ(PlaylistFaults(std::string(21, '\n'), "l").back(), "l: the other lines were not checked");
    EXPECT_EQ(PlaylistFaults(std::string(20, '\n'), "l").back(),
              "l:20:1: warning: the empty line is skipped");
    EXPECT_EQ(PlaylistFaults("\xFF\xFE", "l").size(), 2u) << "a mark, and no line break";
    EXPECT_THAT(
        PlaylistFaults("\xEF\xBB\xBF"
                       "a\r\n\r\n1234567890123456789\r\n12345678901234567890\r\xC3\xBC\n\xFC\nend",
                       "l"),
        ElementsAre(
            "l:1:1: warning: the byte-order mark becomes part of the first line; save the "
            "playlist without it",
            "l:2:1: warning: the empty line is skipped",
            "l:4:1: warning: the line is longer than 19 characters, so a load that picks it fails",
            "l:5:1: warning: the line is UTF-8, but the module reads it in the system's ANSI code page",
            "l:7:1: warning: the last line has no line break, so it is ignored"));
}

}  // namespace
}  // namespace pixelforge::preview
