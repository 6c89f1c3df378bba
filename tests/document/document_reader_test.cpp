// The check before parsing, how the reader handles each key, its error messages, and hostile input.
#include "document/document_reader.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <memory>
#include <regex>
#include <tuple>
#include <vector>

#include "base/load_error.h"
#include "document/usable_json.h"
#include "module/shader_loader.h"
#include "service/http_get.h"
#include "tests/support/temp_file.h"

namespace pixelforge {
namespace {

using testing::EndsWith;
using testing::HasSubstr;

/// A complete document of one pass.
const std::string kSample =
    R"({"Shader":{"ver":"0.1","info":{"id":"MdX3Rr","date":"1364860800","viewed":12,"name":"Title",)"
    R"("username":"someone","description":"Words","likes":3,"published":1,"flags":8,"usePreview":2,)"
    R"("tags":["a","b","c"],"hasliked":4},"renderpass":[{"inputs":[{"id":258,"ctype":"buffer",)"
    R"("src":"/media/x.png","channel":1,"sampler":{"filter":"mipmap","wrap":"repeat","vflip":"true",)"
    R"("srgb":"false","internal":"byte"},"published":1}],"outputs":[],"code":"void f(){}",)"
    R"("description":"","type":"buffer","name":"Buffer A"}]}})";

/// The sample with the first occurrence of `from`, which must exist, replaced.
std::string SampleWith(std::string_view from, std::string_view to) {
    std::string text = kSample;
    return text.replace(text.find(from), from.size(), to);
}

struct ReadResult {
    std::unique_ptr<ShaderDocument> document = std::make_unique<ShaderDocument>();
    std::string error;  ///< one line if reading failed

    const RenderPass& Pass(PassKind kind) const { return document->passes[static_cast<std::uint32_t>(kind)]; }
    const PassInput& Input() const { return Pass(PassKind::BufferA).inputs[1]; }
};

ReadResult Read(const std::string& text) {
    ReadResult result;
    result.error = FailureOf([&] { ReadShaderDocument(text.c_str(), *result.document); });
    return result;
}

/// Reads a text that must be valid.
ReadResult ReadAll(const std::string& text) {
    ReadResult result = Read(text);
    EXPECT_EQ(result.error, "") << text.substr(0, 1000);
    return result;
}

TEST(UsableJson, FindsFaultsAndTruncatesInPlace) {
    using enum JsonTextFault;
    // A usable text is truncated at the bar.
    const std::pair<JsonTextFault, std::vector<std::string>> cases[] = {
        {None,
         {" \n[1]| trailing, words", "{}{}| x", R"({"a":"}]{["}| x)", R"({"a":"\"}"}| x)", R"({"a":"\\"}| x)",
          R"({}| \} x)", R"({}|"x")", R"( {"Error":"Shader not found"}|)"}},
        {Empty, {"", " \t\r\n\v\f"}},
        {ServiceError, {R"({"Error":"Shader not found"})"}},
        {ByteOrderMark, {"\xEF\xBB\xBF{}", "\xFF\xFE{"}},
        {NoBrace, {"<html>{}</html>"}},
        {Unbalanced, {"[{]", "{}}", "[]{]", R"({} ")", R"({"a":"b\"})"}}};
    for (const auto& [fault, texts] : cases) {
        for (const std::string& marked : texts) {
            std::string text = marked;
            std::erase(text, '|');
            EXPECT_EQ(CheckJsonText(text.data()), fault) << marked;
            EXPECT_EQ(text.c_str(), marked.substr(0, marked.find('|')));
        }
    }
}

TEST(DocumentReader, FillsEveryField) {
    const ReadResult result = ReadAll(kSample);
    const ShaderInfo& info = result.document->info;
    EXPECT_FLOAT_EQ(result.document->ver, 0.1F);
    EXPECT_EQ(std::wstring(info.id) + L"|" + info.date + L"|" + info.name + L"|" + info.username + L"|" +
                  info.description + L"|" + info.tags + L"|" + result.Input().src,
              L"MdX3Rr|1364860800|Title|someone|Words|a, b, c|/media/x.png");
    EXPECT_EQ((std::vector{info.viewed, info.likes, info.published, info.flags, info.usePreview,
                           info.hasliked, result.Input().channel}),
              (std::vector{12u, 3u, 1u, 8u, 2u, 4u, 1u}));
    EXPECT_EQ(result.Pass(PassKind::BufferA).inputs[0].ctype, ChannelType::None);
    EXPECT_EQ(result.Pass(PassKind::Image).kind, PassKind::Other);
}

TEST(DocumentReader, ConvertsVersionsLikeStof) {
    const std::pair<const char*, const char*> cases[] = {
        {" \\t\\n0.5", "0.5"}, {"+2", "2"},    {"-.5e1x", "-5"},      {"0x1p-1", "0.5"}, {"1.", "1"},
        {"1\\u00002", "1"},    {"inf", "inf"}, {"-INFINITY", "-inf"}, {"0e99", "0"},     {"nan", "nan"}};
    for (const auto& [version, expected] : cases) {
        const float ver = ReadAll(SampleWith("0.1", version)).document->ver;
        EXPECT_EQ(testing::PrintToString(ver), expected) << version;
    }
}

TEST(DocumentReader, StoresPassesInTheirSlots) {
    const std::tuple<std::string, std::string, std::uint32_t> cases[] = {
        {"common", "any", 1},        {"buffer", "Buffer A", 2},
        {"buffer", "Buffer B", 3},   {"buffer", "Buffer C", 4},
        {"buffer", "Buffer D", 5},   {"buffer", "Buf A", 2},
        {"buffer", "Buf B", 3},      {"buffer", "Buf C", 4},
        {"buffer", "Buf D", 5},      {"cubemap", "Cube A", 6},
        {"cubemap", "Cubemap A", 6}, {"image", "Buffer A", 7},
        {"buffer", "buffer a", 0},   {"buffer", "Buf A\\u0000", 0},
        {"buffer", "Cube A", 0},     {"", "", 0}};
    for (const auto& [type, name, slot] : cases) {
        const std::string keys = R"("type":")" + type + R"(","name":")" + name + '"';
        const ReadResult result = ReadAll(SampleWith(R"("type":"buffer","name":"Buffer A")", keys));
        const RenderPass& pass = result.document->passes[slot];
        EXPECT_EQ(static_cast<std::uint32_t>(pass.kind), slot) << keys;
        EXPECT_STREQ(pass.code.get(), "void f(){}") << keys;
        EXPECT_EQ(pass.inputs[1].ctype, ChannelType::Buffer) << keys;
    }
}

