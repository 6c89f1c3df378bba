// The notice in full, and at its limits.
#include "module/overlay.h"

#include <gtest/gtest.h>

#include <string>

#include "service/service_urls.h"

namespace pixelforge {
namespace {

struct Notice {
    std::wstring id = L"Xs3BR4";
    std::wstring name = L"Name";
    std::wstring author = L"Author";
    std::wstring description = L"Text";
    std::wstring editor = {};
};

/// Expects the whole notice, with this edit link and description.
void ExpectNotice(const Notice& notice, const std::wstring& editLink, const std::wstring& description) {
    ShaderInfo info = {};
    CopyCut(info.id, notice.id);
    CopyCut(info.name, notice.name);
    CopyCut(info.username, notice.author);
    CopyCut(info.description, notice.description);
    std::wstring text(4096, L'#');
    EXPECT_TRUE(ComposeInfoText(info, notice.editor.c_str(), text));
    text.resize(text.find(L'\0'));
    const std::wstring host = kServiceHost;
    const auto field = [&](const std::wstring& page, const std::wstring& shown) {
        return L"\\cf3{\\field{\\*\\fldinst HYPERLINK \"https://" + host + page + L"\"}{\\fldrslt " + shown +
               L"}}";
    };
    EXPECT_EQ(text,
              L"{\\rtf1\\ansi\\deff0{\\colortbl;\\red%lu\\green%lu\\blue%lu;\\red%lu\\green%lu\\blue%lu;"
              L"\\red%lu\\green%lu\\blue%lu;}\\cf2\\highlight1 \\cf2 Shader: " +
                  field(L"/view/" + notice.id, notice.name) + editLink + L"\\line \\cf2 Author: " +
                  field(L"/user/" + notice.author, notice.author) + L"\\line \\cf2 Description: " +
                  description + L"\\par}");
    EXPECT_FALSE(ComposeInfoText(info, notice.editor.c_str(), text)) << "no room for the terminator";
}

TEST(Overlay, StripsOnlyTheDescriptionsTrailingLineEnds) {
    const std::pair<std::wstring, std::size_t> cases[] = {
        {L"a {brace}, a } alone", 0},
        {L"C:\\dir \\par \\'41 100% %s %lu \"quoted\" \xD83C\xDF0A", 0},
        {L"first\r\nsecond\n\nthird\n\r\n", 3},
        {L"\r\n\n", 3},
        {L"Text\n\t", 0},
    };
    for (const auto& [text, removed] : cases) {
        ExpectNotice({L"id", text, text, text}, L"", text.substr(0, text.size() - removed));
    }
    const std::wstring longest(259, L'd');
    ExpectNotice({std::wstring(19, L'i'), std::wstring(127, L'n'), std::wstring(63, L'u'), longest}, L"",
                 longest);
}

TEST(Overlay, OmitsAnEditLinkThatExceedsItsField) {
    const std::wstring begin = L"\\cf2 \t\t[ \\cf3{\\field{\\*\\fldinst{HYPERLINK \"file://";
    const std::wstring end = L"?Xs3BR4\"}}{\\fldrslt Edit w/GlowBench} \\cf2 ] }";
    const std::size_t room = kPathUnits - 1 - begin.size() - end.size();
    for (const std::size_t length : {room - 1, room, room + 1, room + end.size(), kPathUnits - 1}) {
        const std::wstring editor(length, L'e');
        ExpectNotice({.editor = editor}, length <= room ? begin + editor + end : L"", L"Text");
    }
}

}  // namespace
}  // namespace pixelforge
