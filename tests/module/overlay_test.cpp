// The notice in full, and at its limits.
#include "module/overlay.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "service/service_urls.h"

namespace pixelforge {
namespace {

struct Notice {
    std::wstring id = L"Xs3BR4";
    std::wstring name = L"Name";
    std::wstring author = L"Author";
    std::wstring description = L"Text";
    std::wstring editor;
};

std::wstring Compose(const Notice& notice) {
    ShaderInfo info = {};
    CopyCut(info.id, notice.id);
    CopyCut(info.name, notice.name);
    CopyCut(info.username, notice.author);
    CopyCut(info.description, notice.description);
    wchar_t text[4096];
    std::fill(std::begin(text), std::end(text), L'#');
    EXPECT_TRUE(ComposeInfoText(info, notice.editor.c_str(), text));
    const std::size_t units = std::wstring_view(text).size();
    EXPECT_FALSE(ComposeInfoText(info, notice.editor.c_str(), {text, units})) << "no room for the terminator";
    return text;
}

/// The notice, with the edit link and the description as they should appear.
std::wstring Expected(const Notice& notice, const std::wstring& editLink, const std::wstring& description) {
    const std::wstring host = kServiceHost;
    return L"{\\rtf1\\ansi\\deff0{\\colortbl;\\red%lu\\green%lu\\blue%lu;\\red%lu\\green%lu\\blue%lu;"
           L"\\red%lu\\green%lu\\blue%lu;}\\cf2\\highlight1 \\cf2 Shader: \\cf3{\\field{\\*\\fldinst "
           L"HYPERLINK \"https://" +
           host + L"/view/" + notice.id + L"\"}{\\fldrslt " + notice.name + L"}}" + editLink +
           L"\\line \\cf2 Author: \\cf3{\\field{\\*\\fldinst HYPERLINK \"https://" + host + L"/user/" +
           notice.author + L"\"}{\\fldrslt " + notice.author + L"}}\\line \\cf2 Description: " + description +
           L"\\par}";
}

TEST(Overlay, StripsOnlyTheDescriptionsTrailingLineEnds) {
    const struct {
        std::wstring text;
        std::size_t removed = 0;  ///< units, from the end
    } cases[] = {
        {L"a {brace}, a } alone"},
        {L"C:\\dir \\par \\'41 100% %s %lu"},
        {L"\"quoted\""},
        {L"\xD83C\xDF0A wave"},
        {L"\x05E9\x05DC\x05D5\x05DD \x202E mixed"},
        {L"first\r\nsecond\n\nthird\n\r\n", 3},
        {L"\r\n\n", 3},
        {L"Text\n\t"},
    };
    for (const auto& [text, removed] : cases) {
        const Notice notice = {L"id", text, text, text, L""};
        EXPECT_EQ(Compose(notice), Expected(notice, L"", text.substr(0, text.size() - removed)));
    }
    const Notice longest = {std::wstring(19, L'i'), std::wstring(127, L'n'), std::wstring(63, L'u'),
                            std::wstring(259, L'd'), L""};
    EXPECT_EQ(Compose(longest), Expected(longest, L"", longest.description));
}

TEST(Overlay, OmitsAnEditLinkThatExceedsItsField) {
    const std::wstring begin = L"\\cf2 \t\t[ \\cf3{\\field{\\*\\fldinst{HYPERLINK \"file://";
    const std::wstring end = L"?Xs3BR4\"}}{\\fldrslt Edit w/GlowBench} \\cf2 ] }";
    const std::size_t room = kPathUnits - 1 - begin.size() - end.size();
    for (const std::size_t length : {room - 1, room, room + 1, room + end.size(), kPathUnits - 1}) {
        Notice notice;
        notice.editor.assign(length, L'e');
        const std::wstring link = length <= room ? begin + notice.editor + end : L"";
        EXPECT_EQ(Compose(notice), Expected(notice, link, L"Text")) << length;
    }
}

}  // namespace
}  // namespace pixelforge
