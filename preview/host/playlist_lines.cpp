// Splits playlists and orders their lines.
#include "preview/host/playlist_lines.h"

#include <algorithm>
#include <numeric>
#include <utility>

#include "base/text.h"

namespace pixelforge::preview {

std::string PlaylistLine::Name() const {
    return WithoutControls(Widen(bytes, TextEncoding::AnsiCodePage).value_or(std::wstring()));
}

std::vector<PlaylistLine> SplitPlaylist(std::string text) {
    NormalizeLineEnds(&text[0], &text[0], text.size() + 1);
    std::string_view rest = text.c_str();
    std::vector<PlaylistLine> lines;
    for (std::size_t number = 1; rest.find('\n') != rest.npos; ++number) {
        const std::string_view line = TakeLine(rest);
        if (!line.empty()) {
            lines.push_back({number, std::string(line)});
        }
    }
    return lines;
}

std::string LineToAppend(const std::string& playlist, const std::string& line) {
    const auto lines = SplitPlaylist(playlist);
    if (std::ranges::find(lines, line, &PlaylistLine::bytes) != lines.end()) {
        return {};
    }
    const bool ended = playlist.empty() || playlist.ends_with('\n') || playlist.ends_with('\r');
    return (ended ? "" : "\r\n") + line + "\r\n";
}

PlaylistOrder::PlaylistOrder(std::vector<PlaylistLine> lines) : lines_(std::move(lines)) {
    shown_.push_back(Draw());
}

std::size_t PlaylistOrder::Draw() {
    if (round_.empty()) {
        round_.resize(lines_.size());
        std::iota(round_.begin(), round_.end(), std::size_t{0});
        std::ranges::shuffle(round_, random_);
        // Not the same line again where two rounds meet.
        if (!shown_.empty() && round_.back() == shown_.back()) {
            std::swap(round_.front(), round_.back());
        }
    }
    const std::size_t line = round_.back();
    round_.pop_back();
    return line;
}

/// The entry that was current, from which `Next` or `Previous` moves away.
void PlaylistOrder::DropIfFailed(std::size_t entry) {
    if (std::exchange(currentFailed_, false)) {
        shown_.erase(shown_.begin() + static_cast<std::ptrdiff_t>(entry));
        position_ -= entry < position_ ? 1 : 0;
    }
}

void PlaylistOrder::Next() {
    if (position_ + 1 == shown_.size()) {
        shown_.push_back(Draw());
    }
    ++position_;
    DropIfFailed(position_ - 1);
}

bool PlaylistOrder::Previous() {
    if (position_ == 0) {
        return false;
    }
    DropIfFailed(position_);
    --position_;
    return true;
}

std::vector<PlaylistFailure> PlaylistOrder::Failures() const {
    std::vector<PlaylistFailure> failures;
    for (const auto& [line, reason] : reasons_) {
        failures.push_back({lines_[line], reason});
    }
    return failures;
}

}  // namespace pixelforge::preview
