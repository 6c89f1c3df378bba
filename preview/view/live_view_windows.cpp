// The live view's loop and commands.
#include "preview/view/live_view.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <iterator>
#include <optional>

#include "base/load_error.h"
#include "preview/host/file_paths.h"
#include "preview/host/notice.h"
#include "preview/view/control_changes.h"
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
    bool Ended() const;
    bool Resting() const;
    void ExecuteCommands();
    void Execute(ViewCommand command);
    void Pause(bool paused);
    void Refit();
    void Reload();
    void ExpectLoad();
    void OpenDroppedFile();
    void ExecuteOnPlaylist(ViewCommand command);
    void DrawFrame();
    void HandleResult(FrameResult result);
    void HandleDrawn();
    void HandleFailure();
    std::string TakeMessages() const;
    void ReportMessages(const std::string& text);
    void ReportLoad(const std::string& outcome) const;
    void ShowLoadedNotice();
    void SavePicture(const std::wstring& path);
    void ShowStatus(const std::wstring& text);
    void UpdateText();
    void UpdateTitle();
    void WaitUntil(Clock::time_point time);

    const LiveViewOptions& options_;
    ViewWindow view_;
    HostWindow moduleWindow_;
    HostSession session_;
    RealTime realTime_{session_};
    ControlChanges controls_;
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
    std::wstring messages_;  ///< of the last load
    bool messagesShown_ = true;
    std::optional<std::wstring> noticeText_;  ///< shown last
    std::wstring status_;
    Clock::time_point statusEnd_;
    std::optional<Clock::time_point> noticeEnd_;
    Clock::time_point titleTime_ = Clock::now();
    int framesAtTitle_ = 0;
    double rate_ = 0.0;
};

/// The system may have limited the window's size.
SIZE FrameSize(ViewWindow& view, double scale) {
    return ScaledSize(view.Frame().ClientSize(), scale);
}