TEST(DocumentReader, MapsChannelTypesAndIdentifiers) {
    const std::tuple<std::string, std::string, std::uint32_t, std::int32_t> cases[] = {
        {"257", "texture", 1, 0},   {"257", "buffer", 2, 2}, {"260", "buffer", 2, 5},
        {"256", "buffer", 2, 0},    {"261", "buffer", 2, 0}, {"41", "buffer", 2, 0},
        {"41", "cubemap", 3, 6},    {"42", "cubemap", 4, 0}, {"41", "volume", 5, 0},
        {"33", "keyboard", 6, 0},   {"31", "webcam", 7, 0},  {"1", "audio", 8, 0},
        {"1", "musicstream", 8, 0}, {"1", "music", 8, 0},    {"34", "mic", 8, 0},
        {"1", "video", 0, 0},       {"257", "Buffer", 0, 0}, {"259.9", "buffer", 2, 4},
        {"1e300", "buffer", 2, 0}};
    for (const auto& [id, ctype, type, source] : cases) {
        const std::string keys = R"("id":)" + id + R"(,"ctype":")" + ctype + '"';
        const ReadResult result = ReadAll(SampleWith(R"("id":258,"ctype":"buffer")", keys));
        EXPECT_EQ(static_cast<std::uint32_t>(result.Input().ctype), type) << keys;
        EXPECT_EQ(result.Input().sourcePass, source) << keys;
    }
}

TEST(DocumentReader, MapsSamplerTexts) {
    const std::tuple<const char*, const char*, SamplerState> cases[] = {
        {"mipmap", "mipmap", {10497, 9987, 1, 0, 1}},  {"mipmap", "linear", {10497, 9729, 1, 0, 1}},
        {"mipmap", "nearest", {10497, 9728, 1, 0, 1}}, {"mipmap", "none", {10497, 9729, 1, 0, 1}},
        {"repeat", "clamp", {33071, 9987, 1, 0, 1}},   {"repeat", "mirror", {33071, 9987, 1, 0, 1}},
        {"true", "True", {10497, 9987, 0, 0, 1}},      {"false", "true", {10497, 9987, 1, 1, 1}},
        {"byte", "float", {10497, 9987, 1, 0, 0}}};
    for (const auto& [from, to, expected] : cases) {
        const ReadResult result = ReadAll(SampleWith(from, to));
        EXPECT_EQ(std::memcmp(&result.Input().sampler, &expected, sizeof(expected)), 0) << to;
    }
}

