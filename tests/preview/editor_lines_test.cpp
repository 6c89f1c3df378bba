// Messages under the user's own file names, and what the module passes over in silence.
#include "preview/documents/editor_lines.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

#include "preview/documents/source_faults.h"

namespace pixelforge::preview {
namespace {

using testing::ElementsAre;
using Lines = std::vector<std::string>;

const SourceNames kPlain = {.shader = "s/p.glsl",
                            .file = true,
                            .texts = {{"Image", "s/p.glsl", "1\n2\n3\n\n"},
                                      {"Common", "s/p.common.glsl", ""},
                                      {"Buffer A", "s/p.a.glsl", "1"},
                                      {"Z:\\lib\\n.glsl", "lib/n.glsl", ""}},
                            .inputs = {{"Image", 2, "texture", "s/p.glsl:7:1"}}};

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
        {"Image: Fragment info", "s/p.glsl: Fragment info"},
        {"Image: after the end of Image (a brace may be missing): error: x",
         "s/p.glsl:3:1: error: x (after the end of the text; a brace may be missing)"},
        {"Image: in the module's own lines after Image: error: x", "s/p.glsl:3:1: error: x"},
        {"Image, iChannel2 stays empty: a.png: no such file",
         "s/p.glsl:7:1: warning: iChannel2 stays empty: a.png: no such file"},
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
        "Image:5:6: error: y",
        "cannot load a shader: s/p.glsl: Buffer A:3: too many, at most 64, Image does not compile"};
    EXPECT_THAT(EditorLines(lines, kPlain),
                ElementsAre("s/p.common.glsl:1:2: error: x",
                            "s/p.glsl:5:6: error: no f(int)'; candidates are: f(a), f(b) and 1 more",
                            "s/p.glsl:5:6: error: y", "s/p.a.glsl:3:1: error: too many, at most 64",
                            "cannot load a shader: s/p.glsl: Image does not compile"));
}

TEST(EditorLines, NameTheDocumentWithThePass) {
    const Lines lines = {"Buffer A:12:5: error: x", "Image: Common:1:2: error: x",
                         "cannot load a shader: abc: Buffer A does not compile, Image does not compile"};
    const Lines expected = {"abc: Buffer A:12:5: error: x", "abc: Common:1:2: error: x", lines[2]};
    EXPECT_EQ(EditorLines(lines, {.shader = "abc"}), expected);
    Lines picks = lines;
    Lines named = expected;
    picks.insert(picks.end(),
                 {"Image:1:1: error: y", "cannot load a shader: d: z", "Image:2:2: warning: loads"});
    named.insert(named.end(), {"d: Image:1:1: error: y", picks[4], picks[5]});
    EXPECT_EQ(EditorLines(picks, {}), named) << "a playlist's picks";
}

TEST(SourceFaults, NameWhatTheModuleIgnoresInADocument) {
    SourceNames names = {.shader = "e.json"};
    const std::string document =
        "[{\"renderpass\":[\n{\"type\":\"image\", \"name\":\"\", \"code\":\"\\n\\n\", \"inputs\":[\n"
        "{\"type\":\"video\", \"channel\":1},\n {\"channel\":4, \"ctype\":\"buffer\"},\n"
        "{\"ctype\":\"mic\", \"channel\":3, "
        "\"src\":\"m\\/\"}]},\n{\"type\":\"sound\"},\n{\"type\":\"buffer\", "
        "\"name\":\"Buffer E\"},\n"
        "{\"type\":\"cubemap\", \"name\":\"Cube B\"}, {\"type\":\"geometry\"}]}]";
    EXPECT_THAT(
        DocumentFaults(document, names),
        ElementsAre(
            "e.json:3:9: warning: Image, iChannel1: inputs of the unknown kind \"video\" are "
            "ignored, and the channel is not declared",
            "e.json:4:24: warning: Image: an input on a channel outside 0 to 3 is ignored",
            "e.json:6:9: warning: the pass \"\" of type \"sound\" is ignored: the module plays no sound",
            "e.json:7:9: warning: the pass \"Buffer E\" of type \"buffer\" is ignored: unknown name or type",
            "e.json:8:9: warning: the pass \"Cube B\" of type \"cubemap\" is ignored: unknown name or type",
            "e.json:8:46: warning: the pass \"\" of type \"geometry\" is ignored: unknown name or type"));
    ASSERT_EQ(names.inputs.size(), 1u);
    EXPECT_EQ(names.inputs[0].place, "e.json:5:10");
    EXPECT_EQ(names.inputs[0].file, "m/");
    EXPECT_THAT(DocumentFaults("{", names), ElementsAre()) << "the module reports that";
}

TEST(SourceFaults, NameMissingIncludesWithThePlacesSearched) {
    const auto start = std::filesystem::current_path();
    const auto folder = std::filesystem::temp_directory_path() / "pixelforge-includes";
    std::filesystem::create_directories(folder);
    std::filesystem::current_path(folder);
    std::ofstream("dot.") << "x";
    std::ofstream("here.glsl") << "\n#include \"deep.glsl\"\n";
    SourceNames names = {
        .shader = "s/p.glsl",
        .texts = {{"Image", "s/p.glsl", "#include \"here.glsl\"\n#include \"dot.\"\n"},
                  {"Common", "s/p.common.glsl", "/*\n#include \"no.glsl\"\n*/\n"},
                  {"Buffer A", "s/p.a.glsl", "#include \"here.glsl\"\n#include \"Common\""}}};
    const Lines faults = MissingIncludes(names);
    std::filesystem::current_path(start);
    std::filesystem::remove_all(folder);
    EXPECT_THAT(
        faults,
        ElementsAre("s/p.glsl:2:1: warning: no include file \"dot.\"; the module does not open such a name",
                    "s/here.glsl:2:1: warning: no include file \"deep.glsl\"; looked for s/deep.glsl; no "
                    "include folder is set"));
    EXPECT_THAT(names.includes, ElementsAre("here.glsl", "deep.glsl"));
}

TEST(SourceFaults, NameThePlaylistLinesThatCannotBePicked) {
    EXPECT_THAT(
        PlaylistFaults("\xEF\xBB\xBF"
                       "a\r\n\r\n1234567890123456789\r\n12345678901234567890\rend",
                       "l"),
        ElementsAre("l:1:1: warning: the byte-order mark becomes part of the first line; save the "
                    "playlist without it",
                    "l:2:1: warning: the empty line is skipped",
                    "l:4:1: warning: the line is longer than 19 characters, so a load that picks it fails",
                    "l:5:1: warning: the last line has no line break, so it is ignored"));
}

}  // namespace
}  // namespace pixelforge::preview
