// What the reader makes of well-formed documents, key by key.
#include <gtest/gtest.h>

#include <array>
#include <cstring>

#include "tests/library/sample_document.h"

namespace pixelforge {
namespace {

using test::kSampleDocument;
using test::Read;
using test::ReadResult;
using test::ReadWith;
using test::Replaced;

TEST(DocumentReader, FillsEveryField) {
    const ReadResult result = Read(std::string(kSampleDocument));
    ASSERT_TRUE(result.outcome.complete) << result.outcome.error;
    EXPECT_EQ(result.outcome.error, "");
    const ShaderInfo& info = result.document->info;
    EXPECT_FLOAT_EQ(result.document->ver, 0.1f);
    EXPECT_STREQ(info.id, L"MdX3Rr");
    EXPECT_STREQ(info.date, L"1364860800");
    EXPECT_STREQ(info.name, L"Title");
    EXPECT_STREQ(info.username, L"someone");
    EXPECT_STREQ(info.description, L"Words");
    EXPECT_STREQ(info.tags, L"a, b, c");
    EXPECT_EQ(
        (std::array{info.viewed, info.likes, info.published, info.flags, info.usePreview, info.hasliked}),
        (std::array{12u, 3u, 1u, 8u, 2u, 4u}));

    const RenderPass& pass = result.Pass(PassKind::BufferA);
    EXPECT_EQ(pass.kind, PassKind::BufferA);
    EXPECT_STREQ(pass.code.get(), "void f(){}");
    const PassInput& input = pass.inputs[1];
    EXPECT_EQ(input.ctype, ChannelType::Buffer);
    EXPECT_EQ(input.channel, 1u);
    EXPECT_EQ(input.sourcePass, 3);
    EXPECT_STREQ(input.src, L"/media/x.png");
    EXPECT_EQ(input.sampler.filter, kFilterMipmap);
    EXPECT_EQ(input.sampler.wrap, kWrapRepeat);
    EXPECT_TRUE(input.sampler.vflip == 1 && input.sampler.srgb == 0 && input.sampler.internalByte == 1);
    EXPECT_EQ(pass.inputs[0].ctype, ChannelType::None);
    EXPECT_EQ(pass.channelResolution[1].width, 0.0f);
    EXPECT_EQ(result.Pass(PassKind::Image).kind, PassKind::Other);
}

TEST(DocumentReader, PutsPassesIntoTheirSlots) {
    const struct {
        const char* type;
        const char* name;
        std::uint32_t slot;
    } cases[] = {
        {"common", "any", 1},      {"buffer", "Buffer B", 3},     {"buffer", "Buffer D", 5},
        {"buffer", "Buf A", 2},    {"buffer", "Buf D", 5},        {"cubemap", "Cube A", 6},
        {"image", "Buffer A", 7},  {"cubemap", "Cubemap A", 6},   {"buffer", "Buffer E", 0},
        {"buffer", "buffer a", 0}, {"buffer", "Buffer A ", 0},    {"buffer", "Cube A", 0},
        {"cubemap", "Buf A", 0},   {"buffer", "Buf A\\u0000", 0}, {"", "", 0},
    };
    for (const auto& each : cases) {
        const ReadResult result = Read(Replaced(
            Replaced(kSampleDocument, R"("type":"buffer")", R"("type":")" + std::string(each.type) + '"'),
            "\"Buffer A\"", '"' + std::string(each.name) + '"'));
        ASSERT_TRUE(result.outcome.complete) << result.outcome.error;
        const RenderPass& pass = result.document->passes[each.slot];
        EXPECT_EQ(static_cast<std::uint32_t>(pass.kind), each.slot) << each.type << ' ' << each.name;
        EXPECT_STREQ(pass.code.get(), "void f(){}") << each.type << ' ' << each.name;
        EXPECT_EQ(pass.inputs[1].ctype, ChannelType::Buffer);
    }
}

TEST(DocumentReader, MapsChannelTypesAndIdentifiers) {
    const struct {
        const char* ctype;
        const char* id;
        std::uint32_t type;
        std::int32_t source;
    } cases[] = {
        {"texture", "257", 1, 0}, {"buffer", "257", 2, 2},   {"buffer", "258", 2, 3},
        {"buffer", "259", 2, 4},  {"buffer", "260", 2, 5},   {"buffer", "256", 2, 0},
        {"buffer", "261", 2, 0},  {"buffer", "259.9", 2, 4}, {"buffer", "1e300", 2, 0},
        {"buffer", "41", 2, 0},   {"cubemap", "41", 3, 6},   {"cubemap", "42", 4, 0},
        {"volume", "41", 5, 0},   {"keyboard", "33", 6, 0},  {"webcam", "31", 7, 0},
        {"audio", "1", 8, 0},     {"music", "1", 8, 0},      {"musicstream", "1", 8, 0},
        {"mic", "34", 8, 0},      {"video", "1", 0, 0},      {"", "257", 0, 0},
        {"Buffer", "257", 0, 0},
    };
    for (const auto& each : cases) {
        const ReadResult result = Read(Replaced(
            Replaced(kSampleDocument, R"("ctype":"buffer")", R"("ctype":")" + std::string(each.ctype) + '"'),
            R"({"id":258)", R"({"id":)" + std::string(each.id)));
        ASSERT_TRUE(result.outcome.complete) << result.outcome.error;
        const PassInput& input = result.Pass(PassKind::BufferA).inputs[1];
        EXPECT_EQ(static_cast<std::uint32_t>(input.ctype), each.type) << each.ctype << ' ' << each.id;
        EXPECT_EQ(input.sourcePass, each.source) << each.ctype << ' ' << each.id;
    }
}

TEST(DocumentReader, MapsSamplerTexts) {
    const struct {
        const char* from;
        const char* to;
        SamplerState expected;
    } cases[] = {
        {R"("mipmap")", R"("linear")", {kWrapRepeat, 9729, 1, 0, 1}},
        {R"("mipmap")", R"("nearest")", {kWrapRepeat, 9728, 1, 0, 1}},
        {R"("mipmap")", R"("none")", {kWrapRepeat, 9729, 1, 0, 1}},
        {R"("repeat")", R"("clamp")", {33071, 9987, 1, 0, 1}},
        {R"("repeat")", R"("mirror")", {33071, 9987, 1, 0, 1}},
        {R"("vflip":"true")", R"("vflip":"True")", {10497, 9987, 0, 0, 1}},
        {R"("srgb":"false")", R"("srgb":"true")", {10497, 9987, 1, 1, 1}},
        {R"("internal":"byte")", R"("internal":"float")", {10497, 9987, 1, 0, 0}},
    };
    for (const auto& each : cases) {
        const ReadResult result = ReadWith(each.from, each.to);
        ASSERT_TRUE(result.outcome.complete) << result.outcome.error;
        const SamplerState& sampler = result.Pass(PassKind::BufferA).inputs[1].sampler;
        EXPECT_EQ(std::memcmp(&sampler, &each.expected, sizeof(sampler)), 0) << each.to;
    }
}

TEST(DocumentReader, DropsInputsOfChannelsThatDoNotExist) {
    for (const char* number : {"4", "-1", "1e9", "-1e300", "4294967297"}) {
        const ReadResult result = ReadWith(R"("channel":1)", R"("channel":)" + std::string(number));
        ASSERT_TRUE(result.outcome.complete) << result.outcome.error;
        for (const PassInput& input : result.Pass(PassKind::BufferA).inputs) {
            EXPECT_EQ(input.ctype, ChannelType::None) << number;
        }
    }
}

TEST(DocumentReader, TruncatesAndSaturatesCounts) {
    for (const auto& [number, expected] : {std::pair("2.9", 2u),
                                           {"-5", 0u},
                                           {"-0.5", 0u},
                                           {"4294967295", 4294967295u},
                                           {"4294967296", 4294967295u},
                                           {"1e300", 4294967295u},
                                           {"18446744073709551616", 4294967295u}}) {
        const ReadResult result = ReadWith(R"("likes":3)", R"("likes":)" + std::string(number));
        ASSERT_TRUE(result.outcome.complete) << result.outcome.error;
        EXPECT_EQ(result.document->info.likes, expected) << number;
    }
}

TEST(DocumentReader, LetsTheLaterPassOfAKindWin) {
    const std::string sound = R"({"type":"sound"})";
    const std::string odd = R"({"type":"odd","code":"odd","inputs":[]})";
    const std::string twins = R"({"type":"buffer","name":"Buf A","code":"late","inputs":[]})";
    const ReadResult result = ReadWith("}]}}", "}," + twins + "," + sound + "," + odd + "]}}");
    ASSERT_TRUE(result.outcome.complete) << result.outcome.error;
    EXPECT_STREQ(result.Pass(PassKind::BufferA).code.get(), "late");
    EXPECT_EQ(result.Pass(PassKind::BufferA).inputs[1].ctype, ChannelType::None);
    EXPECT_STREQ(result.Pass(PassKind::Other).code.get(), "odd");
}

TEST(DocumentReader, KeepsTheBytesOfCode) {
    const std::pair<std::string_view, std::string_view> cases[] = {
        {"// \xC3\xA4 \xE2\x82\xAC \xF0\x9F\x98\x80", "// \xC3\xA4 \xE2\x82\xAC \xF0\x9F\x98\x80"},
        {"// \xE4 \x80 \x9F", "// \xE4 \x80 \x9F"},
        {"\\u00e4\\ud83d\\ude00", "\xC3\xA4\xF0\x9F\x98\x80"},
        {"\xE4\\u20ac\\u0416", "\xE4\x80?"},
        {R"(a\tb\r\nc\\\n\/\"\b\f)", "a\tb\r\nc\\\n/\"\b\f"},
        {"a\\u0000b", "a"},
        {"", ""},
    };
    for (const auto& [written, expected] : cases) {
        const ReadResult result = ReadWith("void f(){}", written);
        ASSERT_TRUE(result.outcome.complete) << result.outcome.error;
        EXPECT_EQ(std::string_view(result.Pass(PassKind::BufferA).code.get()), expected) << written;
    }
}

}  // namespace
}  // namespace pixelforge
