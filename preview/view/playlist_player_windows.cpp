// Reads the playlist, stages its lines and appends favourites.
#include "preview/view/playlist_player.h"

#include <utility>

#include "base/file.h"
#include "base/load_error.h"
#include "base/text.h"
#include "preview/host/file_paths.h"
#include "preview/host/host_error.h"

namespace pixelforge::preview {
namespace {

/// Before the next pick after a failed one, so that the error can be read and a playlist of identifiers that
/// all fail does not flood the service.
constexpr auto kFailureTime = std::chrono::seconds(1);

PlaylistOrder ReadOrder(const PlaylistFiles& files) {
    std::vector<PlaylistLine> lines = SplitPlaylist(ReadInputFile(files.path));
    if (lines.empty()) {
        throw HostError(ExitStatus::WrongUsage,
                        files.name + " has no line that ends in a line break; the module reads no other");
    }
    return PlaylistOrder(std::move(lines));
}

}  // namespace

PlaylistPlayer::PlaylistPlayer(PlaylistFiles files, StagedShader& staged, std::chrono::seconds every)
    : files_(std::move(files)), staged_(staged), every_(every), order_(ReadOrder(files_)) {
    Stage();
}

void PlaylistPlayer::Stage() {
    staged_.Replace(BytesOf(order_.Current().bytes + "\r\n"));
    RestartTime();
}

void PlaylistPlayer::Next() {
    order_.Next();
    Stage();
}

bool PlaylistPlayer::Previous() {
    if (!order_.Previous()) {
        return false;
    }
    Stage();
    return true;
}

void PlaylistPlayer::RestartTime() {
    dueTime_ = every_.count() > 0 ? Clock::now() + every_ : Clock::time_point::max();
}

void PlaylistPlayer::MarkDrawn() {
    order_.MarkDrawn();
    RestartTime();
}

std::string PlaylistPlayer::MarkFailed(const std::string& reason) {
    order_.MarkFailed(reason);
    dueTime_ = Clock::now() + kFailureTime;
    return NameOf(order_.Current()) + " failed to load\n" + reason;
}

std::wstring PlaylistPlayer::AddFavourite() const {
    const std::wstring name = FromUtf8(ShaderName());
    bool added = false;
    const std::string failure = FailureOf([&] {
        const bool exists = IsExistingFile(LongPath(files_.favouritesPath).c_str());
        const std::string playlist = exists ? ReadInputFile(files_.favouritesPath) : std::string();
        const std::string line = LineToAppend(playlist, order_.Current().bytes);
        AppendToFile(files_.favouritesPath, BytesOf(line));
        added = !line.empty();
    });
    if (!failure.empty()) {
        return FromUtf8(failure);
    }
    return added ? L"Added " + name + L" to " + files_.favouritesPath : name + L" is already a favourite";
}

std::string PlaylistPlayer::NameOf(const PlaylistLine& line) const {
    return files_.name + ":" + std::to_string(line.number) + ": " + line.Name();
}

}  // namespace pixelforge::preview
