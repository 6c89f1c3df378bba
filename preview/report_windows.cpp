// Checksum, statistics and JSON of a run.
#include "preview/report.h"

#include <windows.h>

#include <GL/gl.h>
#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "base/win_handles.h"
#include "preview/host/host_window.h"

// Exported by every ntdll.dll, but in no header.
extern "C" __declspec(dllimport) DWORD NTAPI RtlComputeCrc32(DWORD start, const void* bytes, INT count);

namespace pixelforge::preview {
namespace {

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

/// The strings are empty if no context can be created.
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

double Median(std::span<const double> sorted) {
    return (sorted[(sorted.size() - 1) / 2] + sorted[sorted.size() / 2]) / 2.0;
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

}  // namespace

std::uint32_t Crc32(std::span<const std::uint8_t> bytes) noexcept {
    return RtlComputeCrc32(0, bytes.data(), static_cast<INT>(bytes.size()));
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
        statistics.medianMilliseconds = Median(times);
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
