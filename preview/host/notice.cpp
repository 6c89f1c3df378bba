// Parses the module's rich-text notice and writes it as safe rich text or as plain text.
#include "preview/host/notice.h"

#include <cstdint>

#include "base/text.h"

namespace pixelforge::preview {
namespace {

constexpr std::wstring_view kShader = LR"(\cf2 Shader: \cf3{\field{\*\fldinst HYPERLINK ")";
constexpr std::wstring_view kAuthor = LR"(\line \cf2 Author: \cf3{\field{\*\fldinst HYPERLINK ")";
constexpr std::wstring_view kLinkText = LR"("}{\fldrslt )";
constexpr std::wstring_view kLinkEnd = L"}}";
constexpr std::wstring_view kEditor = LR"(\cf3{\field{\*\fldinst{HYPERLINK ")";
constexpr std::wstring_view kEditorEnd = LR"("}}{\fldrslt )";
constexpr std::wstring_view kDescription = LR"(}}\line \cf2 Description: )";
constexpr std::wstring_view kEnd = LR"(\par})";

// The colour table holds the colours of background, labels and links.
const std::string kHeader =
    R"({\rtf1\ansi\deff0{\fonttbl{\f0\fswiss Segoe UI;}{\f1\fmodern Consolas;}})"
    R"({\colortbl;\red16\green20\blue28;\red200\green206\blue216;\red120\green190\blue255;})"
    R"(\li180\ri180\b0\cf2\highlight1 )";

/// Moves the text before `end` from `rest` to `text` and drops `end`. False if there is no `end`.
bool TakeUntil(std::wstring_view& rest, std::wstring_view end, std::wstring& text) {
    const std::size_t at = rest.find(end);
    if (at == std::wstring_view::npos) {
        return false;
    }
    text = rest.substr(0, at);
    rest.remove_prefix(at + end.size());
    return true;
}

/// The shader's name, optionally followed by the editor's link.
void SplitNamePart(std::wstring_view part, Notice& notice) {
    std::wstring name(part);
    if (TakeUntil(part, kEditor, name)) {
        TakeUntil(part, kEditorEnd, notice.editorLink);
    }
    notice.shaderName = name.substr(0, name.rfind(kLinkEnd));
}

std::string Escaped(std::wstring_view text) {
    std::string rtf;
    for (const wchar_t unit : text) {
        const auto code = static_cast<std::uint16_t>(unit);
        if (code == '\\' || code == '{' || code == '}') {
            rtf += '\\';
            rtf += static_cast<char>(code);
        } else if (code == '\n') {
            rtf += "\\line ";
        } else if (code >= 0x80) {
            rtf += "\\u" + std::to_string(static_cast<std::int16_t>(code)) + "?";
        } else if (code >= 0x20 || code == '\t') {
            rtf += static_cast<char>(code);
        }
    }
    return rtf;
}

}  // namespace

std::optional<Notice> ReadNotice(std::wstring_view richText) {
    Notice notice;
    std::wstring namePart;
    std::wstring skipped;
    std::wstring_view rest = richText;
    if (!TakeUntil(rest, kShader, skipped) || !TakeUntil(rest, kLinkText, notice.shaderLink) ||
        !TakeUntil(rest, kAuthor, namePart) || !TakeUntil(rest, kLinkText, notice.authorLink) ||
        !TakeUntil(rest, kDescription, notice.authorName)) {
        return std::nullopt;
    }
    SplitNamePart(namePart, notice);
    notice.description = rest.substr(0, rest.rfind(kEnd));
    return notice;
}

std::string NoticeAsRichText(const Notice& notice) {
    // The window handles clicks on the names, because not every rich edit control supports links.
    return kHeader + "\\cf2 Shader: {\\cf3\\ul " + Escaped(notice.shaderName) +
           "}\\line \\cf2 Author: {\\cf3\\ul " + Escaped(notice.authorName) +
           "}\\line \\cf2 Description: " + Escaped(notice.description) + "\\par}";
}

std::string TextAsRichText(std::wstring_view text) {
    return kHeader + "\\f1 " + Escaped(text) + "}";
}

std::string NoticeAsPlainText(const Notice& notice) {
    std::string text =
        "Shader: " + WithoutControls(notice.shaderName) + " <" + WithoutControls(notice.shaderLink) + ">\n" +
        "Author: " + WithoutControls(notice.authorName) + " <" + WithoutControls(notice.authorLink) + ">\n" +
        "Description: " + WithoutControls(notice.description) + "\n";
    if (!notice.editorLink.empty()) {
        text += "Edit: " + WithoutControls(notice.editorLink) + "\n";
    }
    return text;
}

}  // namespace pixelforge::preview
