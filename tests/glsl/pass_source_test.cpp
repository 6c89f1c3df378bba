// Assembled texts, byte for byte.
#include "glsl/pass_source.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>

#include "glsl/line_map.h"
#include "tests/glsl/include_fixture.h"

namespace pixelforge {
namespace {

const std::string kPrefix =
    "#define HW_PERFORMANCE 1\n"
    "#define char char_sYjan77j\n"
    "#define packed packed_sYjan77j\n"
    "uniform vec3      iResolution;           // viewport resolution (in pixels)\n"
    "uniform float     iTime;                 // shader playback time (in seconds)\n"
    "uniform float     iTimeDelta;            // render time (in seconds)\n"
    "uniform int       iFrame;                // shader playback frame\n"
    "uniform float     iFrameRate;            // frames per second\n"
    "uniform float     iChannelTime[4];       // channel playback time (in seconds)\n"
    "uniform vec3      iChannelResolution[4]; // channel resolution (in pixels)\n"
    "uniform vec4      iMouse;                // mouse pixel coords. xy: current (if MLB down), zw: click\n"
    "uniform vec4      iDate;                 // (year, month, day, time in seconds)\n"
    "uniform float     iSampleRate;           // sound sample rate (i.e., 44100)\n"
    "\n"
    "#if __VERSION__ >= 420\n"
    "    out vec4 pf_FragColor;\n"
    "    vec4 pf_AssertColor = vec4(1e20);\n"
    "    #define gl_FragColor pf_FragColor\n"
    "#endif\n"
    "\n"
    "void pf_assert(bool cond, int v) {\n"
    "    if (!cond) {\n"
    "        if (v == 0) pf_AssertColor.x = -1.0;\n"
    "        else if (v == 1) pf_AssertColor.y = -1.0;\n"
    "        else if (v == 2) pf_AssertColor.z = -1.0;\n"
    "        else pf_AssertColor.w = -1.0;\n"
    "    }\n"
    "}\n"
    "\n"
    "void pf_assert(bool cond) {\n"
    "    if (!cond) pf_AssertColor.x = -1.0;\n"
    "}\n";

const std::string kImageMain =
    "void main(void)\n"
    "{\n"
    "    vec4 color = vec4(0.0);\n"
    "    mainImage(color, gl_FragCoord.xy);\n"
    "    if (pf_AssertColor.x < 0.0) color = vec4(1.0, 0.0, 0.0, 1.0);\n"
    "    if (pf_AssertColor.y < 0.0) color = vec4(0.0, 1.0, 0.0, 1.0);\n"
    "    if (pf_AssertColor.z < 0.0) color = vec4(0.0, 0.0, 1.0, 1.0);\n"
    "    if (pf_AssertColor.w < 0.0) color = vec4(1.0, 1.0, 0.0, 1.0);\n"
    "    gl_FragColor = color;\n"
    "}\n";

const std::string kCubeMain =
    "uniform vec3 cmCornerVertices[5];\n"
    "\n"
    "void main(void)\n"
    "{\n"
    "    vec4 color = vec4(1e20);\n"
    "    vec3 ro = cmCornerVertices[4];\n"
    "    vec2 uv = gl_FragCoord.xy / iResolution.xy;\n"
    "    vec3 rd = normalize( mix( mix( cmCornerVertices[0], cmCornerVertices[1], uv.x ),\n"
    "                              mix( cmCornerVertices[3], cmCornerVertices[2], uv.x ), uv.y ) - ro );\n"
    "    mainCubemap(color, gl_FragCoord.xy, ro, rd);\n"
    "    gl_FragColor = color;\n"
    "}\n";

class PassSource : public IncludeFixture {
protected:
    PassSource() { SetVersionLine(4, 6); }

    RenderPass& Add(PassKind kind, std::string_view code) {
        RenderPass& pass = document_->passes[static_cast<std::size_t>(kind)];
        pass.kind = kind;
        pass.code = CopyText(code);
        return pass;
    }
    /// The assembled text without version line and prefix, or "null".
    std::string Assemble(const RenderPass& pass) {
        const HeapText text = AssemblePassSource(document_.get(), context_.get(), &pass);
        EXPECT_EQ(context_->virtualCount, 0);
        EXPECT_EQ(context_->virtualIncludes[0].text, nullptr);
        EXPECT_STREQ(context_->virtualIncludes[0].name, L"");
        const std::string start = "#version 460\n" + kPrefix;
        if (!text) {
            return "null";
        }
        EXPECT_EQ(std::string_view(text.get()).substr(0, start.size()), start);
        return std::string(text.get()).substr(start.size());
    }

