// Which lines are expanded, where names are found, what makes a run fail, and the line map beside it.
#include "glsl/include_preprocessor.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <random>
#include <sstream>
#include <string>
#include <string_view>

#include "glsl/line_map.h"
#include "tests/glsl/include_fixture.h"

namespace pixelforge {
namespace {

namespace fs = std::filesystem;

class Preprocessor : public IncludeFixture {
protected:
    /// The expansion of a new run, or nothing when it fails.
    std::optional<std::string> Expand(const std::string& text, LineMap* lines = nullptr) {
        context_->includedCount = 0;
        GrowBuffer output;
        std::uint32_t line = 1;
        if (!PreprocessIncludes(*context_, text.c_str(), &output, line, 0, lines)) {
            return std::nullopt;
        }
        return std::string(reinterpret_cast<const char*>(output.data.get()), output.count);
    }
};

TEST_F(Preprocessor, ExpandsAndCopiesLineByLine) {
    const std::string longestName(259, 'n');
    std::string umlauts;
    for (int i = 0; i < 259; ++i) {
        umlauts += "\xC3\xA4";
    }
    const struct {
        const char* what;
        std::string text;
        std::optional<std::string> expected;
    } cases[] = {
        {"between lines", "a\n#include \"Common\"\nb", "a\nshared\nb"},
        {"a tab behind the keyword", "#include\t \"Common\" // x\nb", "shared\nb"},
        {"last line without a newline", "a\n#include \"Common\"", "a\nshared\n"},
        {"a letter or the quote behind the keyword", "#includes \"Common\"\n#include\"Common\"\n",
         "#includes \"Common\"\n#include\"Common\"\n"},
        {"unknown", "#include \"unknown\"\na\n", "a\n"},
        {"known but without a text", "#include \"Nothing\"\na\n", "a\n"},
        {"the same name twice", "#include \"Common\"\n#include \"Common\"\n", "shared\n"},
        {"the same text under another case", "#include \"common\"\n#include \"Common\"\n",
         "shared\nshared\n"},
        {"the longest name", "#include \"" + longestName + "\"\na", "a"},
        {"a longer name", "#include \"" + longestName + "n\"\na", std::nullopt},
        {"the longest name in UTF-16", "#include \"" + umlauts + "\"\na", "a"},
        {"a longer name in UTF-16", "#include \"" + umlauts + "\xC3\xA4\"\na", std::nullopt},
        {"a name found by its UTF-8 bytes", "#include \"\xC3\xA4\"\n", "umlaut\n"},
        {"a name found by its bytes of the code page", "#include \"\xE4\"\n", "umlaut\n"},
        {"indented", "  #include \"Common\"\n", std::nullopt},
        {"an open quote", "#include \"Common\n", std::nullopt},
        {"a malformed include in an included text", "#include \"Broken\"\n", std::nullopt},
    };
    Register(L"Common", "shared");
    Register(L"Broken", "#include Common");
    Register(L"\u00E4", "umlaut");
    RegisterVirtualInclude(*context_, L"Nothing", nullptr);
    for (const auto& c : cases) {
        EXPECT_EQ(Expand(c.text), c.expected) << c.what;
    }
}

TEST_F(Preprocessor, RecordsTheNamesOfARun) {
    Register(L"Outer", "1\n2\n#include \"Inner\"\n3\n");
    Register(L"Inner", "\n\n");
    ASSERT_EQ(Expand("0\n#include \"outer\"\n#include \"Unknown\"\n"), "0\n1\n2\n\n3\n");
    ASSERT_EQ(context_->includedCount, 2);
    const IncludedName& outer = context_->included[0];
    EXPECT_STREQ(outer.name, L"outer");
    EXPECT_EQ(outer.depth, 0U);
    EXPECT_EQ(outer.firstLine, 2U);
    EXPECT_EQ(outer.endLine, 6U);
    const IncludedName& inner = context_->included[1];
    EXPECT_EQ(inner.depth, 1U);
    EXPECT_EQ(inner.firstLine, 4U);
    EXPECT_EQ(inner.endLine, 5U);
}

TEST_F(Preprocessor, RefusesWhatTheTablesCannotHold) {
    std::string text;
    for (int i = 0; i < kIncludeEntries; ++i) {
        Register(L"n" + std::to_wstring(i), "x");
        text += "#include \"n" + std::to_string(i) + "\"\n";
    }
    EXPECT_FALSE(RegisterVirtualInclude(*context_, L"more", nullptr));
    EXPECT_EQ(Expand(text)->size(), 128U);
    EXPECT_TRUE(Expand(text + "#include \"unknown\"\n"));
    EXPECT_FALSE(Expand(text + "#include \"N0\"\n"));
    ClearVirtualIncludes(*context_);
    EXPECT_EQ(Expand(text), "");
}

class IncludeFiles : public Preprocessor {
protected:
    void SetUp() override {
        // The folder's separator is a plain character of the name where the system has another one.
        fs::create_directories(root_ / "folder");
        CopyCut(context_->includeFolder, (root_ / "folder").wstring());
    }
    void TearDown() override { fs::remove_all(root_); }

