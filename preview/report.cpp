// Checksum, statistics and JSON of a run.
#include "preview/report.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

#include "preview/documents/json_writer.h"

namespace pixelforge::preview {
namespace {

constexpr std::uint32_t kReversedPolynomial = 0xEDB88320u;

constexpr std::array<std::uint32_t, 256> MakeCrcTable() {
    std::array<std::uint32_t, 256> table = {};
    for (std::uint32_t i = 0; i < 256; ++i) {
        std::uint32_t value = i;
        for (int bit = 0; bit < 8; ++bit) {
            value = (value >> 1) ^ ((value & 1u) ? kReversedPolynomial : 0u);
        }
        table[i] = value;
    }
    return table;
}

constexpr auto kCrcTable = MakeCrcTable();

std::vector<double> Times(std::span<const FrameRecord> frames, bool withLoading) {
    std::vector<double> times;
    for (const FrameRecord& frame : frames) {
        if (frame.result == FrameResult::Drawn && (withLoading || !frame.loading)) {
            times.push_back(frame.milliseconds);
        }
    }
    return times;
}

std::size_t CountResults(std::span<const FrameRecord> frames, FrameResult result) {
    return static_cast<std::size_t>(
        std::ranges::count_if(frames, [&](const FrameRecord& frame) { return frame.result == result; }));
}

/// Nearest rank; 0 without values.
double Percentile(std::span<const double> sorted, double percent) {
    if (sorted.empty()) {
        return 0.0;
    }
    const auto count = static_cast<double>(sorted.size());
    const double rank = std::clamp(std::ceil(percent / 100.0 * count), 1.0, count);
    return sorted[static_cast<std::size_t>(rank) - 1];
}

double Median(std::span<const double> sorted) {
    if (sorted.empty()) {
        return 0.0;
    }
    const std::size_t middle = sorted.size() / 2;
    return sorted.size() % 2 != 0 ? sorted[middle] : (sorted[middle - 1] + sorted[middle]) / 2.0;
}

void WriteGl(JsonWriter& json, const GlInfo& gl) {
    json.BeginObject("gl");
    json.Text("version", gl.version);
    json.Text("renderer", gl.renderer);
    json.Text("vendor", gl.vendor);
    json.EndObject();
}

void WriteCount(JsonWriter& json, std::string_view key, std::size_t count) {
    json.Integer(key, static_cast<std::int64_t>(count));
}

void WriteStatistics(JsonWriter& json, const FrameStatistics& statistics) {
    json.BeginObject("statistics");
    WriteCount(json, "drawn", statistics.drawn);
    WriteCount(json, "failed", statistics.failed);
    WriteCount(json, "measured", statistics.measured);
    json.Decimal("medianMilliseconds", statistics.medianMilliseconds);
    json.Decimal("percentile95Milliseconds", statistics.percentile95Milliseconds);
    json.Decimal("percentile99Milliseconds", statistics.percentile99Milliseconds);
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

void WriteDebugOutput(JsonWriter& json, const std::vector<std::string>& lines) {
    json.BeginArray("debugOutput");
    for (const std::string& line : lines) {
        json.Text({}, line);
    }
    json.EndArray();
}

void WriteFailedPicks(JsonWriter& json, const std::vector<PlaylistFailure>& failures) {
    json.BeginArray("failedPicks");
    for (const PlaylistFailure& failure : failures) {
        json.BeginObject();
        WriteCount(json, "line", failure.line.number);
        json.Text("shader", failure.line.Name());
        json.Text("reason", failure.reason);
        json.EndObject();
    }
    json.EndArray();
}

}  // namespace

std::uint32_t Crc32(std::span<const std::uint8_t> bytes) noexcept {
    std::uint32_t crc = ~0u;
    for (const std::uint8_t byte : bytes) {
        crc = (crc >> 8) ^ kCrcTable[(crc ^ byte) & 0xFFu];
    }
    return ~crc;
}

std::vector<double> MeasuredTimes(std::span<const FrameRecord> frames) {
    const std::vector<double> times = Times(frames, false);
    return times.empty() ? Times(frames, true) : times;
}

FrameStatistics Summarize(std::span<const FrameRecord> frames) {
    FrameStatistics statistics;
    statistics.drawn = CountResults(frames, FrameResult::Drawn);
    statistics.failed = CountResults(frames, FrameResult::Failed);
    std::vector<double> times = MeasuredTimes(frames);
    std::ranges::sort(times);
    statistics.measured = times.size();
    statistics.medianMilliseconds = Median(times);
    statistics.percentile95Milliseconds = Percentile(times, 95.0);
    statistics.percentile99Milliseconds = Percentile(times, 99.0);
    statistics.worstMilliseconds = Percentile(times, 100.0);
    if (statistics.medianMilliseconds > 0.0) {
        statistics.framesPerSecond = 1000.0 / statistics.medianMilliseconds;
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
    WriteGl(json, report.gl);
    if (report.failedPicks) {
        WriteFailedPicks(json, *report.failedPicks);
    } else {
        WriteStatistics(json, Summarize(report.frames));
        WriteFrames(json, report.frames);
        WriteDebugOutput(json, report.debugLines);
    }
    json.EndObject();
    return json.Result() + "\n";
}

}  // namespace pixelforge::preview
