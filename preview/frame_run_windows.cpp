// The frame loop with its progress line, the video, and the report.
#include "preview/frame_run.h"

#include <windows.h>

#include <GL/gl.h>
#include <io.h>
#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <memory>

#include "base/win_handles.h"
#include "preview/host/file_paths.h"
#include "preview/host/host_error.h"

// Exported by every ntdll.dll, but in no header.
extern "C" __declspec(dllimport) DWORD NTAPI RtlComputeCrc32(DWORD start, const void* bytes, INT count);

namespace pixelforge::preview {
namespace {

using Clock = std::chrono::steady_clock;

/// On a console; its next line overwrites this one.
void ShowProgress(int done, int total) {
    if (done % 10 == 0 && _isatty(_fileno(stderr))) {
        std::fprintf(stderr, "frame %d of %d\r", done, total);
    }
}

/// True for the first call, after a reset and after a failed load.
bool NextCallLoads(const std::vector<FrameRecord>& frames) {
    return frames.empty() || frames.back().result == FrameResult::ResetWanted ||
           (frames.back().loading && frames.back().result == FrameResult::Failed);
}

/// True if the events have changed the frame's size, so that the next call has to load.
bool PlayEvents(EventPlayer& events, int frame, HostSession& session) {
    events.Play(frame, session.Window());
    const SIZE size = session.Window().ClientSize();
    return session.Refit(size.cx, size.cy);
}

bool NeverSucceeds(const std::vector<FrameRecord>& frames) {
    return frames.size() == kMaxInitialFailures &&
           std::ranges::all_of(frames, [](auto& frame) { return frame.result == FrameResult::Failed; });
}

/// Writes indented JSON in UTF-8. Keys are empty for array elements and for the outermost object.
class JsonWriter {
public:
    JsonWriter() {
        writer_.SetIndent(' ', 2);
        writer_.SetMaxDecimalPlaces(4);
    }

    void BeginObject(std::string_view key = {}) { Keyed(key).StartObject(); }
    void EndObject() { writer_.EndObject(); }
    void BeginArray(std::string_view key) { Keyed(key).StartArray(); }
    void EndArray() { writer_.EndArray(); }
    void Text(std::string_view key, std::string_view text) {
        Keyed(key).String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
    }
    void Integer(std::string_view key, std::int64_t number) { Keyed(key).Int64(number); }
    void Decimal(std::string_view key, double number) { Keyed(key).Double(number); }
    void Flag(std::string_view key, bool flag) { Keyed(key).Bool(flag); }

    std::string Result() const { return {buffer_.GetString(), buffer_.GetSize()}; }

private:
    using Writer = rapidjson::PrettyWriter<rapidjson::StringBuffer>;

    Writer& Keyed(std::string_view key) {
        if (!key.empty()) {
            writer_.Key(key.data(), static_cast<rapidjson::SizeType>(key.size()));
        }
        return writer_;
    }

