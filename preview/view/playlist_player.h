// Plays a playlist's shaders in the live view: reads it, stages its lines and appends favourites.
#pragma once

#include <chrono>
#include <string>
#include <utility>

#include "base/file.h"
#include "base/load_error.h"
#include "base/text.h"
#include "preview/host/file_paths.h"
#include "preview/host/host_error.h"
#include "preview/host/playlist_lines.h"
#include "preview/host/staged_shader.h"

namespace pixelforge::preview {

/// Stages one line at a time; the caller then makes the module load it.
class PlaylistPlayer {
public:
    using Clock = std::chrono::steady_clock;

    /// Stages the first line. `path` is absolute, `name` is the path as the user wrote it. If `every` is
    /// positive, the next shader follows after this time. Throws `HostError` with `WrongUsage` if the
    /// playlist cannot be read or has no complete line.
    PlaylistPlayer(std::wstring path, std::string name, StagedShader& staged, std::chrono::seconds every)
        : path_(std::move(path)), name_(std::move(name)), staged_(staged), every_(every) {
        Stage();
    }

    void Next() {
        order_.Next();
        Stage();
    }

    /// False if no shader was shown before this one.
    bool Previous() {
        const bool any = order_.Previous();
        if (any) {
            Stage();
        }
        return any;
    }

    bool IsDue() const { return Clock::now() >= dueTime_; }

    void RestartTime() { dueTime_ = every_.count() > 0 ? Clock::now() + every_ : Clock::time_point::max(); }

    /// After the load of the current one.
    void MarkDrawn() {
        order_.MarkDrawn();
        RestartTime();
    }

    /// Likewise; returns the failure with the playlist's line in front. The next pick waits a second, so that
    /// the error can be read and identifiers that all fail do not flood the service.
    std::string MarkFailed(const std::string& reason) {
        order_.MarkFailed(reason);
        dueTime_ = Clock::now() + std::chrono::seconds(1);
        return NameOf(order_.Current()) + " failed to load\n" + reason;
    }

    /// To the playlist favourites.txt beside this one, because lines that are file names are relative to
    /// their playlist's folder. Returns a line for the user.
    std::wstring AddFavourite() const {
        const std::wstring path = FolderOf(path_) + L"favourites.txt";
        std::string line;
        const std::string failure = FailureOf([&] {
            const std::string playlist =
                IsExistingFile(LongPath(path).c_str()) ? ReadInputFile(path) : std::string();
            line = LineToAppend(playlist, order_.Current().bytes);
            AppendToFile(path, BytesOf(line));
        });
        const std::wstring name = FromUtf8(ShaderName());
        return !failure.empty() ? FromUtf8(failure)
               : line.empty()   ? name + L" is already a favourite"
                                : L"Added " + name + L" to " + path;
    }

    std::string ShaderName() const { return order_.Current().Name(); }

    /// "list.txt:12: IDENTIFIER"
    std::string NameOf(const PlaylistLine& line) const {
        return name_ + ":" + std::to_string(line.number) + ": " + line.Name();
    }
    const PlaylistOrder& Order() const noexcept { return order_; }

private:
    PlaylistOrder ReadOrder() const {
        std::vector<PlaylistLine> lines = SplitPlaylist(ReadInputFile(path_));
        if (lines.empty()) {
            throw HostError(ExitStatus::WrongUsage,
                            name_ + " has no line that ends in a line break; the module reads no other");
        }
        return PlaylistOrder(std::move(lines));
    }

    void Stage() {
        staged_.Replace(BytesOf(order_.Current().bytes + "\r\n"));
        RestartTime();
    }

    const std::wstring path_;
    const std::string name_;
    StagedShader& staged_;
    const std::chrono::seconds every_;
    PlaylistOrder order_ = ReadOrder();
    Clock::time_point dueTime_;
};

}  // namespace pixelforge::preview
