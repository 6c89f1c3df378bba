// Writes a run's report.
#include "preview/report.h"

#include <cstdio>

#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>

namespace pixelforge::preview {
namespace {

using Writer = rapidjson::PrettyWriter<rapidjson::StringBuffer>;

void WriteText(Writer& writer, const char* key, const std::string& text) {
    writer.Key(key);
    writer.String(text.c_str(), static_cast<rapidjson::SizeType>(text.size()));
}

void WriteNumber(Writer& writer, const char* key, double number) {
    writer.Key(key);
    writer.Double(number);
}

void WriteCount(Writer& writer, const char* key, std::size_t count) {
    writer.Key(key);
    writer.Uint64(count);
}

void WriteGl(Writer& writer, const GlInfo& gl) {
    writer.Key("gl");
    writer.StartObject();
    WriteText(writer, "version", gl.version);
    WriteText(writer, "renderer", gl.renderer);
    WriteText(writer, "vendor", gl.vendor);
    writer.EndObject();
}

void WriteStatistics(Writer& writer, const FrameStatistics& statistics) {
    writer.Key("statistics");
    writer.StartObject();
    WriteCount(writer, "drawn", statistics.drawn);
    WriteCount(writer, "failed", statistics.failed);
    WriteCount(writer, "measured", statistics.measured);
    WriteNumber(writer, "medianMilliseconds", statistics.medianMilliseconds);
    WriteNumber(writer, "percentile95Milliseconds", statistics.percentile95Milliseconds);
    WriteNumber(writer, "percentile99Milliseconds", statistics.percentile99Milliseconds);
    WriteNumber(writer, "worstMilliseconds", statistics.worstMilliseconds);
    WriteNumber(writer, "framesPerSecond", statistics.framesPerSecond);
    writer.EndObject();
}

void WriteFrames(Writer& writer, const std::vector<FrameRecord>& frames) {
    writer.Key("frames");
    writer.StartArray();
    for (const FrameRecord& frame : frames) {
        char crc[9];
        std::snprintf(crc, sizeof crc, "%08x", static_cast<unsigned>(frame.crc32));
        writer.StartObject();
        writer.Key("result");
        writer.Int(static_cast<std::int32_t>(frame.result));
        WriteNumber(writer, "milliseconds", frame.milliseconds);
        writer.Key("loading");
        writer.Bool(frame.loading);
        WriteText(writer, "crc32", crc);
        writer.EndObject();
    }
    writer.EndArray();
}

void WriteLines(Writer& writer, const std::vector<std::string>& lines) {
    writer.Key("debugOutput");
    writer.StartArray();
    for (const std::string& line : lines) {
        writer.String(line.c_str(), static_cast<rapidjson::SizeType>(line.size()));
    }
    writer.EndArray();
}

}  // namespace

std::string ReportJson(const Report& report) {
    rapidjson::StringBuffer buffer;
    Writer writer(buffer);
    writer.SetMaxDecimalPlaces(4);
    writer.StartObject();
    WriteText(writer, "shader", report.shader);
    WriteCount(writer, "width", static_cast<std::size_t>(report.width));
    WriteCount(writer, "height", static_cast<std::size_t>(report.height));
    writer.Key("exitStatus");
    writer.Int(report.exitStatus);
    WriteGl(writer, report.gl);
    WriteStatistics(writer, Summarize(report.frames));
    WriteFrames(writer, report.frames);
    WriteLines(writer, report.debugLines);
    writer.EndObject();
    return std::string(buffer.GetString(), buffer.GetSize()) + "\n";
}

}  // namespace pixelforge::preview
