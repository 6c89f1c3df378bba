// Where included names are found, and what makes a run fail.
#include "glsl/include_preprocessor.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <random>
#include <string>

#include "tests/glsl/expansion.h"

namespace pixelforge {
namespace {

namespace fs = std::filesystem;

class Preprocessor : public testing::Test {
protected:
    /// std::nullopt if the run fails.
    std::optional<std::string> Expand(const std::string& text) {
        const ExpandedText result = ExpandedByProduct(*context_, text);
        return result.success ? std::optional(result.output) : std::nullopt;
    }
    void Register(std::wstring_view name, std::string_view text) {
        ASSERT_TRUE(RegisterVirtualInclude(*context_, name, CopyText(text)));
    }

    HeapRecord<IncludeContext> context_ = NewHeapRecord<IncludeContext>();
};

TEST_F(Preprocessor, FindsRegisteredTextsByName) {
    std::string umlauts;
    for (int i = 0; i < 259; ++i) {
        umlauts += "\xC3\xA4";
    }
    const struct {
        const char* what;
        std::string text;
        std::optional<std::string> expected;
    } cases[] = {
        {"between lines", "a\n#include\t \"Common\" // x\nb", "a\nshared\nb"},
        {"a letter or the quote right after the keyword", "#includes \"Common\"\n#include\"Common\"\n",
         "#includes \"Common\"\n#include\"Common\"\n"},
        {"registered without a text", "#include \"Nothing\"\na\n", "a\n"},
        {"the same text under a name of different case",
         "#include \"common\"\n#include \"Common\"\n#include \"Common\"\n", "shared\nshared\n"},
        {"a name of 259 UTF-16 units", "#include \"" + umlauts + "\"\na", "a"},
        {"a name of 260 UTF-16 units", "#include \"" + umlauts + "n\"\na", std::nullopt},
        {"a name in UTF-8", "#include \"\xC3\xA4\"\n", "umlaut\n"},
        {"a name in the ANSI code page", "#include \"\xE4\"\n", "umlaut\n"},
        {"indented", "  #include \"Common\"\n", std::nullopt},
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

TEST_F(Preprocessor, RefusesEntriesBeyondTheTables) {
    std::string text;
    for (int i = 0; i < kIncludeEntries; ++i) {
        Register(L"n" + std::to_wstring(i), "x");
        text += "#include \"n" + std::to_string(i) + "\"\n";
    }
    EXPECT_FALSE(RegisterVirtualInclude(*context_, L"more", nullptr));
    EXPECT_EQ(Expand(text + "#include \"unknown\"\n")->size(), 128U);
    EXPECT_FALSE(Expand(text + "#include \"N0\"\n"));
    ClearVirtualIncludes(*context_);
    EXPECT_EQ(Expand(text), "");
}

/// Files in the include folder, next to it, and in the current folder.
class IncludeFiles : public Preprocessor {
protected:
    void SetUp() override {
        fs::create_directories(root_ / "folder");
        fs::create_directories(root_ / "current");
        fs::current_path(root_ / "current");
        CopyCut(context_->includeFolder, (root_ / "folder").wstring());
    }
    void TearDown() override {
        fs::current_path(former_);
        fs::remove_all(root_);
    }

    static void Write(const fs::path& path, std::string_view text) {
        std::ofstream(path, std::ios::binary).write(text.data(), static_cast<std::streamsize>(text.size()));
    }
    /// On Linux the backslash is an ordinary character in a file name.
    void WriteInFolder(std::wstring_view name, std::string_view text) {
        Write(std::wstring(context_->includeFolder) + L"\\" + std::wstring(name), text);
    }

    fs::path former_ = fs::current_path();
    fs::path root_ = fs::temp_directory_path() / ("include_files_" + std::to_string(std::random_device{}()));
};

// Untrusted texts can include neither files in the current folder nor names with a path.
TEST_F(IncludeFiles, ResolveAsWrittenThenInTheFolderUntrustedOnlyInTheFolder) {
    Write("both.glsl", "current");
    Write("own.glsl", "one\r\ntwo\rthree\n\n\n#include \"own.glsl\"\n");
    Write(root_ / "outer.glsl", "outer");
    for (const wchar_t* name : {L"both.glsl", L"lib.glsl", L"known.glsl", L"real.glsl."}) {
        WriteInFolder(name, "library");
    }
    WriteInFolder(L"empty.glsl", "");
    WriteInFolder(L"zero.glsl", std::string(3, '\0'));
    WriteInFolder(L"marked.glsl", "\xEF\xBB\xBFmarked");
    WriteInFolder(L"little.glsl", std::string("\xFF\xFE"
                                              "a\0\xE4\0\n\0",
                                              8));
    WriteInFolder(L"big.glsl", std::string("\xFE\xFF\0a\0\n\0", 7));
    Register(L"KNOWN.GLSL", "registered");
    const struct {
        std::string name;
        const char* local;
        const char* untrusted;
    } cases[] = {
        {"both.glsl", "current\n", "library\n"},
        {"lib.glsl", "library\n", "library\n"},
        {"known.glsl", "registered\n", "registered\n"},
        {"own.glsl", "one\ntwo\nthree\n\n\n", ""},
        {(root_ / "outer.glsl").string(), "outer\n", ""},
        {"../outer.glsl", "outer\n", ""},
        {"empty.glsl", "", ""},
        {"zero.glsl", "\n", "\n"},
        {"marked.glsl", "marked\n", "marked\n"},
        {"little.glsl", "a\xC3\xA4\n", "a\xC3\xA4\n"},
        {"big.glsl", "a\n", "a\n"},
        {"real.glsl.", "", ""},  // some systems ignore the trailing dot
        {"CON", "", ""},
        {"\\\\?\\C:\\x", "", ""},
        {"", "", ""},
        {std::string(250, 'x'), "", ""},
    };
    for (const auto& c : cases) {
        const std::string directive = "#include \"" + c.name + "\"\n";
        context_->plainNamesOnly = false;
        EXPECT_EQ(Expand(directive + directive), c.local) << c.name;
        context_->plainNamesOnly = true;
        EXPECT_EQ(Expand(directive + directive), c.untrusted) << c.name;
    }
}

// The count of unknown names is limited as well: a document with many of them must not stop the host.
TEST_F(IncludeFiles, AreNotLookedForAgainInTheSameRun) {
    std::uint32_t length = 0;
    IncludedName* entry = nullptr;
    std::int32_t error = 0;
    const auto found = [&](const wchar_t* name) {
        return ResolveInclude(*context_, name, &length, &entry, &error) != nullptr;
    };
    EXPECT_FALSE(found(L"late.glsl"));
    WriteInFolder(L"late.glsl", "x");
    WriteInFolder(L"last.glsl", "x");
    WriteInFolder(L"next.glsl", "x");
    EXPECT_FALSE(found(L"late.glsl"));
    for (std::size_t i = 1; i < 4095; ++i) {
        EXPECT_FALSE(found(std::to_wstring(i).c_str()));
        EXPECT_FALSE(found((L"//host/" + std::to_wstring(i)).c_str())) << "refused without a search";
    }
    EXPECT_TRUE(found(L"last.glsl"));
    EXPECT_FALSE(found(L"4095"));
    EXPECT_FALSE(found(L"next.glsl"));
    ClearVirtualIncludes(*context_);
    EXPECT_TRUE(found(L"late.glsl"));
    EXPECT_TRUE(found(L"next.glsl"));
}

}  // namespace
}  // namespace pixelforge
