// The loop of the live view and the commands that it obeys.
#include "preview/view/live_view.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <optional>

#include "preview/host/file_paths.h"
#include "preview/host/notice.h"
#include "preview/host/png_file.h"
#include "preview/view/view_window.h"

namespace pixelforge::preview {
namespace {

using Clock = std::chrono::steady_clock;

/// Shaders count frames rather than seconds, so the view keeps to a screen's usual rate.
constexpr auto kFrameTime = std::chrono::microseconds(16'667);
constexpr auto kTitlePeriod = std::chrono::milliseconds(500);
constexpr auto kRemarkTime = std::chrono::seconds(3);
constexpr DWORD kIdleMilliseconds = 50;
constexpr std::int32_t kMostTiles = 32;

/// Levels that the key switches to when the command line named none.
constexpr std::int32_t kUsualLevelDivisor = 64;

void PrintLine(const std::string& line) {
    std::fprintf(stderr, "%s\n", line.c_str());
    std::fflush(stderr);
}

class LiveView {
public:
    LiveView(const ModuleLibrary& library, const LiveViewOptions& options);
    ~LiveView();
    LiveView(const LiveView&) = delete;
    LiveView& operator=(const LiveView&) = delete;
    ExitStatus Run();

private:
    bool Ended() const;
    void TakeCommands();
    void Obey(ViewCommand command);
    void ChangeTiles(std::string_view label, std::int32_t change);
    void Switch(std::string_view label);
    void SwitchLevels();
    void FollowWindowSize();
    void FollowSource();
    void Load();
    void PrepareAnew();
    void DrawOne();
    void TakeFrame(FrameResult result);
    void TakeFailedLoad();
    void ShowLoadedNotice();
    void SavePicture(const std::wstring& path);
    void Remark(const std::wstring& words);
    void UpdateWords();
    void UpdateTitle();
    void WaitUntil(Clock::time_point time);

    const LiveViewOptions& options_;
    ViewWindow view_;
    HostWindow moduleWindow_;
    HostSession session_;
    std::int32_t levels_;
    bool loading_ = true;  ///< the next frame loads the shader
    bool broken_ = false;  ///< the last load failed: nothing is drawn before something changes
    bool paused_ = false;
    bool stepping_ = false;
    bool keysShown_ = false;
    int frame_ = 0;  ///< drawn since the load
    int drawn_ = 0;
    std::wstring error_;
    std::wstring remark_;
    Clock::time_point remarkEnd_;
    std::optional<Clock::time_point> noticeEnd_;
    Clock::time_point titleTime_ = Clock::now();
    int framesAtTitle_ = 0;
    double rate_ = 0.0;
};

/// The system may have granted less than was asked for.
SIZE GrantedSize(ViewWindow& view) {
    const SIZE size = view.Frame().ClientSize();
    return {std::max<LONG>(size.cx, 1), std::max<LONG>(size.cy, 1)};
}

SessionOptions InWindow(SessionOptions session, HostWindow& window) {
    const SIZE size = window.ClientSize();
    session.width = size.cx;
    session.height = size.cy;
    session.window = &window;
    return session;
}

LiveView::LiveView(const ModuleLibrary& library, const LiveViewOptions& options)
    : options_(options),
      view_(options.session.width, options.session.height),
      moduleWindow_(GrantedSize(view_).cx, GrantedSize(view_).cy),
      session_(library, InWindow(options.session, moduleWindow_)),
      levels_(options.session.levelOutput != 0 ? options.session.levelDivisor : kUsualLevelDivisor) {
    view_.PassInputTo(moduleWindow_.Handle());
    session_.Open();
}

LiveView::~LiveView() {
    view_.PassInputTo(nullptr);
}

ExitStatus LiveView::Run() {
    auto next = Clock::now();
    while (!Ended()) {
        view_.Frame().PumpMessages();
        TakeCommands();
        FollowWindowSize();
        FollowSource();
        UpdateWords();
        UpdateTitle();
        if (broken_ || (paused_ && !stepping_)) {
            MsgWaitForMultipleObjects(0, nullptr, FALSE, kIdleMilliseconds, QS_ALLINPUT);
            continue;
        }
        DrawOne();
        next = std::max(next + kFrameTime, Clock::now());
        WaitUntil(next);
    }
    if (!options_.lastPicture.empty() && drawn_ > 0) {
        SavePicture(options_.lastPicture);
    }
    return drawn_ > 0 && !broken_ ? ExitStatus::Drawn : ExitStatus::Failed;
}

bool LiveView::Ended() const {
    return view_.Closed() || (options_.stop != nullptr && options_.stop->load()) ||
           (options_.frames > 0 && (drawn_ >= options_.frames || (broken_ && !options_.sourceChanged)));
}

void LiveView::TakeCommands() {
    while (const auto command = view_.TakeCommand()) {
        Obey(*command);
    }
}

void LiveView::Obey(ViewCommand command) {
    switch (command) {
        case ViewCommand::Help:
            keysShown_ = !keysShown_;
            break;
        case ViewCommand::Pause:
            paused_ = !paused_;
            break;
        case ViewCommand::Step:
            stepping_ = paused_;
            paused_ = true;
            break;
        case ViewCommand::Reload:
            Load();
            break;
        case ViewCommand::MoreColumns:
            ChangeTiles("X Tiling", 1);
            break;
        case ViewCommand::FewerColumns:
            ChangeTiles("X Tiling", -1);
            break;
        case ViewCommand::MoreRows:
            ChangeTiles("Y Tiling", 1);
            break;
        case ViewCommand::FewerRows:
            ChangeTiles("Y Tiling", -1);
            break;
        case ViewCommand::Mirror:
            Switch("Mirroring");
            break;
        case ViewCommand::Foreground:
            Switch("Foreground Only");
            break;
        case ViewCommand::Levels:
            SwitchLevels();
            break;
        case ViewCommand::SavePicture:
            SavePicture(options_.pictureStem + L"-" + std::to_wstring(frame_) + L".png");
            break;
    }
}

void LiveView::ChangeTiles(std::string_view label, std::int32_t change) {
    if (ControlRecord* control = session_.Control(label)) {
        std::int32_t& count = control->whole.value[0];
        count = std::clamp(count + change, 1, kMostTiles);
        Remark(FromUtf8(label) + L" " + std::to_wstring(count));
        PrepareAnew();
    }
}

void LiveView::Switch(std::string_view label) {
    if (ControlRecord* control = session_.Control(label)) {
        std::int32_t& on = control->toggle.value[1];
        on = on != 0 ? 0 : 1;
        Remark(FromUtf8(label) + (on != 0 ? L" on" : L" off"));
        PrepareAnew();
    }
}

void LiveView::SwitchLevels() {
    const bool on = session_.Context().levelOutput == 0;
    session_.SetLevels(on ? levels_ : 0);
    Remark(on ? L"Levels of " + std::to_wstring(levels_) : L"Colours");
    PrepareAnew();
}

/// Most changes need nothing: only one that turns the module's own bitmap on or off goes through
/// pre-initialisation, and with it through a new load.
void LiveView::PrepareAnew() {
    if (!session_.PreparedAsNeeded()) {
        const DrawContext& context = session_.Context();
        session_.Restart(context.width, context.height);
        loading_ = true;
        broken_ = false;
    }
}

void LiveView::FollowWindowSize() {
    const SIZE size = view_.Frame().ClientSize();
    const DrawContext& context = session_.Context();
    if (size.cx < 1 || size.cy < 1 || (size.cx == context.width && size.cy == context.height)) {
        return;
    }
    moduleWindow_.SetClientSize(size.cx, size.cy);
    session_.Restart(size.cx, size.cy);
    loading_ = true;
    broken_ = false;
}

void LiveView::FollowSource() {
    if (options_.sourceChanged && options_.sourceChanged()) {
        Load();
    }
}

void LiveView::Load() {
    session_.Reset();
    loading_ = true;
    broken_ = false;
}

void LiveView::DrawOne() {
    if (options_.events != nullptr) {
        options_.events->Play(drawn_, view_.Frame());
    }
    stepping_ = false;
    TakeFrame(session_.DrawFrame());
}

void LiveView::TakeFrame(FrameResult result) {
    if (result == FrameResult::Failed) {
        TakeFailedLoad();
        return;
    }
    if (result == FrameResult::ResetWanted) {
        loading_ = true;
    }
    if (result != FrameResult::Drawn) {
        return;
    }
    for (const std::string& line : options_.takeMessages()) {
        PrintLine(line);
    }
    if (loading_) {
        loading_ = false;
        frame_ = 0;
        error_.clear();
        ShowLoadedNotice();
    }
    ++frame_;
    ++drawn_;
    std::vector<std::uint8_t> greys;
    view_.ShowPicture(session_.Picture(greys));
}

/// The module destroys the old shader before it tries the new one, so the picture that stays is the
/// window's own.
void LiveView::TakeFailedLoad() {
    broken_ = true;
    error_.clear();
    for (const std::string& line : options_.takeMessages()) {
        PrintLine(line);
        error_ += FromUtf8(line) + L"\n";
    }
    if (error_.empty()) {
        error_ = L"The module draws nothing and gives no reason.";
    }
}

void LiveView::ShowLoadedNotice() {
    const auto notice = ReadNotice(HostSession::InfoText());
    const ControlRecord* seconds = session_.Control("Info Time");
    if (notice && seconds != nullptr && seconds->whole.value[0] > 0) {
        view_.ShowNotice(notice);
        noticeEnd_ = Clock::now() + std::chrono::seconds(seconds->whole.value[0]);
    }
}

void LiveView::SavePicture(const std::wstring& path) {
    std::vector<std::uint8_t> greys;
    try {
        WritePng(path, session_.Picture(greys));
        Remark(L"Saved " + path);
    } catch (const HostError& error) {
        PrintLine(error.what());
        Remark(FromUtf8(error.what()));
    }
}

void LiveView::Remark(const std::wstring& words) {
    remark_ = words;
    remarkEnd_ = Clock::now() + kRemarkTime;
}

void LiveView::UpdateWords() {
    const auto now = Clock::now();
    if (noticeEnd_ && now >= *noticeEnd_) {
        noticeEnd_.reset();
        view_.ShowNotice(std::nullopt);
    }
    if (now >= remarkEnd_) {
        remark_.clear();
    }
    // An error is never hidden, not even by the list of keys.
    std::wstring words = keysShown_ ? KeyList() : error_.empty() ? remark_ : std::wstring();
    if (!error_.empty()) {
        words += (keysShown_ ? L"\n\n" : L"") + error_;
    }
    view_.ShowWords(words);
}

void LiveView::UpdateTitle() {
    const auto now = Clock::now();
    const std::chrono::duration<double> passed = now - titleTime_;
    const bool still = broken_ || paused_;
    if (passed >= kTitlePeriod) {
        rate_ = (drawn_ - framesAtTitle_) / passed.count();
        titleTime_ = now;
        framesAtTitle_ = drawn_;
    } else if (!still) {
        return;
    }
    wchar_t rate[32];
    std::swprintf(rate, 32, L"%.1f frames/s", rate_);
    view_.SetTitle(FromUtf8(options_.name.substr(options_.name.find_last_of("\\/") + 1)) + L" - frame " +
                   std::to_wstring(frame_) + L" - " +
                   (broken_   ? L"does not load"
                    : paused_ ? L"stopped"
                              : rate) +
                   L" - Pixelforge preview (F1: keys)");
}

/// Messages are taken at once, so that a key is felt before the next frame.
void LiveView::WaitUntil(Clock::time_point time) {
    for (auto now = Clock::now(); now < time && !Ended(); now = Clock::now()) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(time - now).count();
        MsgWaitForMultipleObjects(0, nullptr, FALSE, static_cast<DWORD>(left), QS_ALLINPUT);
        view_.Frame().PumpMessages();
    }
}

}  // namespace

ExitStatus RunLiveView(const ModuleLibrary& library, const LiveViewOptions& options) {
    return LiveView(library, options).Run();
}

}  // namespace pixelforge::preview
