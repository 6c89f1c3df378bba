// Writes shader documents; reads the format that lacks the outer "Shader" object.
#include "preview/documents/document_conversion.h"

#include <rapidjson/document.h>

#include <algorithm>
#include <array>
#include <utility>

#include "preview/documents/json_writer.h"

namespace pixelforge::preview {
namespace {

constexpr int kKeyboardId = 33;
constexpr int kImageId = 37;
constexpr int kCubeId = 41;
constexpr int kBufferAId = 257;

struct DocumentInfo {
    std::string_view id;
    std::string_view name;
    std::string_view username;
    std::string_view description = {};
};

void WriteInfo(JsonWriter& json, const DocumentInfo& info) {
    json.BeginObject("info");
    json.Text("id", info.id);
    json.Text("date", "0");
    json.Text("name", info.name);
    json.Text("username", info.username);
    json.Text("description", info.description);
    for (const char* count : {"viewed", "likes", "published", "flags", "usePreview", "hasliked"}) {
        json.Integer(count, 0);
    }
    json.BeginArray("tags");
    json.EndArray();
    json.EndObject();
}

/// Everything around the passes, which `writePasses` adds.
template <class WritePasses>
std::string MakeDocument(const DocumentInfo& info, const WritePasses& writePasses) {
    JsonWriter json;
    json.BeginObject();
    json.BeginObject("Shader");
    json.Text("ver", "0.1");
    WriteInfo(json, info);
    json.BeginArray("renderpass");
    writePasses(json);
    json.EndArray();
    json.EndObject();
    json.EndObject();
    return json.Result();
}

void WriteDefaultSampler(JsonWriter& json) {
    json.BeginObject("sampler");
    json.Text("filter", "linear");
    json.Text("wrap", "clamp");
    json.Text("vflip", "false");
    json.Text("srgb", "false");
    json.Text("internal", "byte");
    json.EndObject();
}

/// None for 0.
void WriteOutputs(JsonWriter& json, int outputId) {
    json.BeginArray("outputs");
    if (outputId != 0) {
        json.BeginObject();
        json.Integer("id", outputId);
        json.Integer("channel", 0);
        json.EndObject();
    }
    json.EndArray();
}

// Plain shader files.

struct PassRow {
    std::string_view stem;
    const char* type;
    const char* name;
    int outputId;  ///< 0: none
};

constexpr std::size_t kBufferARow = 2;
constexpr PassRow kPasses[] = {
    {"image", "image", "Image", kImageId},       {"common", "common", "Common", 0},
    {"a", "buffer", "Buffer A", kBufferAId},     {"b", "buffer", "Buffer B", kBufferAId + 1},
    {"c", "buffer", "Buffer C", kBufferAId + 2}, {"d", "buffer", "Buffer D", kBufferAId + 3},
    {"cube", "cubemap", "Cube A", kCubeId},
};

struct Input {
    const char* type = nullptr;  ///< null: the channel is free
    int id = 0;
};

using Channels = std::array<Input, 4>;

bool Has(const std::vector<PassFile>& passes, std::string_view stem) {
    return std::ranges::find(passes, stem, &PassFile::stem) != passes.end();
}

void PutOnFreeChannel(Channels& channels, Input input) {
    const auto free = std::ranges::find(channels, nullptr, &Input::type);
    if (free != channels.end()) {
        *free = input;
    }
}

Channels ChooseChannels(const std::vector<PassFile>& passes) {
    Channels channels = {};
    for (std::size_t i = 0; i < channels.size(); ++i) {
        const PassRow& buffer = kPasses[kBufferARow + i];
        if (Has(passes, buffer.stem)) {
            channels[i] = {buffer.type, buffer.outputId};
        }
    }
    if (Has(passes, "cube")) {
        PutOnFreeChannel(channels, {"cubemap", kCubeId});
    }
    PutOnFreeChannel(channels, {"keyboard", kKeyboardId});
    return channels;
}

void WriteInputs(JsonWriter& json, const Channels& channels) {
    json.BeginArray("inputs");
    for (std::size_t channel = 0; channel < channels.size(); ++channel) {
        if (!channels[channel].type) {
            continue;
        }
        json.BeginObject();
        json.Text("ctype", channels[channel].type);
        json.Integer("channel", static_cast<std::int64_t>(channel));
        json.Integer("id", channels[channel].id);
        json.Text("src", "");
        WriteDefaultSampler(json);
        json.EndObject();
    }
    json.EndArray();
}

void WritePassFile(JsonWriter& json, const PassRow& row, const std::string& code, const Channels& channels) {
    json.BeginObject();
    json.Text("type", row.type);
    json.Text("name", row.name);
    json.Text("code", code);
    WriteInputs(json, row.outputId != 0 ? channels : Channels{});
    WriteOutputs(json, row.outputId);
    json.EndObject();
}

// Documents without "Shader".

using Value = rapidjson::Value;

constexpr unsigned kParseFlags = rapidjson::kParseIterativeFlag;

/// The ends of the paths of the service's preview images for outputs; some documents repeat "/media/a/"
/// before them.
constexpr std::pair<std::string_view, int> kPreviews[] = {
    {"/media/previz/buffer00.png", kBufferAId},     {"/media/previz/buffer01.png", kBufferAId + 1},
    {"/media/previz/buffer02.png", kBufferAId + 2}, {"/media/previz/buffer03.png", kBufferAId + 3},
    {"/media/previz/cubemap00.png", kCubeId},
};

const Value* Member(const Value& object, const char* key) {
    const auto found = object.FindMember(key);
    return found != object.MemberEnd() ? &found->value : nullptr;
}

/// Empty if the member is missing or not a string.
std::string_view Text(const Value& object, const char* key) {
    const Value* value = Member(object, key);
    return value && value->IsString() ? std::string_view(value->GetString(), value->GetStringLength())
                                      : std::string_view();
}

template <class Visitor>
void ForEachObject(const Value& object, const char* key, const Visitor& visit) {
    const Value* array = Member(object, key);
    if (!array || !array->IsArray()) {
        return;
    }
    for (const Value& element : array->GetArray()) {
        if (element.IsObject()) {
            visit(element);
        }
    }
}

const Value* BareShader(const Value& root) {
    const Value* shader = root.IsArray() && !root.Empty() ? &root[0] : &root;
    if (!shader->IsObject() || shader->HasMember("Shader")) {
        return nullptr;
    }
    const Value* passes = Member(*shader, "renderpass");
    return passes && passes->IsArray() ? shader : nullptr;
}

/// 0 for passes without an output.
int OutputId(const Value& pass) {
    const std::string_view type = Text(pass, "type");
    const std::string_view name = Text(pass, "name");
    const char letter = name.empty() ? '?' : name.back();
    if (type == "buffer" && letter >= 'A' && letter <= 'D') {
        return kBufferAId + (letter - 'A');
    }
    return type == "cubemap" ? kCubeId : type == "image" ? kImageId : 0;
}

/// The output that an input reads, identified by the service's preview image for it; 0 for media.
int InputId(const Value& input) {
    const std::string_view path = Text(input, "filepath");
    const auto isEnd = [path](const auto& preview) { return path.ends_with(preview.first); };
    const auto found = std::ranges::find_if(kPreviews, isEnd);
    return found != std::end(kPreviews) ? found->second : 0;
}

void WriteSampler(JsonWriter& json, const Value& input) {
    const Value* sampler = Member(input, "sampler");
    if (!sampler || !sampler->IsObject()) {
        WriteDefaultSampler(json);
        return;
    }
    json.BeginObject("sampler");
    for (const char* key : {"filter", "wrap", "vflip", "srgb", "internal"}) {
        json.Text(key, Text(*sampler, key));
    }
    json.EndObject();
}

void WriteInput(JsonWriter& json, const Value& input) {
    const Value* channel = Member(input, "channel");
    json.BeginObject();
    json.Text("ctype", Text(input, "type"));
    json.Integer("channel", channel && channel->IsInt() ? channel->GetInt() : -1);
    json.Integer("id", InputId(input));
    json.Text("src", Text(input, "filepath"));
    WriteSampler(json, input);
    json.EndObject();
}

void WritePass(JsonWriter& json, const Value& pass) {
    json.BeginObject();
    json.Text("type", Text(pass, "type"));
    json.Text("name", Text(pass, "name"));
    json.Text("code", Text(pass, "code"));
    json.BeginArray("inputs");
    ForEachObject(pass, "inputs", [&](const Value& input) { WriteInput(json, input); });
    json.EndArray();
    WriteOutputs(json, OutputId(pass));
    json.EndObject();
}

}  // namespace

std::string DocumentOfPassFiles(std::string_view name, const std::vector<PassFile>& passes) {
    const Channels channels = ChooseChannels(passes);
    const DocumentInfo info = {.id = "local", .name = name, .username = "local file"};
    return MakeDocument(info, [&](JsonWriter& json) {
        for (const PassFile& pass : passes) {
            const auto row = std::ranges::find(kPasses, pass.stem, &PassRow::stem);
            if (row != std::end(kPasses)) {
                WritePassFile(json, *row, pass.code, channels);
            }
        }
    });
}

std::optional<std::string> ConvertBareDocument(std::string_view document) {
    rapidjson::Document tree;
    tree.Parse<kParseFlags>(document.data(), document.size());
    const Value* shader = tree.HasParseError() ? nullptr : BareShader(tree);
    if (!shader) {
        return std::nullopt;
    }
    static const Value kNoInfo(rapidjson::kObjectType);
    const Value* given = Member(*shader, "info");
    const Value& info = given && given->IsObject() ? *given : kNoInfo;
    return MakeDocument({.id = Text(info, "id"),
                         .name = Text(info, "name"),
                         .username = Text(info, "username"),
                         .description = Text(info, "description")},
                        [&](JsonWriter& json) {
                            ForEachObject(*shader, "renderpass",
                                          [&](const Value& pass) { WritePass(json, pass); });
                        });
}

}  // namespace pixelforge::preview
