// The notice that the module composes from harmless and hostile texts, parsed again.
#include "preview/host/notice.h"

#include <gmock/gmock.h>

#include "module/overlay.h"

namespace pixelforge::preview {
namespace {

using testing::EndsWith;
using testing::HasSubstr;

std::optional<Notice> Compose(std::wstring_view name, std::wstring_view author, std::wstring_view description,
                              const wchar_t* editor = L"") {
    ShaderInfo info = {};
    CopyCut(info.id, L"abc123");
    CopyCut(info.name, name);
    CopyCut(info.username, author);
    CopyCut(info.description, description);
    wchar_t text[4096] = {};
    EXPECT_TRUE(ComposeInfoText(info, editor, text));
    return ReadNotice(text);
}

TEST(Notice, HoldsTheShadersTextsUnchanged) {
    for (const std::wstring& text :
         {std::wstring(L"plain"), std::wstring(), std::wstring(L"}}{ } \\par}"), std::wstring(L"}}"),
          std::wstring(L"\\b \"quoted\" \\"), std::wstring(L"\xD83C\xDF0A %lu"), std::wstring(63, L'{')}) {
        for (const wchar_t* editor : {L"", L"C:/tools/editor.exe"}) {
            const auto notice = Compose(text, text, text, editor);
            ASSERT_TRUE(notice) << testing::PrintToString(text);
            EXPECT_EQ(notice->shaderName, text);
            EXPECT_EQ(notice->authorName, text);
            EXPECT_EQ(notice->description, text);
            EXPECT_EQ(notice->editorLink.empty(), *editor == L'\0');
        }
    }
    EXPECT_FALSE(ReadNotice(L""));
    EXPECT_FALSE(ReadNotice(L"{\\rtf1 something else}"));
}

TEST(Notice, BecomesSafeRichTextAndPlainTextWithLinks) {
    const Notice notice = *Compose(L"a}b\\c", L"\xD83C\xDF0A", L"x{y\x1B");
    const std::string rtf = NoticeAsRichText(notice);
    EXPECT_THAT(rtf, testing::Not(HasSubstr("%lu"))) << "the colour table holds the host's colours";
    EXPECT_THAT(rtf, EndsWith(R"(Shader: {\cf3\ul a\}b\\c}\line \cf2 Author: {\cf3\ul \u-10180?\u-8438?})"
                              R"(\line \cf2 Description: x\{y\par})"));
    const std::string plain = NoticeAsPlainText(notice);
    EXPECT_THAT(plain, HasSubstr("Shader: a}b\\c <https://"));
    EXPECT_THAT(plain, HasSubstr("/view/abc123>\nAuthor: \xF0\x9F\x8C\x8A <https://"));
    EXPECT_THAT(plain, EndsWith(">\nDescription: x{y \n")) << "no control characters";
}

}  // namespace
}  // namespace pixelforge::preview
