// Composes the rich-text notice from its fixed pieces and the shader's texts.
#include "module/overlay.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>
#include <string_view>

#include "base/text.h"
#include "service/service_urls.h"

namespace pixelforge {
namespace {

using Pieces = std::span<const std::wstring_view>;

// Colour 2 is for labels, colour 3 for links, highlight 1 the background.
constexpr std::wstring_view kHeader =
    LR"({\rtf1\ansi\deff0{\colortbl;\red%lu\green%lu\blue%lu;\red%lu\green%lu\blue%lu;)"
    LR"(\red%lu\green%lu\blue%lu;}\cf2\highlight1 )";
constexpr std::wstring_view kEditBegin = L"\\cf2 \t\t[ \\cf3{\\field{\\*\\fldinst{HYPERLINK \"file://";
constexpr std::wstring_view kEditEnd = LR"("}}{\fldrslt Edit w/GlowBench} \cf2 ] })";
constexpr std::wstring_view kShader =
    LR"(\cf2 Shader: \cf3{\field{\*\fldinst HYPERLINK "https://)" PIXELFORGE_SERVICE_HOST L"/view/";
constexpr std::wstring_view kAuthor =
    LR"(\line \cf2 Author: \cf3{\field{\*\fldinst HYPERLINK "https://)" PIXELFORGE_SERVICE_HOST L"/user/";
constexpr std::wstring_view kLinkText = LR"("}{\fldrslt )";
constexpr std::wstring_view kLinkEnd = L"}}";
constexpr std::wstring_view kDescription = LR"(\line \cf2 Description: )";
constexpr std::wstring_view kEnd = LR"(\par})";

template <std::size_t N>
std::wstring_view TextOf(const wchar_t (&field)[N]) noexcept {
    return {field, std::find(field, field + N, L'\0')};
}

template <std::size_t N>
void RemoveTrailingLineEnds(wchar_t (&field)[N]) noexcept {
    for (std::wstring_view text = TextOf(field); text.ends_with(L'\r') || text.ends_with(L'\n');
         text.remove_suffix(1)) {
        field[text.size() - 1] = L'\0';
    }
}

std::size_t LengthOf(Pieces pieces) noexcept {
    std::size_t length = 0;
    for (const std::wstring_view piece : pieces) {
        length += piece.size();
    }
    return length;
}

/// False, with `text` unchanged, if the pieces and a terminator do not fit: rich text that is cut off has
/// unbalanced braces.
bool JoinIfFits(Pieces pieces, std::span<wchar_t> text) noexcept {
    if (LengthOf(pieces) >= text.size()) {
        return false;
    }
    std::size_t used = 0;
    for (const std::wstring_view piece : pieces) {
        used += piece.copy(text.data() + used, piece.size());
    }
    text[used] = L'\0';
    return true;
}

}  // namespace

bool ComposeInfoText(ShaderInfo& info, const wchar_t* editorPath, std::span<wchar_t> infoText) noexcept {
    RemoveTrailingLineEnds(info.description);
    const std::wstring_view id = TextOf(info.id);
    const std::wstring_view author = TextOf(info.username);
    wchar_t editLink[kPathUnits] = {};
    if (editorPath && *editorPath) {
        const std::wstring_view link[] = {kEditBegin, editorPath, L"?", id, kEditEnd};
        JoinIfFits(link, editLink);
    }
    const std::wstring_view notice[] = {
        kHeader, kShader, id,        kLinkText, TextOf(info.name), kLinkEnd,     TextOf(editLink),
        kAuthor, author,  kLinkText, author,    kLinkEnd,          kDescription, TextOf(info.description),
        kEnd,
    };
    return JoinIfFits(notice, infoText);
}

}  // namespace pixelforge
