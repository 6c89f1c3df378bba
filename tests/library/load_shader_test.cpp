// From a file to a document, and the reasons given when that fails.
#include "library/load_shader.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "library/internet_session.h"
#include "tests/library/sample_document.h"
#include "tests/support/temp_file.h"

namespace pixelforge {
namespace {

struct Loaded {
    bool loaded = false;
    std::string reason;
    ShaderDocument document = {};
};

std::unique_ptr<Loaded> Load(const std::wstring& name) {
    auto result = std::make_unique<Loaded>();
    InternetSession session;
    result->loaded = LoadShaderById(&session, name.c_str(), &result->document, result->reason);
    return result;
}

TEST(LoadShaderById, ReadsAnExistingFile) {
    const test::TempFile file("\r\n" + std::string(test::kSampleDocument) + "\ntrailing words",
                              L"-\u732B.json");
    const auto result = Load(file.Path());
    EXPECT_TRUE(result->loaded) << result->reason;
    EXPECT_EQ(result->reason, "");
    EXPECT_STREQ(result->document.info.name, L"Title");
    EXPECT_STREQ(result->document.passes[2].code.get(), "void f(){}");
}

TEST(LoadShaderById, GivesTheReason) {
    const std::pair<std::string, const char*> cases[] = {
        {"", "empty"},
        {"\xEF\xBB\xBF{}", "byte-order mark"},
        {"<html>", "does not begin with a brace"},
        {R"({"Error":"Shader not found"})", "error document of the service"},
        {std::string(test::kSampleDocument.substr(0, 300)), "cut short"},
        {std::string("{\0}", 3), "cut short"},
        {"{\"Shader\":}", "line 1, column 11"},
        {test::Replaced(test::kSampleDocument, R"("vflip")", R"("flip")"),
         "inputs[0].sampler.vflip: missing"},
    };
    for (const auto& [text, reason] : cases) {
        const auto result = Load(test::TempFile(text, L".json").Path());
        EXPECT_FALSE(result->loaded) << reason;
        EXPECT_NE(result->reason.find(reason), std::string::npos) << result->reason;
    }
}

/// An empty name and a folder have no address either, so nothing is requested.
TEST(LoadShaderById, AsksTheServiceForNamesWithoutAFile) {
    for (const std::wstring& name : {std::wstring(), std::filesystem::temp_directory_path().wstring()}) {
        const auto result = Load(name);
        EXPECT_FALSE(result->loaded);
        EXPECT_NE(result->reason.find("existing file"), std::string::npos) << result->reason;
        EXPECT_EQ(result->document.origin, DocumentOrigin::Service);
    }
}

}  // namespace
}  // namespace pixelforge
