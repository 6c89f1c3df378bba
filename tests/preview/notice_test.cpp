// The notice, read from what the module composes out of friendly and hostile texts.
#include "preview/notice.h"

#include <gmock/gmock.h>

#include "library/service_host.h"
#include "module/overlay.h"

namespace pixelforge::preview {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

std::optional<Notice> Compose(std::wstring_view name, std::wstring_view author, std::wstring_view description,
                              const wchar_t* editor = L"") {
    ShaderInfo info{};
    CopyCut(info.id, L"abc123");
    CopyCut(info.name, name);
    CopyCut(info.username, author);
    CopyCut(info.description, description);
    wchar_t text[4096] = {};
    EXPECT_TRUE(ComposeInfoText(info, editor, text));
    return ReadNotice(text);
}

TEST(Notice, HasTheShadersTextsAsTheyWere) {
    const std::wstring texts[] = {L"plain",
                                  L"",
                                  L"}}{ } \\par}",
                                  L"\\b \"quoted\" \\",
                                  L"\xD83C\xDF0A wave",
                                  L"\x5E9\x5DC\x5D5\x5DD",
                                  L"}}",
                                  L"%lu %s",
                                  std::wstring(63, L'{')};
    for (const std::wstring& text : texts) {
        for (const wchar_t* editor : {L"", L"C:/tools/editor.exe"}) {
            const auto notice = Compose(text, text, text, editor);
            ASSERT_TRUE(notice) << testing::PrintToString(text);
            EXPECT_EQ(notice->shaderName, text);
            EXPECT_EQ(notice->authorName, text);
            EXPECT_EQ(notice->description, text);
            EXPECT_THAT(notice->shaderLink, EndsWith(L"/view/abc123"));
            EXPECT_EQ(notice->editorLink.empty(), *editor == L'\0');
        }
    }
    EXPECT_FALSE(ReadNotice(L""));
    EXPECT_FALSE(ReadNotice(L"{\\rtf1 something else}"));
}

TEST(Notice, IsSafeRichTextWithColours) {
    const std::string rtf = NoticeAsRichText(*Compose(L"a}b\\c", L"\xD83C\xDF0A", L"x{y"));
    EXPECT_THAT(rtf, Not(HasSubstr("%lu")));
    EXPECT_THAT(rtf, HasSubstr("a\\}b\\\\c"));
    EXPECT_THAT(rtf, HasSubstr("\\u-10180?\\u-8438?"));
    EXPECT_THAT(rtf, HasSubstr("x\\{y"));
    int depth = 0;
    for (std::size_t i = 0; i < rtf.size(); ++i) {
        if (rtf[i] == '\\') {
            ++i;
        } else {
            depth += rtf[i] == '{' ? 1 : rtf[i] == '}' ? -1 : 0;
        }
        ASSERT_TRUE(depth > 0 || i + 1 == rtf.size()) << rtf.substr(0, i);
    }
    EXPECT_EQ(depth, 0);
}

TEST(Notice, IsPlainTextWithLinks) {
    const std::string text = NoticeAsPlainText(*Compose(L"N\x00E9", L"me", L"words"));
    EXPECT_THAT(text, HasSubstr("Shader: N\xC3\xA9 <https://"));
    EXPECT_THAT(text, HasSubstr("/user/me>\nDescription: words\n"));
}

}  // namespace
}  // namespace pixelforge::preview
