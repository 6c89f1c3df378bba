// The live view's loop and commands.
#include "preview/view/live_view.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <optional>

#include "base/load_error.h"
#include "preview/host/file_paths.h"
#include "preview/host/notice.h"
#include "preview/view/control_changes.h"
#include "preview/view/control_panel.h"

namespace pixelforge::preview {
namespace {

using Clock = std::chrono::steady_clock;

constexpr auto kFrameTime = std::chrono::microseconds(16'667);
constexpr auto kTitlePeriod = std::chrono::milliseconds(500);
constexpr auto kStatusTime = std::chrono::seconds(3);
constexpr DWORD kIdleMilliseconds = 50;

SessionOptions InWindow(HostWindow& window, SIZE size, const LiveViewOptions& options) {
    window.SetClientSize(size.cx, size.cy);
    return {.width = size.cx,
            .height = size.cy,
            .playlistName = options.playlistName,
            .settings = options.state.settings,
            .autoOffscreen = true,
            .window = &window};
}

class LiveView {
public:
    LiveView(const ModuleFunctions& module, const LiveViewOptions& options)
        : options_(options),
          session_(module, InWindow(view_.ModuleWindow(),
                                    ScaledSize(view_.Frame().ClientSize(), state_.scale), options)) {
        view_.AddKeys(Keys());
        view_.AddKeys(changes_.Keys());
        session_.SetLevels(state_.levels);
        session_.Open();
    }

    ExitStatus Run() {
        auto next = Clock::now();
        while (!Ended()) {
            view_.Frame().PumpMessages();
            view_.ActOnKeys();
            Refit();
            OpenDroppedFile();
            ReloadIfChanged();
            UpdateText();
            UpdateTitle();
            if (failed_ || (paused_ && !stepping_)) {
                MsgWaitForMultipleObjects(0, nullptr, FALSE, kIdleMilliseconds, QS_ALLINPUT);
                continue;
            }
            DrawFrame();
            next = std::max(next + kFrameTime, Clock::now());
            WaitUntil(next);
        }
        if (!options_.lastPicture.empty() && drawn_ > 0) {
            WritePng(options_.lastPicture, session_.Picture());
        }
        return drawn_ > 0 && (!failed_ || playlist_) ? ExitStatus::Drawn : ExitStatus::Failed;
    }

private:
    // No letters, digits or arrows: they belong to the shader, which also receives these keys.
    std::vector<ViewKey> Keys() {
        const auto inPlaylist = [this](auto act) {
            return [=, this] { playlist_ ? act() : ShowStatus(L"There is no playlist"); };
        };
        const auto flip = [](bool& value) { return [&value] { value = !value; }; };
        const auto step = [this] {
            stepping_ = paused_;
            Pause(true);
        };
        return {
            {VK_F1, 0, L"F1\tshow this list", flip(helpShown_)},
            {VK_F2, 0, L"F2\tpause / resume", [this] { Pause(!paused_); }},
            {VK_F3, 0, L"F3\tpause, then step one frame", step},
            {VK_F4, 0, L"F4, Shift+F4\tnext / previous shader of the playlist",
             inPlaylist([this] { ShowNext(); })},
            {VK_F4, kShift, nullptr, inPlaylist([this] { ShowPrevious(); })},
            {VK_F5, 0, L"F5\treload the shader", [this] { Reload(); }},
            {VK_F5, kShift, L"Shift+F5\thide / show the shader's messages", flip(messagesShown_)},
            {VK_F12, 0, L"F12\tsave a PNG", [this] { SavePicture(); }},
            {VK_INSERT, 0, L"Insert\tadd the shader to the favourites",
             inPlaylist([this] { ShowStatus(playlist_->AddFavourite()); })},
            {VK_TAB, 0, L"Tab or F10\tall controls", [this] { TogglePanel(); }},
            {VK_F10, 0, nullptr, [this] { TogglePanel(); }},
            {VK_F10, kShift, L"Shift+F10\tcopy the settings as a command line",
             [this] { CopyCommandLine(); }},
            {VK_F12, kShift, L"Shift+F12\tgraph of frame times", [this] { view_.ToggleGraph(); }},
            {VK_RETURN, kAlt, L"Alt+Enter\tfull screen / window", [this] { view_.ToggleFullScreen(); }},
        };
    }

    bool Ended() const {
        const bool canRecover =
            options_.sourceChanged || (playlist_ && (drawn_ > 0 || failures_ < kMaxInitialFailures));
        return replaced_ || view_.Closed() || (options_.stop && options_.stop->load()) ||
               (options_.frames > 0 && (drawn_ >= options_.frames || (failed_ && !canRecover)));
    }

    void Pause(bool paused) {
        paused_ = paused;
        realTime_.Restart();
        if (playlist_ && !failed_) {
            playlist_->RestartTime();
        }
    }

    void Reload() {
        session_.Initialize();
        ExpectLoad();
    }

    void ExpectLoad() {
        loading_ = true;
        failed_ = false;
    }

    void ShowNext() {
        playlist_->Next();
        Reload();
    }

    void ShowPrevious() {
        if (playlist_->Previous()) {
            Reload();
        } else {
            ShowStatus(L"No shader was shown before this one");
        }
    }

    void TogglePanel() {
        if (!panel_) {
            const auto copy = [this] { CopyCommandLine(); };
            panel_.emplace(view_.Frame().Handle(), session_.Controls(), changes_, copy);
        }
        panel_->Toggle();
    }

    void ReloadIfChanged() {
        const bool changed = options_.sourceChanged && options_.sourceChanged();
        if (changed) {
            ReportLoad("reloading");
        }
        if (changes_.TakeReload() || changed) {
            Reload();
        }
        if (playlist_ && !paused_ && playlist_->IsDue()) {
            ShowNext();
        }
    }

    /// Applies a new window size, and changes of tiles, foreground or levels that require pre-initialisation.
    void Refit() {
        const SIZE window = view_.Frame().ClientSize();
        if (window.cx < 1 || window.cy < 1) {
            return;
        }
        const SIZE size = ScaledSize(window, state_.scale);
        const DrawContext& context = session_.Context();
        if (size.cx != context.width || size.cy != context.height) {
            view_.ModuleWindow().SetClientSize(size.cx, size.cy);
        }
        if (session_.Refit(size.cx, size.cy)) {
            ExpectLoad();
        }
    }

    void OpenDroppedFile() {
        const auto path = view_.DroppedFile();
        if (path && options_.fileDropped) {
            view_.Describe(state_);
            state_.settings = changes_.Settings();
            const std::string failure = FailureOf([&] { options_.fileDropped(*path, state_); });
            replaced_ = failure.empty();
            ShowStatus(FromUtf8(failure));
        }
    }

    void CopyCommandLine() {
        view_.Describe(state_);
        const std::wstring line = FromUtf8(options_.command + changes_.Arguments());
        ShowStatus((view_.CopyText(line) ? L"Copied: " : L"The clipboard is in use: ") + line);
    }

    void DrawFrame() {
        if (options_.events) {
            options_.events->Play(drawn_, view_.Frame());
        }
        stepping_ = false;
        if (state_.realTime) {
            realTime_.Advance(changes_.Pace());
        }
        const auto start = Clock::now();
        const FrameResult result = session_.DrawFrame();
        if (result == FrameResult::Drawn) {
            const std::chrono::duration<double, std::milli> time = Clock::now() - start;
            HandleDrawn(time.count());
        } else if (result == FrameResult::Failed) {
            HandleFailure();
        } else if (result == FrameResult::ResetWanted) {
            loading_ = true;
        }
    }

    void HandleDrawn(double milliseconds) {
        ReportMessages(TakeMessages());
        if (!loading_) {
            view_.AddFrameTime(milliseconds);
        } else {
            HandleLoaded();
        }
        ++frame_;
        ++drawn_;
        view_.ShowPicture(session_.Picture());
    }

    void HandleLoaded() {
        ReportLoad("loaded");
        if (options_.sourceChanged && loadFailed_) {
            ShowStatus(L"Loaded again");
        }
        loading_ = false;
        loadFailed_ = false;
        realTime_.Restart();
        frame_ = 0;
        if (playlist_) {
            playlist_->MarkDrawn();
        }
        // The notice only once, not after each change of the shader's files.
        const ControlRecord* seconds = session_.Control("Info Time");
        if (noticeText_ != HostSession::InfoText() && seconds) {
            noticeText_ = HostSession::InfoText();
            noticeEnd_ = Clock::now() + std::chrono::seconds(seconds->whole.value[0]);
        }
    }

    void HandleFailure() {
        failed_ = true;
        loadFailed_ = true;
        ++failures_;
        std::string text = TakeMessages();
        if (text.empty()) {
            text = "The shader failed to load; the module reported no reason.";
        }
        ReportMessages(playlist_ ? playlist_->MarkFailed(text) : text);
        ReportLoad("failed to load");
    }

    std::string TakeMessages() const {
        std::string text;
        for (const std::string& line : options_.takeMessages(loading_ || failed_)) {
            text += (text.empty() ? "" : "\n") + line;
        }
        return text;
    }

    /// The messages of a load stay in the window until the next one; hidden ones appear again if they differ.
    void ReportMessages(const std::string& text) {
        if (!text.empty()) {
            std::fprintf(stderr, "%s\n", text.c_str());
        }
        if ((loading_ || failed_) && text != messages_) {
            messages_ = text;
            messagesShown_ = true;
        }
    }

    /// For editors that follow the output: when a list of errors begins and ends.
    void ReportLoad(const char* outcome) const {
        if (options_.sourceChanged) {
            std::fprintf(stderr, "preview: %s: %s\n", options_.name.c_str(), outcome);
        }
    }

    void SavePicture() {
        const std::wstring path = options_.pictureStem + L"-" + std::to_wstring(frame_) + L".png";
        const std::string failure = FailureOf([&] { WritePng(path, session_.Picture()); });
        ShowStatus(failure.empty() ? L"Saved " + path : FromUtf8(failure));
    }

    void ShowStatus(const std::wstring& text) {
        status_ = text;
        statusEnd_ = Clock::now() + kStatusTime;
    }

    /// The list of keys needs the whole window.
    void UpdateText() {
        const auto now = Clock::now();
        const auto notice = !helpShown_ && now < noticeEnd_ ? ReadNotice(noticeText_) : std::nullopt;
        if (notice) {
            view_.Notice().Show(NoticeAsRichText(*notice), {notice->shaderLink, notice->authorLink});
        } else {
            view_.Notice().Show({});
        }
        const bool messages = messagesShown_ && !helpShown_ && !messages_.empty();
        view_.Messages().Show(messages ? TextAsRichText(FromUtf8(messages_)) : std::string());
        view_.ShowText(helpShown_ ? view_.KeyList() : now < statusEnd_ ? status_ : std::wstring());
        if (panel_) {
            panel_->Refresh();
        }
    }

    void UpdateTitle() {
        const std::chrono::duration<double> passed = Clock::now() - titleTime_;
        if (passed < kTitlePeriod) {
            return;
        }
        wchar_t rate[32];
        std::swprintf(rate, 32, L"%.1f frames/s", (drawn_ - framesAtTitle_) / passed.count());
        titleTime_ = Clock::now();
        framesAtTitle_ = drawn_;
        const std::string name = playlist_ ? playlist_->ShaderName() : options_.name;
        const wchar_t* const state = failed_ ? L"failed to load" : paused_ ? L"paused" : rate;
        view_.SetTitle(FileNameOf(FromUtf8(name)) + L" - frame " + std::to_wstring(frame_) + L" - " + state +
                       L" - Pixelforge preview (F1: keys)");
    }

    /// Dispatches messages while waiting, so that a key takes effect before the next frame.
    void WaitUntil(Clock::time_point time) {
        for (auto now = Clock::now(); now < time && !Ended(); now = Clock::now()) {
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(time - now).count();
            MsgWaitForMultipleObjects(0, nullptr, FALSE, static_cast<DWORD>(left), QS_ALLINPUT);
            view_.Frame().PumpMessages();
        }
    }

    const LiveViewOptions& options_;
    PlaylistPlayer* const playlist_ = options_.playlist;
    ViewState state_ = options_.state;
    ViewWindow view_{state_};
    HostSession session_;
    RealTime realTime_{session_};
    ControlChanges changes_{session_, state_, [this](const std::wstring& line) { ShowStatus(line); }};
    std::optional<ControlPanel> panel_;
    bool loading_ = true;      ///< the next frame loads the shader
    bool loadFailed_ = false;  ///< the last load that ended
    bool failed_ = false;      ///< the last load failed: draws nothing until something changes
    int failures_ = 0;
    bool paused_ = false;
    bool stepping_ = false;
    bool helpShown_ = false;
    bool replaced_ = false;  ///< by another view
    int frame_ = 0;          ///< drawn since the last load
    int drawn_ = 0;
    std::string messages_;  ///< of the last load
    bool messagesShown_ = true;
    std::wstring noticeText_;  ///< shown last
    Clock::time_point noticeEnd_;
    std::wstring status_;
    Clock::time_point statusEnd_;
    Clock::time_point titleTime_;
    int framesAtTitle_ = 0;
};

}  // namespace

ExitStatus RunLiveView(const ModuleFunctions& module, const LiveViewOptions& options) {
    return LiveView(module, options).Run();
}

}  // namespace pixelforge::preview