TEST(DocumentReader, DropsInvalidChannelsAndSaturatesCounts) {
    EXPECT_EQ(ReadAll(SampleWith(R"("channel":1)", R"("channel":0)")).Pass(PassKind::BufferA).inputs[0].ctype,
              ChannelType::Buffer);
    for (const std::string number : {"4", "-1", "1e9", "-1e300", "4294967297"}) {
        const ReadResult result = ReadAll(SampleWith(R"("channel":1)", R"("channel":)" + number));
        for (const PassInput& input : result.Pass(PassKind::BufferA).inputs) {
            EXPECT_EQ(input.ctype, ChannelType::None) << number;
        }
    }
    for (const auto& [number, expected] :
         {std::pair("2.9", 2u), {"-0.5", 0u}, {"-1e300", 0u}, {"18446744073709551616", 4294967295u}}) {
        const ReadResult result = ReadAll(SampleWith(R"("likes":3)", R"("likes":)" + std::string(number)));
        EXPECT_EQ(result.document->info.likes, expected) << number;
    }
}

TEST(DocumentReader, KeepsTheLastPassOfAKind) {
    const ReadResult result = ReadAll(
        SampleWith("}]}}", R"(},{"type":"buffer","name":"Buf A","code":"late","inputs":[]},{"type":"sound"},)"
                           R"({"type":"odd","code":"odd","inputs":[]}]}})"));
    EXPECT_STREQ(result.Pass(PassKind::BufferA).code.get(), "late");
    EXPECT_EQ(result.Input().ctype, ChannelType::None);
    EXPECT_STREQ(result.Pass(PassKind::Other).code.get(), "odd");
}

TEST(DocumentReader, KeepsTheBytesOfCode) {
    const std::pair<std::string_view, std::string_view> cases[] = {
        {"// \xC3\xA4 \xE2\x82\xAC \xF0\x9F\x98\x80", "// \xC3\xA4 \xE2\x82\xAC \xF0\x9F\x98\x80"},
        {"// \xE4 \x80 \x9F", "// \xE4 \x80 \x9F"},
        {"\\u00e4\\ud83d\\ude00", "\xC3\xA4\xF0\x9F\x98\x80"},
        {"\xE4\\u20ac\\u0416", "\xE4\x80?"},
        {R"(a\tb\r\nc\\\n\/\"\b\f)", "a\tb\r\nc\\\n/\"\b\f"},
        {"a\\u0000b", "a"}};
    for (const auto& [written, expected] : cases) {
        const ReadResult result = ReadAll(SampleWith("void f(){}", written));
        EXPECT_EQ(std::string_view(result.Pass(PassKind::BufferA).code.get()), expected) << written;
    }
}

/// Renames each key of the sample, then inserts a duplicate with a value of the wrong type before it.
TEST(DocumentFaults, NameTheMissingOrWrongKey) {
    const std::size_t unread[] = {kSample.rfind("\"published"), kSample.rfind("\"description"),
                                  kSample.find("\"outputs")};
    const std::regex keys(R"re("(\w+)":)re");
    int read = 0;
    for (std::sregex_iterator key(kSample.begin(), kSample.end(), keys), end; key != end; ++key) {
        const auto at = static_cast<std::size_t>(key->position());
        const ReadResult missing = Read(std::string(kSample).insert(at + 1, "no "));
        const ReadResult wrong = Read(std::string(kSample).insert(at, key->str() + "true,"));
        if (std::ranges::find(unread, at) != std::end(unread)) {
            EXPECT_EQ(missing.error + wrong.error, "") << key->str();
            continue;
        }
        EXPECT_THAT(missing.error, EndsWith(key->str(1) + ": missing"));
        EXPECT_THAT(wrong.error, AllOf(HasSubstr(key->str(1) + ": must be "), EndsWith(", not true")));
        ++read;
    }
    EXPECT_EQ(read, 30);
}

