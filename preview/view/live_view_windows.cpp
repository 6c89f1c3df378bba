// The live view's loop and commands.
#include "preview/view/live_view.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <iterator>
#include <optional>
#include <utility>

#include "base/load_error.h"
#include "preview/host/file_paths.h"
#include "preview/host/notice.h"
#include "preview/view/control_changes.h"
#include "preview/view/control_panel.h"
#include "preview/view/view_window.h"

namespace pixelforge::preview {
namespace {

using Clock = std::chrono::steady_clock;

constexpr auto kFrameTime = std::chrono::microseconds(16'667);
constexpr auto kTitlePeriod = std::chrono::milliseconds(500);
constexpr auto kStatusTime = std::chrono::seconds(3);

constexpr DWORD kIdleMilliseconds = 50;

/// For F11, unless --levels gives another one.
constexpr std::int32_t kDefaultLevelDivisor = 64;

void PrintLine(const std::string& line) {
    std::fprintf(stderr, "%s\n", line.c_str());
    std::fflush(stderr);
}

class LiveView {
public:
    LiveView(const ModuleFunctions& module, const LiveViewOptions& options);
    ~LiveView();
    LiveView(const LiveView&) = delete;
    LiveView& operator=(const LiveView&) = delete;
    ExitStatus Run();

private:
    std::vector<ViewKey> Keys();
    bool Ended() const {
        const bool canRecover =
            options_.sourceChanged || (options_.playlist && (drawn_ > 0 || failures_ < kMaxInitialFailures));
        return replaced_ || view_.Closed() || (options_.stop && options_.stop->load()) ||
               (options_.frames > 0 && (drawn_ >= options_.frames || (failed_ && !canRecover)));
    }
    bool Resting() const { return failed_ || (paused_ && !stepping_); }
    void Pause(bool paused) {
        paused_ = paused;
        realTime_.Restart();
        if (options_.playlist && !failed_) {
            options_.playlist->RestartTime();
        }
    }
    void Step() {
        stepping_ = paused_;
        Pause(true);
    }
    void Refit();
    void Reload() {
        session_.Initialize();
        ExpectLoad();
    }
    void ExpectLoad() {
        loading_ = true;
        failed_ = false;
    }
    void OpenDroppedFile();
    void ShowNext() {
        options_.playlist->Next();
        Reload();
    }
    void ShowPrevious() {
        if (options_.playlist->Previous()) {
            Reload();
        } else {
            ShowStatus(L"No shader was shown before this one");
        }
    }
    void TogglePanel() {
        if (!panel_) {
            panel_.emplace(view_.Frame().Handle(), session_.Controls(), changes_,
                           [this] { CopyCommandLine(); });
        }
        panel_->Toggle();
    }
    void CopyCommandLine();
    void DrawFrame();
    void HandleDrawn();
    void HandleFailure();
    std::string TakeMessages() const;

    /// The messages of a load stay in the window until the next one; hidden ones appear again if they differ.
    void ReportMessages(const std::string& text) {
        if (!text.empty()) {
            PrintLine(text);
        }
        if ((loading_ || failed_) && text != messages_) {
            messages_ = text;
            messagesShown_ = true;
        }
    }

    /// For editors that follow the output: when a list of errors begins and ends.
    void ReportLoad(const std::string& outcome) const {
        if (options_.sourceChanged) {
            PrintLine("preview: " + options_.name + ": " + outcome);
        }
    }

    /// Only once: not after each change of the shader's files.
    void ShowLoadedNotice() {
        const ControlRecord* seconds = session_.Control("Info Time");
        if (noticeText_ != HostSession::InfoText() && seconds) {
            noticeText_ = HostSession::InfoText();
            noticeEnd_ = Clock::now() + std::chrono::seconds(seconds->whole.value[0]);
        }
    }
    void SavePicture(const std::wstring& path);
    void ShowStatus(const std::wstring& text) {
        status_ = text;
        statusEnd_ = Clock::now() + kStatusTime;
    }
    void UpdateText();
    void UpdateTitle();
    void WaitUntil(Clock::time_point time);

    const LiveViewOptions& options_;
    ViewWindow view_;
    HostWindow moduleWindow_;
    HostSession session_;
    RealTime realTime_{session_};
    ControlChanges changes_;
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

SessionOptions InWindow(SessionOptions session, HostWindow& window, SIZE size) {
    window.SetClientSize(size.cx, size.cy);
    session.width = size.cx;
    session.height = size.cy;
    session.window = &window;
    return session;
}

LiveView::LiveView(const ModuleFunctions& module, const LiveViewOptions& options)
    : options_(options),
      view_({.width = options.session.width,
             .height = options.session.height,
             .fullScreen = options.fullScreen,
             .monitor = options.monitor,
             .place = options.place}),
      moduleWindow_(1, 1),
      session_(module, InWindow(options.session, moduleWindow_,
                                ScaledSize(view_.Frame().ClientSize(), options.scale))),
      changes_(session_, view_,
               {.levelDivisor =
                    options.session.levelOutput != 0 ? options.session.levelDivisor : kDefaultLevelDivisor,
                .followClock = options.realTime,
                .scale = options.scale,
                .report = [this](const std::wstring& line) { ShowStatus(line); }}) {
    view_.AddKeys(Keys());
    view_.AddKeys(changes_.Keys());
    view_.ForwardInputTo(moduleWindow_.Handle());
    session_.Open();
}

LiveView::~LiveView() {
    view_.ForwardInputTo(nullptr);
}

// No letters, digits or arrows: they belong to the shader, which also receives these keys.
std::vector<ViewKey> LiveView::Keys() {
    const auto playlist = [this](auto act) {
        return [=, this] { options_.playlist ? act() : ShowStatus(L"There is no playlist"); };
    };
    const auto flip = [](bool& value) { return [&value] { value = !value; }; };
    const auto save = [this] {
        SavePicture(options_.pictureStem + L"-" + std::to_wstring(frame_) + L".png");
    };
    return {
        {VK_F1, 0, L"F1 or ?\tshow this list", flip(helpShown_)},
        {'?', kCharacter, nullptr, flip(helpShown_)},
        {VK_F2, 0, L"F2 or Pause\tpause / resume", [this] { Pause(!paused_); }},
        {VK_PAUSE, 0, nullptr, [this] { Pause(!paused_); }},
        {VK_F3, 0, L"F3\tpause, then step one frame", [this] { Step(); }},
        {VK_F4, 0, L"F4, Shift+F4\tnext / previous shader of the playlist", playlist([this] { ShowNext(); })},
        {VK_F4, kShift, nullptr, playlist([this] { ShowPrevious(); })},
        {VK_F5, 0, L"F5\treload the shader", [this] { Reload(); }},
        {VK_F5, kShift, L"Shift+F5\thide / show the shader's messages", flip(messagesShown_)},
        {VK_F12, 0, L"F12\tsave a PNG", save},
        {VK_INSERT, 0, L"Insert\tadd the shader to the favourites",
         playlist([this] { ShowStatus(options_.playlist->AddFavourite()); })},
        {VK_TAB, 0, L"Tab or F10\tall controls", [this] { TogglePanel(); }},
        {VK_F10, 0, nullptr, [this] { TogglePanel(); }},
        {VK_F10, kShift, L"Shift+F10\tcopy the settings as a command line", [this] { CopyCommandLine(); }},
        {VK_F12, kShift, L"Shift+F12\tgraph of frame times", [this] { view_.ToggleGraph(); }},
        {VK_RETURN, kAlt, L"Alt+Enter\tfull screen / window", [this] { view_.ToggleFullScreen(); }},
    };
}

ExitStatus LiveView::Run() {
    auto next = Clock::now();
    while (!Ended()) {
        view_.Frame().PumpMessages();
        view_.ActOnKeys();
        Refit();
        OpenDroppedFile();
        const bool changed = options_.sourceChanged && options_.sourceChanged();
        if (changed) {
            ReportLoad("reloading");
        }
        if (changes_.TakeReload() || changed) {
            Reload();
        }
        if (options_.playlist && !paused_ && options_.playlist->IsDue()) {
            ShowNext();
        }
        UpdateText();
        UpdateTitle();
        if (Resting()) {
            MsgWaitForMultipleObjects(0, nullptr, FALSE, kIdleMilliseconds, QS_ALLINPUT);
            continue;
        }
        DrawFrame();
        next = std::max(next + kFrameTime, Clock::now());
        WaitUntil(next);
    }
    if (!options_.lastPicture.empty() && drawn_ > 0) {
        SavePicture(options_.lastPicture);
    }
    return drawn_ > 0 && (!failed_ || options_.playlist) ? ExitStatus::Drawn : ExitStatus::Failed;
}

/// Applies a new window size, and changes of tiles, foreground or levels that require pre-initialisation.
void LiveView::Refit() {
    const SIZE window = view_.Frame().ClientSize();
    if (window.cx < 1 || window.cy < 1) {
        return;
    }
    const SIZE size = ScaledSize(window, changes_.Scale());
    const DrawContext& context = session_.Context();
    if (size.cx != context.width || size.cy != context.height) {
        moduleWindow_.SetClientSize(size.cx, size.cy);
    }
    if (session_.Refit(size.cx, size.cy)) {
        ExpectLoad();
    }
}

void LiveView::OpenDroppedFile() {
    const auto path = view_.DroppedFile();
    if (!path || !options_.fileDropped) {
        return;
    }
    const SIZE size = view_.Frame().ClientSize();
    const ViewState state = {.settings = changes_.Settings(),
                             .width = size.cx,
                             .height = size.cy,
                             .fullScreen = view_.IsFullScreen(),
                             .scale = changes_.Scale(),
                             .place = view_.Place()};
    const std::string failure = FailureOf([&] { options_.fileDropped(*path, state); });
    replaced_ = failure.empty();
    ShowStatus(FromUtf8(failure));
}

void LiveView::CopyCommandLine() {
    const std::wstring line = FromUtf8((options_.command ? options_.command() : std::string()) +
                                       view_.Arguments() + changes_.Arguments());
    ShowStatus((view_.CopyText(line) ? L"Copied: " : L"The clipboard is in use: ") + line);
}

void LiveView::DrawFrame() {
    if (options_.events) {
        options_.events->Play(drawn_, view_.Frame());
    }
    stepping_ = false;
    failed_ = false;
    if (changes_.FollowsClock()) {
        realTime_.Advance(changes_.Pace());
    }
    const auto start = Clock::now();
    const FrameResult result = session_.DrawFrame();
    if (result == FrameResult::Drawn && !loading_) {
        view_.AddFrameTime(std::chrono::duration<double, std::milli>(Clock::now() - start).count());
    }
    if (result == FrameResult::Drawn) {
        HandleDrawn();
    } else if (result == FrameResult::Failed) {
        HandleFailure();
    } else if (result == FrameResult::ResetWanted) {
        loading_ = true;
    }
}

void LiveView::HandleDrawn() {
    ReportMessages(TakeMessages());
    if (loading_) {
        ReportLoad("loaded");
        if (options_.sourceChanged && loadFailed_) {
            ShowStatus(L"Loaded again");
        }
        loading_ = false;
        loadFailed_ = false;
        realTime_.Restart();
        frame_ = 0;
        if (options_.playlist) {
            options_.playlist->MarkDrawn();
        }
        ShowLoadedNotice();
    }
    ++frame_;
    ++drawn_;
    view_.ShowPicture(session_.Picture());
}

/// The module destroys the old shader before it loads the new one; the window keeps showing the last picture.
void LiveView::HandleFailure() {
    failed_ = true;
    loadFailed_ = true;
    ++failures_;
    std::string text = TakeMessages();
    if (text.empty()) {
        text = "The shader failed to load; the module reported no reason.";
    }
    if (options_.playlist) {
        text = options_.playlist->MarkFailed(text);
    }
    ReportMessages(text);
    ReportLoad("failed to load");
}

/// Lines: for a load, first what preview itself found wrong, then the module's.
std::string LiveView::TakeMessages() const {
    std::vector<std::string> lines;
    if (options_.warnings && (loading_ || failed_)) {
        lines = options_.warnings();
    }
    std::ranges::move(options_.takeMessages(), std::back_inserter(lines));
    std::string text;
    for (const std::string& line : lines) {
        text += (text.empty() ? "" : "\n") + line;
    }
    return text;
}

void LiveView::SavePicture(const std::wstring& path) {
    const std::string failure = FailureOf([&] { WritePng(path, session_.Picture()); });
    if (failure.empty()) {
        ShowStatus(L"Saved " + path);
    } else {
        PrintLine(failure);
        ShowStatus(FromUtf8(failure));
    }
}

/// The list of keys needs the whole window.
void LiveView::UpdateText() {
    const auto now = Clock::now();
    const auto notice = !helpShown_ && now < noticeEnd_ ? ReadNotice(noticeText_) : std::nullopt;
    view_.Notice().Show(
        notice ? NoticeAsRichText(*notice) : std::string(),
        notice ? std::vector{notice->shaderLink, notice->authorLink} : std::vector<std::wstring>());
    const bool messages = messagesShown_ && !helpShown_ && !messages_.empty();
    view_.Messages().Show(messages ? TextAsRichText(FromUtf8(messages_)) : std::string());
    view_.ShowText(helpShown_ ? view_.KeyList() : now < statusEnd_ ? status_ : std::wstring());
    if (panel_) {
        panel_->Refresh();
    }
}

void LiveView::UpdateTitle() {
    const std::chrono::duration<double> passed = Clock::now() - titleTime_;
    if (passed < kTitlePeriod) {
        return;
    }
    wchar_t rate[32];
    std::swprintf(rate, 32, L"%.1f frames/s", (drawn_ - framesAtTitle_) / passed.count());
    titleTime_ = Clock::now();
    framesAtTitle_ = drawn_;
    const std::string name = options_.playlist ? options_.playlist->ShaderName() : options_.name;
    const wchar_t* const state = failed_ ? L"failed to load" : paused_ ? L"paused" : rate;
    view_.SetTitle(FileNameOf(FromUtf8(name)) + L" - frame " + std::to_wstring(frame_) + L" - " + state +
                   L" - Pixelforge preview (F1: keys)");
}

/// Dispatches messages while waiting, so that a key takes effect before the next frame.
void LiveView::WaitUntil(Clock::time_point time) {
    for (auto now = Clock::now(); now < time && !Ended(); now = Clock::now()) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(time - now).count();
        MsgWaitForMultipleObjects(0, nullptr, FALSE, static_cast<DWORD>(left), QS_ALLINPUT);
        view_.Frame().PumpMessages();
    }
}

}  // namespace

ExitStatus RunLiveView(const ModuleFunctions& module, const LiveViewOptions& options) {
    return LiveView(module, options).Run();
}

}  // namespace pixelforge::preview