    rapidjson::StringBuffer buffer_;
    Writer writer_{buffer_};
};

struct GlContextTraits {
    using Handle = HGLRC;
    static void Close(HGLRC context) noexcept { wglDeleteContext(context); }
};

std::string GlText(GLenum name) {
    const GLubyte* text = glGetString(name);
    return text ? reinterpret_cast<const char*>(text) : "";
}

void WriteGl(JsonWriter& json) {
    const HostWindow window(1, 1);
    const WindowDc dc(window.Handle());
    PIXELFORMATDESCRIPTOR format = {};
    format.nSize = sizeof format;
    format.nVersion = 1;
    format.dwFlags = PFD_DRAW_TO_WINDOW | PFD_SUPPORT_OPENGL | PFD_DOUBLEBUFFER;
    format.cColorBits = 32;
    SetPixelFormat(dc.Get(), ChoosePixelFormat(dc.Get(), &format), &format);
    const UniqueHandle<GlContextTraits> context(wglCreateContext(dc.Get()));
    wglMakeCurrent(dc.Get(), context.Get());
    json.BeginObject("gl");
    json.Text("version", GlText(GL_VERSION));
    json.Text("renderer", GlText(GL_RENDERER));
    json.Text("vendor", GlText(GL_VENDOR));
    json.EndObject();
    wglMakeCurrent(nullptr, nullptr);
}

void WriteStatistics(JsonWriter& json, const FrameStatistics& statistics) {
    json.BeginObject("statistics");
    json.Integer("drawn", statistics.drawn);
    json.Integer("failed", statistics.failed);
    json.Integer("measured", statistics.measured);
    json.Decimal("medianMilliseconds", statistics.medianMilliseconds);
    json.Decimal("percentile95Milliseconds", statistics.percentile95Milliseconds);
    json.Decimal("worstMilliseconds", statistics.worstMilliseconds);
    json.Decimal("framesPerSecond", statistics.framesPerSecond);
    json.EndObject();
}

void WriteFrames(JsonWriter& json, const std::vector<FrameRecord>& frames) {
    json.BeginArray("frames");
    for (const FrameRecord& frame : frames) {
        char crc[9];
        std::snprintf(crc, sizeof crc, "%08x", static_cast<unsigned>(frame.crc32));
        json.BeginObject();
        json.Integer("result", static_cast<std::int32_t>(frame.result));
        json.Decimal("milliseconds", frame.milliseconds);
        json.Flag("loading", frame.loading);
        json.Text("crc32", crc);
        json.EndObject();
    }
    json.EndArray();
}

void WriteFailedPicks(JsonWriter& json, const std::vector<PlaylistFailure>& failures) {
    json.BeginArray("failedPicks");
    for (const PlaylistFailure& failure : failures) {
        json.BeginObject();
        json.Integer("line", static_cast<std::int64_t>(failure.line.number));
        json.Text("shader", failure.line.Name());
        json.Text("reason", failure.reason);
        json.EndObject();
    }
    json.EndArray();
}

constexpr const char* kStandardOutputName = "standard output";

/// One plane of 8-bit values of limited range (BT.601). The weights are multiplied by 65536.
struct Plane {
    std::int32_t red;
    std::int32_t green;
    std::int32_t blue;
    std::int32_t offset;
    std::int32_t step;  ///< each value is the mean of this many pixels across and down
};
constexpr Plane kPlanes[] = {
    {16829, 33039, 6416, 16, 1}, {-9714, -19070, 28784, 128, 2}, {28784, -24103, -4681, 128, 2}};

/// Of the pixels from this position, counted from the upper left.
char ValueAt(const Plane& plane, const FramePixels& pixels, std::int32_t x, std::int32_t y) {
    std::int32_t sum = 0;
    for (std::int32_t row = y; row < y + plane.step; ++row) {
        const std::uint8_t* bgra = pixels.Row(row).data() + std::size_t{4} * static_cast<std::size_t>(x);
        for (std::int32_t i = 0; i < plane.step; ++i, bgra += 4) {
            sum += plane.red * bgra[2] + plane.green * bgra[1] + plane.blue * bgra[0];
        }
    }
    const std::int32_t divisor = 65536 * plane.step * plane.step;
    return static_cast<char>((sum + plane.offset * divisor + divisor / 2) / divisor);
}

/// The frame's header and its three planes, Y, Cb, Cr, rows from the top.
std::string FrameBytes(const FramePixels& pixels) {
    std::string frame = "FRAME\n";
    frame.reserve(frame.size() + pixels.bytes.size() / 8 * 3);
    for (const Plane& plane : kPlanes) {
        for (std::int32_t y = 0; y < pixels.height; y += plane.step) {
            for (std::int32_t x = 0; x < pixels.width; x += plane.step) {
                frame.push_back(ValueAt(plane, pixels, x, y));
            }
        }
    }
    return frame;
}

/// Standard output itself becomes a copy of standard error.
std::FILE* ReserveStandardOutput() {
    DWORD mode = 0;
    if (GetConsoleMode(reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(stdout))), &mode)) {
        throw HostError(ExitStatus::WrongUsage,
                        "--video: standard output is a terminal; pipe it into another program");
    }
    std::fflush(stdout);
    std::FILE* reserved = _fdopen(_dup(_fileno(stdout)), "wb");
    _dup2(_fileno(stderr), _fileno(stdout));
    return reserved;
}

void WriteBytes(std::FILE* file, const std::string& bytes, const std::string& name) {
    if (std::fwrite(bytes.data(), 1, bytes.size(), file) != bytes.size() || std::fflush(file) != 0) {
        const bool readerEnded = errno == EPIPE || (errno == EINVAL && name == kStandardOutputName);
        throw HostError(ExitStatus::Failed,
                        readerEnded ? "--video: the program that reads " + name + " has ended"
                                    : "--video: cannot write " + name + " (" + std::strerror(errno) + ")");
    }
}

}  // namespace

std::uint32_t Crc32(std::span<const std::uint8_t> bytes) noexcept {
    return RtlComputeCrc32(0, bytes.data(), static_cast<INT>(bytes.size()));
}