TEST(DocumentFaults, AreReportedInOneLine) {
    const char* const form = "Shader: missing; only documents of the form {\"Shader\":{...}} are supported";
    const std::pair<std::string, const char*> cases[] = {
        {"", "line 1, column 1: The document is empty."},
        {"{\r\n\"a\": 1,\r \n  oops}", "line 4, column 3: Missing a name for object member."},
        {"{\"\xC3\xA4\":?}", "line 1, column 6: Invalid value."},
        {"{\"a\":1e999}", "line 1, column 6: Number too big to be stored in double."},
        {R"({"a":"\udc00"})", "line 1, column 13: The surrogate pair in string is invalid."},
        {R"({"ver":"0.1","renderpass":[]})", form},
        {"[{}]", form},
        {R"({"renderpass":[],"Shader":{}})", "Shader.ver: missing"},
        {"1", "Shader: missing"},
        {SampleWith("0.1", ""), "Shader.ver: invalid stof argument"},
        {SampleWith("0.1", " ."), "Shader.ver: invalid stof argument"},
        {SampleWith(R"("b")", "2"), "Shader.info.tags[1]: must be a string, not a number"},
        {SampleWith("[{\"inputs", "[null,{\"inputs"), "Shader.renderpass[0]: must be an object, not null"},
        {SampleWith("wrap", "w"), "Shader.renderpass[0].inputs[0].sampler.wrap: missing"}};
    for (const auto& [text, error] : cases) {
        EXPECT_EQ(Read(text).error, error) << text;
    }
    for (const char* version : {"1e99", "-1e39", "1e-40", "1e-99"}) {
        EXPECT_EQ(Read(SampleWith("0.1", version)).error, "Shader.ver: stof argument out of range");
    }
}

/// Large enough to overflow the stack of a recursive parser, and to time out if any step is quadratic.
TEST(HostileText, HugeInputIsReadInLinearTime) {
    constexpr std::size_t kMillion = 1'000'000;
    const std::string deep = std::string(kMillion, '[') + std::string(kMillion, ']');
    std::string wide = "1";
    std::string members = R"("":1)";
    for (std::size_t i = 0; i < kMillion; ++i) {
        wide += ",1";
        members += R"(,"":1)";
    }
    EXPECT_NE(Read(deep).error, "");
    EXPECT_EQ(Read(SampleWith(R"("outputs":[])", R"("outputs":)" + deep)).error, "");
    EXPECT_EQ(Read(SampleWith(R"("c")", wide)).error, "Shader.info.tags[2]: must be a string, not a number");
    for (const std::string& tooMany : {"[" + wide + "," + wide + "]", "{" + members + "}"}) {
        EXPECT_EQ(Read(tooMany).error, "more than 1048576 JSON values");
    }
    const ReadResult large = ReadAll(SampleWith("void f(){}", std::string(50 * kMillion, 'x')));
    EXPECT_EQ(std::strlen(large.Pass(PassKind::BufferA).code.get()), 50 * kMillion);
    const ReadResult exact = ReadAll(SampleWith("0.1", "0." + std::string(50 * kMillion, '1')));
    EXPECT_NEAR(exact.document->ver, 0.111, 0.001);
}

/// The refused names form no valid URL, so nothing is requested. The double separator and the device prefix
/// would open the good file. NUL bytes after a document end its text.
TEST(LoadShaderById, ReadsAFileUpToItsLastBraceOrReportsWhyNot) {
    const test::TempFile good("\r\n" + kSample + "\ntrailing words", L"-\u732B.json");
    const test::TempFile marked("\xEF\xBB\xBF{}");
    const test::TempFile large(kSample);
    const test::TempFile tooLarge(kSample);
    std::filesystem::resize_file(large.Path(), std::uintmax_t{64} << 20);
    std::filesystem::resize_file(tooLarge.Path(), (std::uintmax_t{64} << 20) + 1);
    const std::pair<std::wstring, const char*> cases[] = {
        {good.Path(), ""},
        {large.Path(), ""},
        {tooLarge.Path(), "the document is larger than 64 MiB"},
        {marked.Path(), "byte-order mark"},
        {L"", "local file"},
        {std::filesystem::temp_directory_path().wstring(), "local file"},
        {L"/" + good.Path(), "local file"},
        {L"\\\\.\\" + good.Path(), "local file"},
        {L"..", "local file"}};
    for (const auto& [name, expected] : cases) {
        const auto document = std::make_unique<ShaderDocument>();
        InternetSession session;
        std::string reason;
        const bool loaded = LoadShaderById(&session, name.c_str(), document.get(), reason);
        EXPECT_EQ(loaded, reason.empty() && document->passes[2].code);
        EXPECT_EQ(loaded, !*expected) << reason;
        EXPECT_THAT(reason, HasSubstr(expected));
    }
}

}  // namespace
}  // namespace pixelforge
