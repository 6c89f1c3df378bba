// The notice about a shader, taken out of the rich text that the module hands over.
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
    std::wstring editorLink;  ///< empty without a shader editor beside the host
};

/// The module puts the shader's texts into its rich text as they are, so braces and back-slashes in them
/// would act as rich text and could close the whole notice. Here they are found by the fixed pieces
/// around them. Nothing for an empty text and for one of another form.
std::optional<Notice> ReadNotice(std::wstring_view richText);

/// As narrow rich text: the host's colours in the colour table, the texts as plain characters.
std::string NoticeAsRichText(const Notice& notice);

/// In UTF-8, one line for each fact, links behind the names.
std::string NoticeAsPlainText(const Notice& notice);

}  // namespace pixelforge::preview
