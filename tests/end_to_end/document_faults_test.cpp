// Documents that cannot be shown: each fails cleanly, says why, and leaves the module able to go on.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/end_to_end/module_run.h"

namespace pixelforge::test {
namespace {

using testing::HasSubstr;

const std::string kBlack = MainImage("c = vec4(0);");

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
    return text.replace(text.find(from), from.size(), to);
}

TEST(DocumentFaults, EachFailsOnEveryFrameAndSaysWhy) {
    const std::string good = DocumentBuilder().Image(kBlack).Json();
    const auto image = [](const std::string& code) { return DocumentBuilder().Image(code).Json(); };
    const struct {
        const char* what;
        std::string document;
        const char* words;  ///< part of what the module says
    } faults[] = {
        {"nothing", "", "empty"},
        {"no JSON", "hello", "brace"},
        {"the service's error document", "{\"Error\":\"Shader not found\"}", "error document"},
        {"cut in the middle", good.substr(0, good.size() / 2), "do not match"},
        {"a syntax error", Replaced(good, "\"ver\":", "\"ver\"="), "line 1"},
        {"a missing key", Replaced(good, "\"viewed\":1,", ""), "viewed"},
        {"a key of the wrong type", Replaced(good, "\"likes\":0", "\"likes\":\"0\""), "likes"},
        {"a version that is no number", Replaced(good, "\"0.1\"", "\"one\""), "stof"},
        {"the other form in which documents circulate", "[{\"info\":{},\"renderpass\":[]}]", "Shader"},
        {"a million brackets", std::string(1000000, '['), "do not match"},
        {"a million nested arrays", std::string(1000000, '[') + std::string(1000000, ']'), "Shader"},
        {"an error in the image", image("\n" + MainImage("c = vec4(\n  missing);")), "Image:5:"},
        {"an error in a buffer behind a dropped include",
         DocumentBuilder().Buffer('B', "#include \"nowhere\"\nfloat x = y;\n" + kBlack).Image(kBlack).Json(),
         "Buffer B:2:"},
        {"an error in Common", DocumentBuilder().Common("float a;\r\n\r\nfloat b = c;").Image(kBlack).Json(),
         "Common:3:"},
        {"a channel without an input", image(MainImage("c = texture(iChannel2, p);")), "iChannel2"},
        {"no entry function", image("float f() { return 1.0; }"), "mainImage"},
        {"a malformed include", image("#include <x>\n" + kBlack), "#include"},
        {"no code", image(""), "mainImage"},
    };
    for (const auto& fault : faults) {
        SCOPED_TRACE(fault.what);
        ModuleRun run(fault.document);
        EXPECT_EQ(run.Frame(), FrameResult::Failed);
        EXPECT_EQ(run.Frame(), FrameResult::Failed) << "a failed load is tried again";
        EXPECT_THAT(run.Words(), HasSubstr(fault.words));
        EXPECT_THAT(run.Words(), HasSubstr("cannot load a shader"));
    }
}

TEST(DocumentFaults, AfterAFaultTheNextGoodDocumentIsDrawn) {
    preview::HostWindow window(32, 24);
    RunOptions options;
    options.window = &window;
    for (int round = 0; round < 3; ++round) {
        ModuleRun bad(DocumentBuilder().Buffer('A', kBlack).Image("not GLSL").Json(), options);
        EXPECT_EQ(bad.Frame(), FrameResult::Failed);
        bad.Session().Close();
        ModuleRun good(DocumentBuilder().Image(MainImage("c = vec4(1);")).Json(), options);
        EXPECT_EQ(good.Frame(), FrameResult::Drawn) << good.Words();
        EXPECT_EQ(good.Pixel(0, 0), 0xFFFFFFu);
    }
}

TEST(DocumentFaults, ADocumentWithoutAnImagePassLoadsButDeliversNothing) {
    ModuleRun run(DocumentBuilder().Buffer('A', kBlack).Json());
    EXPECT_EQ(run.Frame(), FrameResult::Failed);
    EXPECT_EQ(run.Frame(), FrameResult::Failed);
    EXPECT_THAT(run.Words(), HasSubstr("Image"));
    EXPECT_THAT(run.Words(), testing::Not(HasSubstr("cannot load")));
}

TEST(DocumentFaults, FiftyMegabytesAreReadOrRefusedWithoutHarm) {
    const std::string good = DocumentBuilder().Image(MainImage("c = vec4(1);")).Json();
    ModuleRun sound(Replaced(good, "A test", std::string(50 << 20, 'x')));
    EXPECT_EQ(sound.Frame(), FrameResult::Drawn) << sound.Words();
    ModuleRun garbage(std::string(50 << 20, 'x'));
    EXPECT_EQ(garbage.Frame(), FrameResult::Failed);
}

}  // namespace
}  // namespace pixelforge::test