SessionOptions InWindow(SessionOptions session, HostWindow& window) {
    const SIZE size = window.ClientSize();
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
      moduleWindow_(FrameSize(view_, options.scale).cx, FrameSize(view_, options.scale).cy),
      session_(module, InWindow(options.session, moduleWindow_)),
      controls_(session_, view_,
                {.levelDivisor =
                     options.session.levelOutput != 0 ? options.session.levelDivisor : kDefaultLevelDivisor,
                 .followClock = options.realTime,
                 .scale = options.scale,
                 .command = options.command,
                 .report = [this](const std::wstring& text) { ShowStatus(text); }}) {
    view_.ForwardInputTo(moduleWindow_.Handle());
    session_.Open();
}

LiveView::~LiveView() {
    view_.ForwardInputTo(nullptr);
}

ExitStatus LiveView::Run() {
    auto next = Clock::now();
    while (!Ended()) {
        view_.Frame().PumpMessages();
        ExecuteCommands();
        Refit();
        OpenDroppedFile();
        const bool changed = options_.sourceChanged && options_.sourceChanged();
        if (changed) {
            ReportLoad("reloading");
        }
        if (controls_.TakeReload() || changed) {
            Reload();
        }
        if (options_.playlist && !paused_ && options_.playlist->IsDue()) {
            ExecuteOnPlaylist(ViewCommand::NextPick);
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

bool LiveView::Ended() const {
    if (replaced_ || view_.Closed() || (options_.stop && options_.stop->load())) {
        return true;
    }
    const bool canRecover =
        options_.sourceChanged || (options_.playlist && (drawn_ > 0 || failures_ < kMaxInitialFailures));
    return options_.frames > 0 && (drawn_ >= options_.frames || (failed_ && !canRecover));
}

bool LiveView::Resting() const {
    return failed_ || (paused_ && !stepping_);
}

void LiveView::ExecuteCommands() {
    while (const auto command = view_.NextCommand()) {
        Execute(*command);
    }
}

void LiveView::Execute(ViewCommand command) {
    switch (command) {
        case ViewCommand::Help:
            helpShown_ = !helpShown_;
            break;
        case ViewCommand::Pause:
            Pause(!paused_);
            break;
        case ViewCommand::Step:
            stepping_ = paused_;
            Pause(true);
            break;
        case ViewCommand::Reload:
            Reload();
            break;
        case ViewCommand::Messages:
            messagesShown_ = !messagesShown_;
            break;
        case ViewCommand::SavePicture:
            SavePicture(options_.pictureStem + L"-" + std::to_wstring(frame_) + L".png");
            break;
        case ViewCommand::NextPick:
        case ViewCommand::PreviousPick:
        case ViewCommand::AddFavourite:
            ExecuteOnPlaylist(command);
            break;
        case ViewCommand::FullScreen:
            view_.SetFullScreen(!view_.IsFullScreen());
            break;
        case ViewCommand::Graph:
            view_.Graph().Toggle();
            break;
        default:
            controls_.Execute(command);
            break;
    }
}

void LiveView::Pause(bool paused) {
    paused_ = paused;
    realTime_.Restart();
    if (options_.playlist && !failed_) {
        options_.playlist->RestartTime();
    }
}

/// Applies a new window size, and changes of tiles, foreground or levels that require pre-initialisation.
void LiveView::Refit() {
    const SIZE window = view_.Frame().ClientSize();
    if (window.cx < 1 || window.cy < 1) {
        return;
    }
    const SIZE size = controls_.FrameSize();
    const DrawContext& context = session_.Context();
    if (size.cx != context.width || size.cy != context.height) {
        moduleWindow_.SetClientSize(size.cx, size.cy);
    }
    if (session_.Refit(size.cx, size.cy)) {
        ExpectLoad();
    }
}

void LiveView::Reload() {
    session_.Initialize();
    ExpectLoad();
}

void LiveView::OpenDroppedFile() {
    const auto path = view_.DroppedFile();
    if (!path || !options_.fileDropped) {
        return;
    }
    const SIZE size = view_.Frame().ClientSize();
    const ViewState state = {.settings = controls_.Settings(),
                             .width = size.cx,
                             .height = size.cy,
                             .fullScreen = view_.IsFullScreen(),
                             .scale = controls_.Scale(),
                             .place = view_.Place()};
    const std::string failure = FailureOf([&] { options_.fileDropped(*path, state); });
    replaced_ = failure.empty();
    ShowStatus(FromUtf8(failure));
}

void LiveView::ExpectLoad() {
    loading_ = true;
    failed_ = false;
}

void LiveView::ExecuteOnPlaylist(ViewCommand command) {
    if (!options_.playlist) {
        ShowStatus(L"There is no playlist");
    } else if (command == ViewCommand::AddFavourite) {
        ShowStatus(options_.playlist->AddFavourite());
    } else if (command == ViewCommand::PreviousPick && !options_.playlist->Previous()) {
        ShowStatus(L"No shader was shown before this one");
    } else {
        if (command == ViewCommand::NextPick) {
            options_.playlist->Next();
        }
        Reload();
    }
}

void LiveView::DrawFrame() {
    if (options_.events) {
        options_.events->Play(drawn_, view_.Frame());
    }
    stepping_ = false;
    failed_ = false;
    if (controls_.FollowsClock()) {
        realTime_.Advance(controls_.Pace());
    }
    const auto start = Clock::now();
    const FrameResult result = session_.DrawFrame();
    if (result == FrameResult::Drawn && !loading_) {
        view_.Graph().Add(std::chrono::duration<double, std::milli>(Clock::now() - start).count());
    }
    HandleResult(result);
}

void LiveView::HandleResult(FrameResult result) {
    switch (result) {
        case FrameResult::Failed:
            HandleFailure();
            break;
        case FrameResult::Drawn:
            HandleDrawn();
            break;
        case FrameResult::ResetWanted:
            loading_ = true;
            break;
        case FrameResult::NothingDrawn:
            break;
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

/// The messages of a load stay in the window until the next one; hidden ones appear again if they differ.
void LiveView::ReportMessages(const std::string& text) {
    if (!text.empty()) {
        PrintLine(text);
    }
    std::wstring shown;
    for (const wchar_t c : FromUtf8(text)) {
        shown += c == L'\n' ? std::wstring(L"\r\n") : std::wstring(1, c);
    }
    if ((loading_ || failed_) && shown != messages_) {
        messages_ = shown;
        messagesShown_ = true;
    }
}

/// For editors that follow the output: when a list of errors begins and ends.
void LiveView::ReportLoad(const std::string& outcome) const {
    if (options_.sourceChanged) {
        PrintLine("preview: " + options_.name + ": " + outcome);
    }
}

/// Only once: not after each change of the shader's files.
void LiveView::ShowLoadedNotice() {
    const auto notice = ReadNotice(HostSession::InfoText());
    const ControlRecord* seconds = session_.Control("Info Time");
    if (notice && noticeText_ != HostSession::InfoText() && seconds && seconds->whole.value[0] > 0) {
        noticeText_ = HostSession::InfoText();
        view_.ShowNotice(notice);
        noticeEnd_ = Clock::now() + std::chrono::seconds(seconds->whole.value[0]);
    }
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

void LiveView::ShowStatus(const std::wstring& text) {
    status_ = text;
    statusEnd_ = Clock::now() + kStatusTime;
}

void LiveView::UpdateText() {
    const auto now = Clock::now();
    if (noticeEnd_ && now >= *noticeEnd_) {
        noticeEnd_.reset();
        view_.ShowNotice(std::nullopt);
    }
    if (now >= statusEnd_) {
        status_.clear();
    }
    view_.ShowMessages(messagesShown_ ? messages_ : std::wstring());
    view_.ShowText(helpShown_ ? KeyList() : status_);
    controls_.RefreshPanel();
}

void LiveView::UpdateTitle() {
    const auto now = Clock::now();
    const std::chrono::duration<double> passed = now - titleTime_;
    const bool idle = failed_ || paused_;
    if (passed >= kTitlePeriod) {
        rate_ = (drawn_ - framesAtTitle_) / passed.count();
        titleTime_ = now;
        framesAtTitle_ = drawn_;
    } else if (!idle) {
        return;
    }
    wchar_t rate[32];
    std::swprintf(rate, 32, L"%.1f frames/s", rate_);
    const std::string name = options_.playlist ? options_.playlist->ShaderName() : options_.name;
    view_.SetTitle(FileNameOf(FromUtf8(name)) + L" - frame " + std::to_wstring(frame_) + L" - " +
                   (failed_   ? L"failed to load"
                    : paused_ ? L"paused"
                              : rate) +
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
