// Well-formedness and conversion of single UTF-8 sequences.
#include "base/utf8.h"

namespace pixelforge {
namespace {

struct LeadByte {
    std::size_t length;
    char32_t bits;
    char32_t lowest;  ///< below this the sequence is overlong
};

LeadByte ReadLeadByte(unsigned char lead) noexcept {
    if (lead < 0x80) {
        return {1, lead, 0};
    }
    if (lead >= 0xC2 && lead < 0xE0) {
        return {2, lead & 0x1Fu, 0x80};
    }
    if (lead >= 0xE0 && lead < 0xF0) {
        return {3, lead & 0x0Fu, 0x800};
    }
    if (lead >= 0xF0 && lead < 0xF5) {
        return {4, lead & 0x07u, 0x10000};
    }
    return {0, 0, 0};
}

char ContinuationByte(char32_t codePoint, unsigned shift) {
    return static_cast<char>(0x80u | ((codePoint >> shift) & 0x3Fu));
}

}  // namespace

std::size_t DecodeUtf8(std::string_view text, char32_t& codePoint) noexcept {
    const LeadByte lead = ReadLeadByte(static_cast<unsigned char>(text.front()));
    if (lead.length == 0 || lead.length > text.size()) {
        return 0;
    }
    codePoint = lead.bits;
    for (std::size_t i = 1; i < lead.length; ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if ((byte & 0xC0u) != 0x80u) {
            return 0;
        }
        codePoint = (codePoint << 6) | (byte & 0x3Fu);
    }
    const bool surrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
    return codePoint < lead.lowest || surrogate || codePoint > 0x10FFFF ? 0 : lead.length;
}

void AppendUtf8(std::string& text, char32_t codePoint) {
    if (codePoint < 0x80) {
        text += static_cast<char>(codePoint);
        return;
    }
    if (codePoint < 0x800) {
        text += static_cast<char>(0xC0u | (codePoint >> 6));
    } else if (codePoint < 0x10000) {
        text += static_cast<char>(0xE0u | (codePoint >> 12));
        text += ContinuationByte(codePoint, 6);
    } else {
        text += static_cast<char>(0xF0u | (codePoint >> 18));
        text += ContinuationByte(codePoint, 12);
        text += ContinuationByte(codePoint, 6);
    }
    text += ContinuationByte(codePoint, 0);
}

}  // namespace pixelforge
