// Splits a playlist into lines and picks one.
#include "module/playlist.h"

#include <iterator>
#include <string_view>
#include <vector>

#include "base/file.h"
#include "base/text.h"

namespace pixelforge {
namespace {

/// The file's text with "\n" line ends; null if it is empty or cannot be read.
HeapBytes ReadPlaylist(const wchar_t* path) {
    std::uint32_t size = 0;
    HeapBytes block = ReadWholeFile(path, &size);
    if (!block || size == 0) {
        return nullptr;
    }
    char* const text = reinterpret_cast<char*>(block.get());
    NormalizeLineEnds(text, text, std::size_t{size} + 1);
    return block;
}

/// The non-empty lines that end in a line feed.
std::vector<std::string_view> SplitLines(std::string_view text) {
    std::vector<std::string_view> lines;
    for (std::size_t end = text.find('\n'); end != text.npos; end = text.find('\n')) {
        if (end > 0) {
            lines.push_back(text.substr(0, end));
        }
        text.remove_prefix(end + 1);
    }
    return lines;
}

}  // namespace

bool PickShaderId(const wchar_t* playlistPath, wchar_t (&id)[kShaderIdUnits], RandomSource random) {
    id[0] = L'\0';
    const HeapBytes text = ReadPlaylist(playlistPath);
    if (!text) {
        return false;
    }
    const auto lines = SplitLines(reinterpret_cast<const char*>(text.get()));
    if (lines.empty()) {
        return false;
    }
    const auto wide = Widen(lines[random() % lines.size()], TextEncoding::AnsiCodePage);
    if (!wide || wide->empty() || wide->size() + 1 > std::size(id)) {
        return false;
    }
    CopyCut(id, *wide);
    return true;
}

}  // namespace pixelforge
