// Documents with faults, and texts made to hurt: each ends in one line that names the reason.
#include <gtest/gtest.h>

#include <chrono>
#include <cstring>

#include "tests/library/sample_document.h"

namespace pixelforge {
namespace {

using test::kSampleDocument;
using test::Read;
using test::ReadResult;
using test::ReadWith;
using test::Replaced;

struct Key {
    const char* text;  ///< the key and enough of its value to be found
    const char* path;
    const char* wanted;
};

constexpr Key kKeys[] = {
    {R"("Shader":{"ver)", "Shader", "an object"},
    {R"("ver":"0.1")", "Shader.ver", "a string"},
    {R"("info":{"id)", "Shader.info", "an object"},
    {R"("id":"MdX3Rr")", "Shader.info.id", "a string"},
    {R"("date":"1364860800")", "Shader.info.date", "a string"},
    {R"("viewed":12)", "Shader.info.viewed", "a number"},
    {R"("name":"Title")", "Shader.info.name", "a string"},
    {R"("username":"someone")", "Shader.info.username", "a string"},
    {R"("description":"Words")", "Shader.info.description", "a string"},
    {R"("likes":3)", "Shader.info.likes", "a number"},
    {R"("published":1,"flags)", "Shader.info.published", "a number"},
    {R"("flags":8)", "Shader.info.flags", "a number"},
    {R"("usePreview":2)", "Shader.info.usePreview", "a number"},
    {R"("tags":["a","b","c"])", "Shader.info.tags", "an array"},
    {R"("hasliked":4)", "Shader.info.hasliked", "a number"},
    {R"("renderpass":[{"inputs)", "Shader.renderpass", "an array"},
    {R"("inputs":[{"id)", "Shader.renderpass[0].inputs", "an array"},
    {R"("id":258)", "Shader.renderpass[0].inputs[0].id", "a number"},
    {R"("src":"/media/x.png")", "Shader.renderpass[0].inputs[0].src", "a string"},
    {R"("ctype":"buffer")", "Shader.renderpass[0].inputs[0].ctype", "a string"},
    {R"("channel":1)", "Shader.renderpass[0].inputs[0].channel", "a number"},
    {R"("sampler":{"filter)", "Shader.renderpass[0].inputs[0].sampler", "an object"},
    {R"("filter":"mipmap")", "Shader.renderpass[0].inputs[0].sampler.filter", "a string"},
    {R"("wrap":"repeat")", "Shader.renderpass[0].inputs[0].sampler.wrap", "a string"},
    {R"("vflip":"true")", "Shader.renderpass[0].inputs[0].sampler.vflip", "a string"},
    {R"("srgb":"false")", "Shader.renderpass[0].inputs[0].sampler.srgb", "a string"},
    {R"("internal":"byte")", "Shader.renderpass[0].inputs[0].sampler.internal", "a string"},
    {R"("code":"void f(){}")", "Shader.renderpass[0].code", "a string"},
    {R"("name":"Buffer A")", "Shader.renderpass[0].name", "a string"},
    {R"("type":"buffer"})", "Shader.renderpass[0].type", "a string"},
};

TEST(DocumentFaults, NameTheMissingOrWrongKey) {
    for (const Key& key : kKeys) {
        const std::string_view found = key.text;
        const std::string renamed = Replaced(found, "\"", "\"no ");
        const ReadResult missing = ReadWith(found, renamed);
        EXPECT_FALSE(missing.outcome.complete) << key.path;
        EXPECT_EQ(missing.outcome.error, key.path + std::string(": missing"));

        // The wrong value comes first, so it is the one that is found.
        const std::string name(found.substr(0, found.find(':') + 1));
        const ReadResult wrong = ReadWith(found, name + "true," + std::string(found));
        EXPECT_FALSE(wrong.outcome.complete) << key.path;
        EXPECT_EQ(wrong.outcome.error, key.path + std::string(": must be ") + key.wanted + ", is true");
    }
}

TEST(DocumentFaults, AreNamedInOneLine) {
    const struct {
        std::string text;
        const char* error;
    } cases[] = {
        {"", "line 1, column 1: The document is empty."},
        {"{\r\n\"a\": 1,\r \n  oops}", "line 4, column 3: Missing a name for object member."},
        {"{\"\xC3\xA4\":?}", "line 1, column 6: Invalid value."},
        {"{\"a\":1e999}", "line 1, column 6: Number too big to be stored in double."},
        {R"({"a":"\ud800"})", "line 1, column 7: The surrogate pair in string is invalid."},
        {R"({"a":"\udc00"})", "line 1, column 13: The surrogate pair in string is invalid."},
        {R"( {"Error":"Shader not found"})", "Shader: missing"},
        {R"({"ver":"0.1","renderpass":[]})",
         "Shader: missing; only documents of the form {\"Shader\":{...}} are read"},
        {Replaced(kSampleDocument, R"("0.1")", R"("first")"), "Shader.ver: invalid stof argument"},
        {Replaced(kSampleDocument, R"("0.1")", R"("1e99")"), "Shader.ver: stof argument out of range"},
        {Replaced(kSampleDocument, R"("b")", "2"), "Shader.info.tags[1]: must be a string, is a number"},
        {Replaced(kSampleDocument, "[{\"inputs", "[null,{\"inputs"),
         "Shader.renderpass[0]: must be an object, is null"},
        {Replaced(kSampleDocument, "[{\"id", "[[],{\"id"),
         "Shader.renderpass[0].inputs[0]: must be an object, is an array"},
    };
    for (const auto& each : cases) {
        const ReadResult result = Read(each.text);
        EXPECT_FALSE(result.outcome.complete) << each.text;
        EXPECT_EQ(result.outcome.error, each.error) << each.text;
    }
}

TEST(HostileText, IsRefusedWhereverItIsCut) {
    const std::string whole(kSampleDocument);
    for (std::size_t length = 0; length < whole.size(); ++length) {
        const ReadResult result = Read(whole.substr(0, length));
        EXPECT_FALSE(result.outcome.complete) << length;
        EXPECT_NE(result.outcome.error, "") << length;
    }
}

TEST(HostileText, SurvivesAnyByteAnywhere) {
    for (std::size_t at = 0; at < kSampleDocument.size(); ++at) {
        for (const char byte : {'"', '\\', '{', ']', '\x80', '\xED', '0', '\n'}) {
            std::string text(kSampleDocument);
            text[at] = byte;
            const ReadResult result = Read(text);
            EXPECT_EQ(result.outcome.complete, result.outcome.error.empty()) << text;
            EXPECT_EQ(result.outcome.error.find('\n'), std::string::npos) << text;
        }
    }
}

/// Sizes that would overflow a recursive parser or betray quadratic work.
TEST(HostileText, OfGreatSizeEndsQuickly) {
    constexpr std::size_t kMillion = 1'000'000;
    const std::string deep = std::string(kMillion, '[') + std::string(kMillion, ']');
    std::string wide = "1";
    for (std::size_t i = 0; i < kMillion; ++i) {
        wide += ",1";
    }
    const std::string line(50 * kMillion, 'x');
    const auto start = std::chrono::steady_clock::now();

    EXPECT_FALSE(Read(std::string(kMillion, '[')).outcome.complete);
    EXPECT_FALSE(Read(deep).outcome.complete);
    EXPECT_TRUE(ReadWith(R"("outputs":[])", R"("outputs":)" + deep).outcome.complete);
    EXPECT_EQ(ReadWith(R"(["a","b","c"])", '[' + wide + ']').outcome.error,
              "Shader.info.tags[0]: must be a string, is a number");
    const ReadResult large = ReadWith("void f(){}", line);
    EXPECT_TRUE(large.outcome.complete) << large.outcome.error;
    EXPECT_EQ(std::strlen(large.Pass(PassKind::BufferA).code.get()), line.size());

    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(60));
}

}  // namespace
}  // namespace pixelforge
