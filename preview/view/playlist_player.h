// Plays a playlist's shaders in the live view.
#pragma once

#include <chrono>
#include <string>

#include "preview/host/playlist_lines.h"
#include "preview/host/staged_shader.h"

namespace pixelforge::preview {

/// Stages one line at a time; the caller then makes the module load it.
class PlaylistPlayer {
public:
    using Clock = std::chrono::steady_clock;

    struct Files {
        std::wstring path;            ///< absolute
        std::string name;             ///< the path as the user wrote it
        std::wstring favouritesPath;  ///< absolute; a playlist, created if it is missing
    };

    /// Stages the first line. With `every` above 0 each shader is followed by the next after this time.
    /// Throws `HostError` with `WrongUsage` if the playlist cannot be read or has no complete line.
    PlaylistPlayer(Files files, StagedShader& staged, std::chrono::seconds every);

    void Next();

    /// False if no shader was shown before this one.
    bool Previous();

    /// True if it is time for the next one: the current one has been shown, or its failure named, for long
    /// enough.
    bool IsDue() const { return Clock::now() >= dueTime_; }

    /// After the load of the current one. The failure is returned with the playlist's line in front.
    void MarkDrawn();
    std::string MarkFailed(const std::string& reason);

    /// Gives the current one its whole time again.
    void RestartTime();

    /// Returns a line for the user.
    std::wstring AddFavourite() const;

    /// The current one, in UTF-8.
    std::string ShaderName() const { return order_.Current().Name(); }

    /// "list.txt:12: IDENTIFIER"
    std::string NameOf(const PlaylistLine& line) const;
    const PlaylistOrder& Order() const noexcept { return order_; }

private:
    void Stage();

    const Files files_;
    StagedShader& staged_;
    const std::chrono::seconds every_;
    PlaylistOrder order_;
    Clock::time_point dueTime_;
};

}  // namespace pixelforge::preview