    HeapRecord<ShaderDocument> document_ = NewHeapRecord<ShaderDocument>();
};

TEST_F(PassSource, DeclaresEachChannelType) {
    const char* const types[] = {"uniform sampler2D",   "uniform sampler2D", "uniform samplerCube",
                                 "uniform samplerCube", "uniform sampler3D", "uniform sampler2D",
                                 "uniform sampler2D",   "uniform sampler2D"};
    RenderPass& pass = Add(PassKind::Image, "i");
    EXPECT_EQ(Assemble(pass), "\ni\n" + kImageMain);
    for (std::uint32_t i = 0; i < std::size(types); ++i) {
        const std::uint32_t channel = i % kChannels;
        pass.inputs[channel].ctype = static_cast<ChannelType>(i + 1);
        EXPECT_EQ(Assemble(pass),
                  std::string(types[i]) + " iChannel" + std::to_string(channel) + ";\n\ni\n" + kImageMain);
        pass.inputs[channel].ctype = ChannelType::None;
    }
    pass.inputs[0].ctype = ChannelType::Volume;
    pass.inputs[1].ctype = static_cast<ChannelType>(9);
    pass.inputs[3].ctype = static_cast<ChannelType>(0xFFFFFFFF);
    EXPECT_EQ(Assemble(pass), "uniform sampler3D iChannel0;\n1;\n3;\n\ni\n" + kImageMain);
}

TEST_F(PassSource, JoinsThePiecesOfEachPassKind) {
    Add(PassKind::Common, "#define BEGIN {\r\n#define END }\n\r\r");
    for (std::uint32_t slot = 2; slot < kPassSlots; ++slot) {
        const auto kind = static_cast<PassKind>(slot);
        const RenderPass& pass = Add(kind, "void f() BEGIN\rEND\n\n\n");
        EXPECT_EQ(Assemble(pass), "#define BEGIN {\n#define END }\nvoid f() BEGIN\nEND\n" +
                                      (kind == PassKind::CubeA ? kCubeMain : kImageMain))
            << slot;
    }
    const RenderPass& sound = document_->passes[0];
    EXPECT_EQ(Assemble(sound), "#define BEGIN {\n#define END }\n\n" + kImageMain);
    const RenderPass& common = document_->passes[1];
    EXPECT_EQ(Assemble(common), "#define BEGIN {\n#define END }\n" + kImageMain);
}

TEST_F(PassSource, ExpandsIncludesOfTheAuthor) {
    const RenderPass& pass =
        Add(PassKind::Image, "#include \"Common\"\n#include \"buffer a\"\n/*\n#include \"x\"\n*/");
    Add(PassKind::Common, "c\n#include \"IMAGE\"\n");
    EXPECT_EQ(Assemble(pass), "c\n/*\n#include \"x\"\n*/\n/*\n#include \"x\"\n*/\n" + kImageMain);
}

TEST_F(PassSource, IsNullWhenItCannotBeMade) {
    const RenderPass& pass = Add(PassKind::Image, " #include \"Common\"");
    EXPECT_EQ(Assemble(pass), "null");
    for (int i = 0; i < kIncludeEntries - 3; ++i) {
        Register(L"taken", "x");
    }
    EXPECT_EQ(Assemble(Add(PassKind::Image, "i")), "null");
    EXPECT_EQ(AssemblePassSource(nullptr, context_.get(), &pass), nullptr);
    EXPECT_EQ(AssemblePassSource(document_.get(), nullptr, &pass), nullptr);
    EXPECT_EQ(AssemblePassSource(document_.get(), context_.get(), nullptr), nullptr);
}

TEST_F(PassSource, MapsItsLinesToTheAuthorsTexts) {
    Add(PassKind::Common, "#include \"unknown\"\ncommon 2");
    const RenderPass& pass = Add(PassKind::BufferC, "buffer 1\n\n#include \"unknown\"\nbuffer 4");
    LineMap lines;
    lines.Begin(3, lines.AddSource("of an earlier run"), 1);
    const HeapText text = AssemblePassSource(document_.get(), context_.get(), &pass, &lines);
    const std::string whole = text.get();
    const auto originOf = [&](std::string_view piece) {
        const auto before = whole.begin() + static_cast<std::ptrdiff_t>(whole.find(piece));
        const auto line = static_cast<std::uint32_t>(1 + std::count(whole.begin(), before, '\n'));
        const std::optional<SourceLine> origin = lines.Find(line);
        return origin ? origin->source + ":" + std::to_string(origin->line) : "nothing";
    };
    EXPECT_EQ(originOf("#version"), "PREFIX:1");
    EXPECT_EQ(originOf("uniform float     iTime;"), "PREFIX:6");
    EXPECT_EQ(originOf("common 2"), "Common:2");
    EXPECT_EQ(originOf("buffer 1"), "Buffer C:1");
    EXPECT_EQ(originOf("buffer 4"), "Buffer C:4");
    EXPECT_EQ(originOf("mainImage("), "SUFFIX:4");
}

}  // namespace
}  // namespace pixelforge