std::vector<FrameRecord> RunFrames(HostSession& session, const FrameRunOptions& options) {
    std::vector<FrameRecord> frames;
    RealTime realTime(session);
    const auto stopped = [&] { return options.stop && options.stop->load(); };
    for (int i = 0; i < options.frames && !stopped() && !NeverSucceeds(frames); ++i) {
        const bool resized = options.events && PlayEvents(*options.events, i, session);
        const bool loading = resized || NextCallLoads(frames);
        if (options.realTime) {
            realTime.Advance();
        }
        const auto start = Clock::now();
        const FrameResult result = session.DrawFrame();
        const std::chrono::duration<double, std::milli> time = Clock::now() - start;
        frames.push_back({.result = result,
                          .milliseconds = time.count(),
                          .loading = loading,
                          .crc32 = options.checksums ? Crc32(session.Pixels().bytes) : 0});
        if (loading) {
            realTime.Restart();
        }
        if (result == FrameResult::Drawn && options.frameDrawn) {
            options.frameDrawn(i + 1);
        }
        ShowProgress(i + 1, options.frames);
    }
    return frames;
}

std::function<void(const FramePixels&)> OpenVideo(const UserPath& target, std::int32_t framesPerSecond) {
    const bool standard = target.name == kStandardOutput;
    const std::string name = standard ? kStandardOutputName : target.name;
    std::FILE* const opened =
        standard ? ReserveStandardOutput() : _wfopen(LongPath(target.path).c_str(), L"wb");
    if (!opened) {
        throw HostError(ExitStatus::Failed, "--video: cannot write " + name);
    }
    const std::shared_ptr<std::FILE> file(opened, std::fclose);
    return [=, width = 0, height = 0](const FramePixels& pixels) mutable {
        if (width == 0) {
            width = pixels.width;
            height = pixels.height;
            const std::string size = " W" + std::to_string(width) + " H" + std::to_string(height);
            const std::string rate = " F" + std::to_string(framesPerSecond) + ":1";
            const std::string format = " Ip A1:1 C420jpeg XCOLORRANGE=LIMITED XMATRIX=BT.601\n";
            WriteBytes(file.get(), "YUV4MPEG2" + size + rate + format, name);
        }
        if (pixels.width != width || pixels.height != height) {
            throw HostError(ExitStatus::Failed, "--video: the frame size has changed, which a video cannot");
        }
        WriteBytes(file.get(), FrameBytes(pixels), name);
    };
}

std::vector<double> MeasuredTimes(std::span<const FrameRecord> frames) {
    const auto drawn = [](const FrameRecord& frame) { return frame.result == FrameResult::Drawn; };
    const bool onlyLoads =
        std::ranges::none_of(frames, [&](auto& frame) { return drawn(frame) && !frame.loading; });
    std::vector<double> times;
    for (const FrameRecord& frame : frames) {
        if (drawn(frame) && (onlyLoads || !frame.loading)) {
            times.push_back(frame.milliseconds);
        }
    }
    return times;
}

FrameStatistics Summarize(std::span<const FrameRecord> frames) {
    FrameStatistics statistics = {
        .drawn = std::ranges::count(frames, FrameResult::Drawn, &FrameRecord::result),
        .failed = std::ranges::count(frames, FrameResult::Failed, &FrameRecord::result)};
    std::vector<double> times = MeasuredTimes(frames);
    if (!times.empty()) {
        std::ranges::sort(times);
        statistics.measured = std::ssize(times);
        statistics.medianMilliseconds = (times[(times.size() - 1) / 2] + times[times.size() / 2]) / 2.0;
        statistics.percentile95Milliseconds = times[(times.size() * 95 + 99) / 100 - 1];
        statistics.worstMilliseconds = times.back();
        statistics.framesPerSecond = 1000.0 / std::max(statistics.medianMilliseconds, 0.001);
    }
    return statistics;
}

std::string ReportJson(const Report& report) {
    JsonWriter json;
    json.BeginObject();
    json.Text("shader", report.shader);
    json.Integer("width", report.width);
    json.Integer("height", report.height);
    json.Integer("exitStatus", report.exitStatus);
    WriteGl(json);
    if (report.failedPicks) {
        WriteFailedPicks(json, *report.failedPicks);
    } else {
        WriteStatistics(json, Summarize(report.frames));
        WriteFrames(json, report.frames);
        json.BeginArray("debugOutput");
        std::ranges::for_each(report.debugLines, [&](auto& line) { json.Text({}, line); });
        json.EndArray();
    }
    json.EndObject();
    return json.Result() + "\n";
}

}  // namespace pixelforge::preview
