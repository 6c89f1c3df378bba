// Reads the module's rich-text notice and writes it as safe rich text or as plain text.
#include "preview/host/notice.h"

#include <algorithm>
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

// Background, labels, links: what the nine numbers of the module's colour table are for.
constexpr std::string_view kHeader =
    R"({\rtf1\ansi\deff0{\colortbl;\red16\green20\blue28;\red200\green206\blue216;\red120\green190\blue255;})"
    R"(\cf2\highlight1 )";

/// Takes the text up to `end` off the front of `rest`, and `end` with it. False when there is no `end`.
bool Take(std::wstring_view& rest, std::wstring_view end, std::wstring& text) {
    const std::size_t at = rest.find(end);
    if (at == std::wstring_view::npos) {
        return false;
    }
    text = rest.substr(0, at);
    rest.remove_prefix(at + end.size());
    return true;
}

/// The shader's name, and the editor's link where one follows it.
void SplitNamePart(std::wstring_view part, Notice& notice) {
    const std::size_t editor = part.find(kEditor);
    std::wstring_view name = part.substr(0, editor);
    if (editor != std::wstring_view::npos) {
        std::wstring_view rest = part.substr(editor + kEditor.size());
        Take(rest, kEditorEnd, notice.editorLink);
    }
    const std::size_t end = name.rfind(kLinkEnd);
    notice.shaderName = name.substr(0, end);
}

void AppendEscaped(std::string& rtf, std::wstring_view text) {
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
}

/// As a link looks. Links themselves are the window's affair: not every rich edit control has them.
void AppendName(std::string& rtf, std::wstring_view name) {
    rtf += "{\\cf3\\ul ";
    AppendEscaped(rtf, name);
    rtf += "}";
}

/// A stranger's text steers no terminal and keeps to its line.
std::string PrintableUtf8(std::wstring_view text) {
    std::wstring printable(text);
    const auto isControl = [](wchar_t unit) { return unit < L' ' || (unit >= 0x7F && unit < 0xA0); };
    std::ranges::replace_if(printable, isControl, L' ');
    return ToUtf8(printable);
}

}  // namespace

std::optional<Notice> ReadNotice(std::wstring_view richText) {
    Notice notice;
    std::wstring namePart;
    std::wstring skipped;
    std::wstring_view rest = richText;
    if (!Take(rest, kShader, skipped) || !Take(rest, kLinkText, notice.shaderLink) ||
        !Take(rest, kAuthor, namePart) || !Take(rest, kLinkText, notice.authorLink) ||
        !Take(rest, kDescription, notice.authorName)) {
        return std::nullopt;
    }
    SplitNamePart(namePart, notice);
    notice.description = rest.substr(0, rest.rfind(kEnd));
    return notice;
}

std::string NoticeAsRichText(const Notice& notice) {
    std::string rtf(kHeader);
    rtf += "\\cf2 Shader: ";
    AppendName(rtf, notice.shaderName);
    rtf += "\\line \\cf2 Author: ";
    AppendName(rtf, notice.authorName);
    rtf += "\\line \\cf2 Description: ";
    AppendEscaped(rtf, notice.description);
    return rtf + "\\par}";
}

std::string NoticeAsPlainText(const Notice& notice) {
    std::string text =
        "Shader: " + PrintableUtf8(notice.shaderName) + " <" + PrintableUtf8(notice.shaderLink) + ">\n" +
        "Author: " + PrintableUtf8(notice.authorName) + " <" + PrintableUtf8(notice.authorLink) + ">\n" +
        "Description: " + PrintableUtf8(notice.description) + "\n";
    if (!notice.editorLink.empty()) {
        text += "Edit: " + PrintableUtf8(notice.editorLink) + "\n";
    }
    return text;
}

}  // namespace pixelforge::preview
