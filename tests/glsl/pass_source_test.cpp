// Assembled texts, byte for byte, and the origin of their lines.
#include "glsl/pass_source.h"

#include <gtest/gtest.h>

#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <tuple>

#include "glsl/info_log.h"
#include "glsl/line_map.h"
#include "tests/glsl/expansion.h"

namespace pixelforge {
namespace {

class PassSource : public testing::Test {
protected:
    PassSource() {
        SetVersionLine(4, 6);
        std::tie(prefix_, imageMain_) = TextsAround(PassKind::Image);
        cubeMain_ = TextsAround(PassKind::CubeA).second;
    }

    RenderPass& Add(PassKind kind, std::string_view code) {
        RenderPass& pass = document_->passes[static_cast<std::size_t>(kind)];
        pass.kind = kind;
        pass.code = ExactText(code);
        return pass;
    }
    /// The module's own texts before and after a pass's code.
    std::pair<std::string, std::string> TextsAround(PassKind kind) {
        const std::string text = Assemble(Add(kind, "@"));
        const std::size_t code = text.find("\n@\n");
        document_->passes[static_cast<std::size_t>(kind)] = {};
        return {text.substr(0, code), text.substr(code + 3)};
    }
    /// The assembled text without version line and prefix.
    std::string Assemble(const RenderPass& pass) {
        const HeapText text = AssemblePassSource(document_.get(), context_.get(), &pass);
        EXPECT_EQ(context_->virtualCount, 0);
        EXPECT_EQ(context_->virtualIncludes[0].text, nullptr);
        EXPECT_TRUE(std::string_view(text.get()).starts_with(prefix_));
        return text.get() + prefix_.size();
    }

    /// The message about an Image that is not assembled, or about a log line.
    std::string Message(std::string_view common, std::string_view image, std::string_view log = {}) {
        Add(PassKind::Common, common);
        LineMap lines;
        const HeapText text =
            AssemblePassSource(document_.get(), context_.get(), &Add(PassKind::Image, image), &lines);
        return text ? MapInfoLog("Image", log, text.get(), lines).at(0) : AssemblyFailure("Image", lines);
    }