    void Write(const fs::path& path, std::string_view text) {
        std::ofstream(path, std::ios::binary).write(text.data(), static_cast<std::streamsize>(text.size()));
    }
    std::wstring InFolder(std::wstring_view name) {
        return std::wstring(context_->includeFolder) + L"\\" + std::wstring(name);
    }
    static std::string Directive(const fs::path& path) { return "#include \"" + path.string() + "\"\n"; }

    fs::path root_ = fs::temp_directory_path() / ("include_files_" + std::to_string(std::random_device{}()));
};

TEST_F(IncludeFiles, AreFoundAsWrittenThenInTheFolder) {
    const fs::path direct = root_ / "direct.glsl";
    Write(direct, "one\r\ntwo\rthree\n\n\n" + Directive(direct));
    EXPECT_EQ(Expand(Directive(direct)), "one\ntwo\nthree\n\n\n");
    Write(InFolder(L"inner.glsl"), "inner");
    EXPECT_EQ(Expand("#include \"inner.glsl\"\n#include \"inner.glsl\"\n"), "inner\n");
    EXPECT_EQ(context_->included[0].name, InFolder(L"inner.glsl"));
    Register(L"INNER.GLSL", "registered");
    EXPECT_EQ(Expand("#include \"inner.glsl\"\n"), "registered\n");
}

TEST_F(IncludeFiles, AreDroppedWhenEmptyRefusedOrOutOfReach) {
    Write(InFolder(L"empty.glsl"), "");
    Write(InFolder(L"zero.glsl"), std::string(3, '\0'));
    Write(InFolder(L"real.glsl."), "real");  // the same file as without the dot for some systems
    EXPECT_EQ(Expand("#include \"empty.glsl\"\n#include \"zero.glsl\"\n#include \"real.glsl.\"\n"), "\n");
    EXPECT_EQ(Expand("#include \"CON\"\n#include \"\\\\?\\C:\\x\"\n#include \"\"\n"), "");
    EXPECT_EQ(Expand("#include \"" + std::string(250, 'x') + "\"\n"), "");
}

// "inner.glsl" also lies in the current folder, where a stranger's text must not find it.
TEST_F(IncludeFiles, OfAStrangerComeByPlainNameFromTheFolderAlone) {
    const fs::path former = fs::current_path();
    fs::create_directories(root_ / "current");
    fs::current_path(root_ / "current");
    Write(root_ / "current" / "inner.glsl", "current");
    Write(root_ / "outer.glsl", "outer");
    const std::string all = "#include \"inner.glsl\"\n" + Directive(root_ / "outer.glsl") +
                            "#include \"../outer.glsl\"\n#include \"..\\outer.glsl\"\n";
    EXPECT_THAT(*Expand(all), testing::HasSubstr("current"));
    EXPECT_THAT(*Expand(all), testing::HasSubstr("outer"));
    context_->plainNamesOnly = true;
    EXPECT_EQ(Expand(all), "");
    Write(InFolder(L"inner.glsl"), "inner");
    EXPECT_EQ(Expand(all), "inner\n");
    Register(L"a/b", "registered");
    EXPECT_EQ(Expand("#include \"a/b\"\n"), "registered\n");
    fs::current_path(former);
}

// Every line of these texts says where it stands.
TEST_F(Preprocessor, MapsEveryLineToItsAuthorsText) {
    Register(L"Common", "Common:1\n#include \"gone\"\nCommon:3\n/*\n#include \"gone\"\n*/ Common:6\n");
    Register(
        L"Image",
        "#include \"gone\"\n#include \"deep\"\nImage:3\n#include \"Common\"\n\n\nImage:7\n#include \"gone\"");
    Register(L"deep", "deep:1\n#include \"deeper\"\n#include \"deeper\"\ndeep:4\n");
    Register(L"deeper", "\ndeeper:2");
    LineMap lines;
    std::istringstream text(Expand("#include \"Common\"\n#include \"Image\"\n", &lines).value());
    std::uint32_t number = 1;
    int found = 0;
    for (std::string said; std::getline(text, said); ++number) {
        const std::size_t colon = said.find(':');
        if (colon == std::string::npos) {
            continue;
        }
        const std::size_t blank = said.rfind(' ', colon) + 1;
        const std::optional<SourceLine> origin = lines.Find(number);
        ASSERT_TRUE(origin) << said;
        EXPECT_EQ(origin->source + ":" + std::to_string(origin->line), said.substr(blank));
        ++found;
    }
    EXPECT_EQ(found, 8);
    EXPECT_EQ(lines.Find(number)->source, "Image");
}

}  // namespace
}  // namespace pixelforge
