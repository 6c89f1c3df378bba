// The notice about a shader, extracted from the module's rich text.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace pixelforge::preview {

struct Notice {
    std::wstring shaderLink;
    std::wstring shaderName;
    std::wstring authorLink;
    std::wstring authorName;
    std::wstring description;
    std::wstring editorLink;  ///< empty if no shader editor is installed
};

/// The module inserts the shader's texts unescaped, so braces and backslashes in them would act as rich text
/// and could end the notice. They are located by the fixed text around them. std::nullopt for an empty text
/// and for any other format.
std::optional<Notice> ReadNotice(std::wstring_view richText);

/// As 8-bit rich text with the host's colours; the shader's texts are escaped.
std::string NoticeAsRichText(const Notice& notice);

/// Lines of any text in a monospaced font, otherwise the same.
std::string TextAsRichText(std::wstring_view text);

/// In UTF-8, one line per field, each link after its name.
std::string NoticeAsPlainText(const Notice& notice);

}  // namespace pixelforge::preview