    HeapRecord<ShaderDocument> document_ = NewHeapRecord<ShaderDocument>();
    HeapRecord<IncludeContext> context_ = NewHeapRecord<IncludeContext>();
    std::string prefix_, imageMain_, cubeMain_;
};

// Shaders may rely on every byte.
TEST_F(PassSource, KeepsTheModulesOwnTexts) {
    for (const auto& [text, expected] :
         {std::pair(prefix_, 0x001E7852U), {imageMain_, 0xD09D71A7U}, {cubeMain_, 0xA16B51FEU}}) {
        std::uint32_t hash = 0x811C9DC5;  // FNV-1a
        for (const char byte : text) {
            hash = (hash ^ static_cast<std::uint8_t>(byte)) * 0x1000193;
        }
        EXPECT_EQ(hash, expected) << text;
    }
}

TEST_F(PassSource, DeclaresChannelsUnlessTheirTypeIsUnknown) {
    RenderPass& pass = Add(PassKind::Image, "i");
    pass.inputs[0].ctype = ChannelType::Volume;
    pass.inputs[1].ctype = static_cast<ChannelType>(9);
    pass.inputs[3].ctype = static_cast<ChannelType>(0xFFFFFFFF);
    EXPECT_EQ(Assemble(pass), "uniform sampler3D iChannel0;\n1;\n3;\n\ni\n" + imageMain_);
}

TEST_F(PassSource, JoinsThePiecesOfEachPassKind) {
    const std::string common = "#define BEGIN {\n#define END }\n";
    Add(PassKind::Common, "#define BEGIN {\r\n#define END }\n\r\r");
    for (std::uint32_t slot = 2; slot < kPassSlots; ++slot) {
        const auto kind = static_cast<PassKind>(slot);
        EXPECT_EQ(Assemble(Add(kind, "void f() BEGIN\rEND\n\n\n")),
                  common + "void f() BEGIN\nEND\n" + (kind == PassKind::CubeA ? cubeMain_ : imageMain_));
    }
    EXPECT_EQ(Assemble(document_->passes[0]), common + "\n" + imageMain_);
    EXPECT_EQ(Assemble(document_->passes[1]), common + imageMain_);
    EXPECT_FALSE(AssemblePassSource(nullptr, context_.get(), &document_->passes[1]) ||
                 AssemblePassSource(document_.get(), context_.get(), nullptr));
}

// Every line of these texts states its own position; directives around them are dropped or nested.
TEST_F(PassSource, MapsEveryLineToItsOrigin) {
    LineMap lines;
    for (std::uint32_t stale = 1000; stale < 1100; ++stale) {
        lines.Begin(stale, lines.AddSource("of an earlier run"), 1);
    }
    RegisterVirtualInclude(*context_, L"d", ExactText("d:1\n#include \"e\"\n#include \"e\"\nd:4\n"));
    RegisterVirtualInclude(*context_, L"e", ExactText("\ne:2"));
    Add(PassKind::Common,
        "Common:1\n#include \"gone\"\nCommon:3\n/* Common:4\n#include \"gone\" Common:5\n*/ Common:6\n");
    const RenderPass& pass =
        Add(PassKind::Image, "#include \"Common\"\n#include \"d\"\nImage:3\n\n\nImage:6\n#include \"gone\"");
    std::istringstream text(AssemblePassSource(document_.get(), context_.get(), &pass, &lines).get());
    std::uint32_t number = 0;
    std::string found, place;
    for (std::string line; std::getline(text, line);) {
        const std::optional<SourceLine> origin = lines.Find(++number);
        ASSERT_TRUE(origin) << line;
        place = origin->source + ":" + std::to_string(origin->line);
        found += line.ends_with(place) ? place + " " : "";
    }
    EXPECT_EQ(found, "Common:1 Common:3 Common:4 Common:5 Common:6 d:1 e:2 d:4 Image:3 Image:6 ");
    EXPECT_EQ(lines.Find(1)->source, "PREFIX");
    EXPECT_EQ(place, "SUFFIX:10") << "the last line";
}

// The version line and the prefix have 33 lines, Common begins at 34. At `#line`, drivers count afresh.
TEST_F(PassSource, NamesTheAuthorsLineOfLogLinesAndRefusedIncludes) {
    std::string names, manyLines;
    for (int i = 0; i <= 1000; ++i) {
        names += i < kIncludeEntries - 4 ? "#include \"n" + std::to_string(i) + "\"\n" : "";
        manyLines += "#line 500\n";
    }
    const std::string after = "Image: after the end of Image (a brace may be missing): ";
    const std::string cut = " (the driver may end the text at the non-ASCII character in ";
    const std::tuple<std::string, std::string, const char*, std::string> cases[] = {
        {"", "x\n  #include \"a\"", "", "Image:2: #include is indented; it must begin in column one"},
        {"", "#include <a>", "", "Image:1: #include <...> is not supported; put the name in double quotes"},
        {"x\n\n#include a", "", "", "Image: Common:3: #include needs a name in double quotes"},
        {"", "#include \"a", "", "Image:1: the name of #include has no closing quote"},
        {"", "#include \"" + std::string(300, '\n') + "\"", "",
         "Image:1: the name of #include has no closing quote"},
        {"", "#include \"" + std::string(260, 'a') + "\"", "",
         "Image:1: the name of #include is longer than 259 characters"},
        {"", "/*\n#include \"a\" */ x", "", "Image:2: a comment ends in the line of this #include"},
        {"", names + "#include \"N1\"\n#include \"gone\"\n#include \"N2\"", "",
         "Image:63: too many #include names (at most 64, four of them the module's own)"},
        {"", manyLines, "0:35(1): error: x", "Image: 0:35(1): error: x"},
        {"", "#line 40 5\na\n#line 50\nb", "ERROR: 5:50: x", "Image:4: ERROR: x"},
        {"", "#if 1\n#line 40 5\n#endif\n#line 50\nb", "ERROR: 5:50: x", "Image: ERROR: 5:50: x"},
        {"", "a\n#line 100 0\nb\nc", "0:101(3): error: x", "Image:4:3: error: x"},
        {"", "a\n#line 100\nb\nc", "0:35(3): error: x", "Image:1:3: error: x"},
        {"#line 7\nx", "a\nb", "0:7(1): error: x", "Image: Common:2:1: error: x"},
        {"#line 7\nx", "a\nb", "0(9) : error: x", "Image:2: error: x"},
        {"", "#line 40 5\na", "5:40(1): error: x", "Image:2:1: error: x"},
        {"", "#line 40 5\na", "0:40(1): error: x", "Image:2:1: error: x"},
        {"", "#line 40 5\na", "ERROR: 5:40: x", "Image:2: ERROR: x"},
        {"", "#line 40 5\na", "ERROR: 0:40: x", "Image: ERROR: 0:40: x"},
        {"#line 10\nc", "#line 10\na", "0:10(1): error: two places", "Image: 0:10(1): error: two places"},
        {"", "#define N 9\n#line N\na", "0:35(1): error: x", "Image: 0:35(1): error: x"},
        {"", "#line 010\na", "0:8(1): error: x", "Image: 0:8(1): error: x"},
        {"", "#line \\\n50\na", "0:50(1): error: x", "Image: 0:50(1): error: x"},
        {"", "#if 0\n#line 500\n#endif\na", "0:38(1): error: x", "Image:4:1: error: x"},
        {"", "#ifndef A\n#ifdef B\n#endif\n#line 38\n#endif\na", "0:39(1): x", "Image: 0:39(1): x"},
        {"", "#endif\n#line 36\na\nb", "0:37(1): error: x", "Image:4:1: error: x"},
        {"", "#if 1\n#line 36\n#endif\na", "0:37(1): error: x", "Image: 0:37(1): error: x"},
        {"", "/*\n#line 500\n*/\n// \\\n#line 600\na", "0:40(1): error: x", "Image:6:1: error: x"},
        {"", " # /* a */ line\t50 // b\na", "0:50(1): error: x", "Image:2:1: error: x"},
        {"", "char", "0:35(1): error: char_sYjan77j packed_sYjan77j", "Image:1:1: error: char packed"},
        {"/* \xE4 */\n// \xE4\n\xE4 b", "a", "error: fragment shader lacks `main'",
         "Image: error: fragment shader lacks `main'" + cut + "Common:3)"},
        {"", "a", "0:33(1): error: x", "Image: in the module's own lines before Image: error: x"},
        {"", "a", "0:37(1): error: syntax error", after + "error: syntax error"},
        {"", "#line 1\n/*", "0:12(1): error: unterminated", after + "error: unterminated"},
        {"", "a", "0:37(1): Syntax error", after + "Syntax error"},
        {"", "a", "0:45(1): error: x", after + "error: x"},
        {"", "a", "0:39(5): error: no main", "Image: in the module's own lines after Image: error: no main"},
        {"#include \"n7\"", "a", "WARNING: 0:35: b\r", "Image: n7:2: WARNING: b"},
        {"", "a", "0:35(2): warning: b: 0:35(2): c", "Image:1:2: warning: b: 0:35(2): c"},
        {"", "a", "0:35(4294967295): b", "Image:1:4294967295: b"},
        {"/*", "*/", "1: unexpected end of file", "Image: 1: unexpected end of file"},
        {"", "\\\n\xE4", "1: unexpected end of file", "Image: 1: unexpected end of file" + cut + "Image:1)"}};
    for (const auto& [common, image, log, message] : cases) {
        for (int i = 0; i < kIncludeEntries - 4; ++i) {
            RegisterVirtualInclude(*context_, L"n" + std::to_wstring(i), ExactText("\nb"));
        }
        EXPECT_EQ(Message(common, image, log), message) << common << image;
    }
    for (const std::string kept :
         {"2 errors generated.", "0:0(1): a", "0:35(", "0:-35(1): a", "0:4294967296(1): a", "1:35(1): a",
          "0(35) error", "ERROR: 0:", "ERROR: \xFF\x80"}) {
        EXPECT_EQ(Message("", "a", kept), "Image: " + kept);
    }
}

TEST(MapInfoLog, DropsEmptyLinesAndAllAfterAThousand) {
    std::string log = std::string("a\0b\0\n\r\n\n", 8) + "Image:\n";
    EXPECT_EQ(MapInfoLog("Image", log, "", LineMap()),
              (std::vector<std::string>{std::string("Image: a\0b", 10), "Image: Image:"}));
    for (int i = 2; i <= 1000; ++i) {
        log += "c\n";
    }
    const std::vector<std::string> bounded = MapInfoLog("Image", log, "", LineMap());
    EXPECT_EQ(bounded.size(), 1001U);
    EXPECT_EQ(bounded.back(), "Image: the rest of the driver's log is left out");
}

}  // namespace
}  // namespace pixelforge
