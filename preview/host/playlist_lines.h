// Playlist files: their lines as the module reads them, and an order in which to show them.
#pragma once

#include <cstddef>
#include <map>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "base/random.h"

namespace pixelforge::preview {

/// In UTF-16 units; the module's limit.
inline constexpr std::size_t kLongestPlaylistLine = 19;

struct PlaylistLine {
    std::size_t number = 0;  ///< in the file, from 1; blank lines count
    std::string bytes;       ///< in the ANSI code page, without the line end

    /// For messages: UTF-8 without control characters.
    std::string Name() const;
};

/// The lines that the module picks from: those that are not empty and end in a line break of any kind. Like
/// the module, stops at a NUL.
std::vector<PlaylistLine> SplitPlaylist(std::string_view playlist);

/// What to append to a playlist so that this line is its last; empty if the playlist has the line.
std::string LineToAppend(const std::string& playlist, const std::string& line);

struct PlaylistFailure {
    PlaylistLine line;
    std::string reason;  ///< of the last failure, one or more lines
};

/// Shows each line once, in random order, before any line is shown again. The module itself picks with no
/// memory, so it is given one line at a time.
class PlaylistOrder {
public:
    /// At least one line. The first is current.
    explicit PlaylistOrder(std::vector<PlaylistLine> lines);

    const PlaylistLine& Current() const { return lines_[shown_[position_]]; }

    void Next();

    /// Back to the line shown before. False if there is none.
    bool Previous();

    std::size_t LineCount() const noexcept { return lines_.size(); }

    /// Whether the current line has loaded. `Previous` passes over a line that has not.
    void MarkDrawn() { currentFailed_ = false; }
    void MarkFailed(const std::string& reason) {
        currentFailed_ = true;
        reasons_[shown_[position_]] = reason;
    }

    /// One for each line that has failed, in the order of the file.
    std::vector<PlaylistFailure> Failures() const;

private:
    std::size_t Draw();
    void DropIfFailed(std::size_t entry);

    std::vector<PlaylistLine> lines_;
    std::mt19937 random_{SystemRandom()};
    std::vector<std::size_t> round_;  ///< lines still to be shown in this round, last one first
    std::vector<std::size_t> shown_;  ///< those after the current one were left by `Previous`
    std::size_t position_ = 0;
    bool currentFailed_ = false;
    std::map<std::size_t, std::string> reasons_;  ///< by line
};

}  // namespace pixelforge::preview
